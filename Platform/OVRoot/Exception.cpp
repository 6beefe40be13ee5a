#include "OVRoot/Exception.hpp"

#include <utility>

namespace OV {

Exception::Exception(UniString message, SourcePlace place, std::shared_ptr<const Exception> cause)
    : message_(std::move(message)), utf8_(ToUtf8(message_)), place_(place), cause_(std::move(cause))
{}

Exception::Exception(StringView message, SourcePlace place, std::shared_ptr<const Exception> cause)
    : Exception(FromUtf8(message), place, std::move(cause))
{}

StringView Exception::GetSourceName() const noexcept
{
    const StringView path = place_.file;
    const auto slash = path.find_last_of("/\\");
    return slash == StringView::npos ? path : path.substr(slash + 1);
}

std::unique_ptr<Exception> Exception::Clone() const
{
    return std::make_unique<Exception>(*this);
}

}  // namespace OV
