#include "LogIndex/CompositeStringIndex.hpp"

#include <typeinfo>

namespace {

auto LongerThan(const OV::UniString& prefix)
{
    return [&prefix](OV::UniStringView value) {
        return value.size() > prefix.size() && value.starts_with(prefix);
    };
}

}  // namespace

OV::Ref<IndexItem> CompositeStringIndex::ConvertComposite(const std::uint32_t& row,
                                                          OV::Array<OV::UniString> parts)
{
    OV::UniString key;
    for (const auto& part : parts)
        key += part + u'/';
    return OV::MakeRef<StringIndexItem>(row, std::move(key));
}

/// A derived index may make other items.
void CompositeStringIndex::AddRows(std::uint32_t count, const RowTexts& texts)
{
    if (GetSize() > 0 || typeid(*this) != typeid(CompositeStringIndex))
        return LogIndex::AddRows(count, texts);
    Fill(count, texts, [](const OV::Array<OV::StringView>& parts, OV::String& key) {
        for (const auto part : parts) {
            key += part;
            key += '/';
        }
    });
}

std::uint32_t CompositeStringIndex::FindFirstPart(OV::UniString prefix)
{
    return StringIndex::FindFirst(prefix, LongerThan(prefix));
}

std::uint32_t CompositeStringIndex::FindLastPart(OV::UniString prefix)
{
    return StringIndex::FindLast(prefix, LongerThan(prefix));
}
