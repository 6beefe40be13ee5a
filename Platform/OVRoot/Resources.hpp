#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/UniString.hpp"

#include <vector>

namespace OV {

/// A text of the library's own string lists: list number and 1-based index, as the resources number
/// them. An unknown number or index throws IllegalReferenceException.
[[nodiscard]] SYC_API const UniString& GetStringListItem(int list, int index);

/// An alert of the resources; texts still hold their placeholders.
struct AlertResource {
    int number = 0;                  ///< by which it is asked for
    UniString title;                 ///< of the window
    UniString message;               ///< what happened
    UniString detail;                ///< what can be done; may be empty
    std::vector<UniString> buttons;  ///< what they say; at least one
};

/// An alert of the resources; an unknown number throws IllegalReferenceException.
[[nodiscard]] SYC_API const AlertResource& GetAlertResource(int number);

/// The PNG bytes of a picture of the library, by number; they stay for the life of the process. An
/// unknown number throws IllegalReferenceException.
[[nodiscard]] SYC_API StringView GetPictureResource(int number);

/// Shows alerts. The host's toolkit installs its own; without one an alert goes to the log and is
/// answered with its last button, the one that changes nothing.
class SYC_API AlertPresenter {
public:
    virtual ~AlertPresenter() = default;
    /// `alert` has its placeholders filled in. Returns the 1-based button.
    virtual int Show(const AlertResource& alert) = 0;

    /// Installs `presenter` for the process (null restores the default) and returns the former one.
    /// The caller keeps it alive.
    static AlertPresenter* SetCurrent(AlertPresenter* presenter);
};

/// Shows alert `number`, the placeholders of its message and detail filled with `arguments` in
/// order, and returns the 1-based button. Safe on any thread as far as the installed presenter is.
SYC_API int ShowAlert(int number, std::initializer_list<FormatArgument> arguments = {});
/// The same for an alert that is ready to be shown, of the resources or not.
SYC_API int ShowAlert(const AlertResource& alert);

}  // namespace OV
