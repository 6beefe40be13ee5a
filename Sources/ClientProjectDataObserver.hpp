#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include <cstdint>

namespace SYC {

class ClientProjectData;

/// Hears of the fields of a ClientProjectData.
class SYC_API ClientProjectDataObserver : public OV::ObserverBase {
public:
    /// Which one was set.
    enum class ChangedField : std::int32_t {
        ServerName,
        ServerPort,
        UserName,
        Password,
        ProjectName,
        ProjectDescription,
        Category,
        TemplateLocation,
        UseLatestSettings,
        Project,
        /// Every field at once: the data were assigned as a whole.
        All,
    };

    virtual ~ClientProjectDataObserver() = default;
    /// Called on the thread that called the setter, after the change.
    virtual void _FieldChanged(const ClientProjectData& data, ChangedField field) = 0;
};

}  // namespace SYC
