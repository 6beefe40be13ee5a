#include "Dlg/Toolkit.hpp"

#include "OVRoot/Exception.hpp"

#include <utility>

namespace Dlg {

namespace {
Toolkit* currentToolkit = nullptr;
}  // namespace

Toolkit& Toolkit::Current()
{
    if (currentToolkit == nullptr)
        throw OV::IllegalReferenceException(
            "No dialog can be shown: this process has no dialog toolkit.");
    return *currentToolkit;
}

Toolkit* Toolkit::SetCurrent(Toolkit* toolkit)
{
    return std::exchange(currentToolkit, toolkit);
}

}  // namespace Dlg
