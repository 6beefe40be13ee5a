#include "LogIndex/StringIndex.hpp"

#include "LogIndex/Detail/IndexOrder.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <typeinfo>

OV::Ref<IndexItem> StringIndex::Convert(const std::uint32_t& row, const OV::Object& value)
{
    const auto* const text = dynamic_cast<const OV::UniStringObject*>(&value);
    return OV::MakeRef<StringIndexItem>(row, text == nullptr ? OV::UniString() : text->Get());
}

OV::Ref<IndexItem> StringIndex::CreateElement()
{
    return OV::MakeRef<StringIndexItem>();
}

/// A derived index may make other items.
void StringIndex::AddRows(std::uint32_t count, const RowTexts& texts)
{
    if (GetSize() > 0 || typeid(*this) != typeid(StringIndex))
        return LogIndex::AddRows(count, texts);
    Fill(count, texts,
         [](const OV::Array<OV::StringView>& parts, OV::String& key) { key += parts.at(0); });
}

/// All items stand in one block with their texts, and rows of one text share it.
void StringIndex::Fill(std::uint32_t count, const RowTexts& texts, MakeKey makeKey)
{
    SYC::Detail::IndexOrder order(count);
    OV::Array<OV::StringView> parts;
    for (std::uint32_t row = 0; row < count; ++row) {
        OV::Thread::ThrowIfInterrupted();
        texts(row, parts);
        makeKey(parts, order.Bytes());
        order.EndRow();
    }
    auto sorted = order.Sort();
    struct Block {
        OV::Array<char16_t> texts;
        OV::Array<StringIndexItem> items;
    };
    const auto block = std::make_shared<Block>();
    block->texts = std::move(sorted.texts);
    block->items.reserve(count);
    for (const auto& [text, end] : sorted.runs)
        while (block->items.size() < end)
            block->items.emplace_back(sorted.rows[block->items.size()],
                                      StringIndexItem::Kept{text});
    for (StringIndexItem& item : block->items)
        Append(OV::Ref<IndexItem>(std::shared_ptr<IndexItem>(block, &item)));
}

OV::UniStringView StringIndex::Value(std::uint32_t pos) const
{
    if (pos >= GetSize())
        throw OV::NullReferenceException();
    const IndexItem& item = ItemAt(pos);
    if (typeid(item) != typeid(StringIndexItem))
        throw OV::NullReferenceException();
    return static_cast<const StringIndexItem&>(item).Value();
}

OV::UniString StringIndex::GetValueAt(std::uint32_t pos) const
{
    return OV::UniString(Value(pos));
}

std::uint32_t StringIndex::Search(OV::UniString value) const
{
    return LogSearch(OV::MakeRef<StringIndexItem>(0, std::move(value)));
}

std::uint32_t StringIndex::Find(OV::UniString value)
{
    return Search(std::move(value));
}

std::uint32_t StringIndex::FindFirst(OV::UniString start, const Matches& matches) const
{
    if (GetSize() == 0)
        return 0;
    std::int64_t pos = std::min(Search(std::move(start)), GetSize() - 1);
    while (pos >= 0 && matches(Value(static_cast<std::uint32_t>(pos))))
        --pos;
    return static_cast<std::uint32_t>(pos + 1);
}

/// The walk never asks for the last item, so a run that reaches the end of the index is told one
/// short. Callers count on it.
std::uint32_t StringIndex::FindLast(OV::UniString start, const Matches& matches) const
{
    std::uint32_t pos = Search(std::move(start));
    while (pos + 1 < GetSize() && matches(Value(pos)))
        ++pos;
    return pos - 1;
}

std::uint32_t StringIndex::FindFirst(OV::UniString value)
{
    return FindFirst(value, [&](OV::UniStringView each) { return each == value; });
}

std::uint32_t StringIndex::FindLast(OV::UniString value)
{
    return FindLast(value, [&](OV::UniStringView each) { return each == value; });
}

OV::Array<OV::UniString> StringIndex::GetUniqueKeys() const
{
    OV::Array<OV::UniString> keys;
    for (std::uint32_t pos = 0; pos < GetSize(); ++pos)
        if (const OV::UniStringView value = Value(pos); keys.empty() || keys.back() != value)
            keys.emplace_back(value);
    return keys;
}
