#include "CompositeStringIndex.hpp"

namespace {

auto LongerThan(const OV::UniString& prefix)
{
    return [&prefix](const OV::UniString& value) {
        return value.size() > prefix.size() && value.starts_with(prefix);
    };
}

}  // namespace

OV::Ref<IndexItem>
CompositeStringIndex::ConvertComposite(const std::uint32_t& row,
                                       const OV::Array<OV::UniString>& parts) const
{
    OV::UniString key;
    for (const auto& part : parts)
        key += part + u'/';
    return OV::MakeRef<StringIndexItem>(row, std::move(key));
}

void CompositeStringIndex::MakeKey(const OV::Array<OV::StringView>& parts, OV::String& key) const
{
    key.clear();
    for (const auto part : parts) {
        key += part;
        key += '/';
    }
}

std::uint32_t CompositeStringIndex::FindFirstPart(const OV::UniString& prefix) const
{
    return StringIndex::FindFirst(prefix, LongerThan(prefix));
}

std::uint32_t CompositeStringIndex::FindLastPart(const OV::UniString& prefix) const
{
    return StringIndex::FindLast(prefix, LongerThan(prefix));
}
