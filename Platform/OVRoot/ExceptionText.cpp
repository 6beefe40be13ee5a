#include "OVRoot/ExceptionText.hpp"

#include "OVRoot/Logger.hpp"

#include <new>

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

UniString DescribeCurrentException()
{
    try {
        throw;
    } catch (const Exception& failure) {
        return MessageWithCauses(failure);
    } catch (const std::bad_alloc&) {
        return u"There is not enough memory.";
    } catch (const std::exception& failure) {
        return FromUtf8(failure.what());
    } catch (...) {
        return u"An exception of a foreign type was thrown.";
    }
}

void LogCurrentException(StringView category, UniStringView format, UniStringView what) noexcept
{
    try {
        Logger::Warning(category, format, {what, DescribeCurrentException()});
    } catch (...) {
        // The line is lost, and nothing else.
    }
}

}  // namespace OV
