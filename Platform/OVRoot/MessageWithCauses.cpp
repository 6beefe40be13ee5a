#include "OVRoot/MessageWithCauses.hpp"

namespace OV {

UniString MessageWithCauses(const Exception& exception)
{
    UniString text = exception.GetMessage();
    for (const auto* cause = exception.GetCause(); cause != nullptr; cause = cause->GetCause()) {
        const UniString& message = cause->GetMessage();
        if (text.find(message) != UniString::npos)
            continue;
        text += text.ends_with(u'.') ? u" " : u": ";
        text += message;
    }
    return text;
}

}  // namespace OV
