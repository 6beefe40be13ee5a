#include "LogIndex/LogIndex.hpp"

#include "LogIndex/Detail/IndexSearch.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <unordered_map>

namespace {

/// Row numbers are dense in a log: a table by number then takes less than a table by hash.
template <class Value>
class RowTable {
public:
    RowTable(std::uint32_t highest, std::size_t rows, Value none)
        : none_(none), isDense_(highest / 16 <= rows)
    {
        if (isDense_)
            dense_.assign(std::size_t(highest) + 1, none);
    }
    /// The first value of a row stays.
    void Put(std::uint32_t row, Value value)
    {
        if (!isDense_)
            sparse_.try_emplace(row, value);
        else if (row < dense_.size() && dense_[row] == none_)
            dense_[row] = value;
    }
    [[nodiscard]] Value Get(std::uint32_t row) const
    {
        if (isDense_)
            return row < dense_.size() ? dense_[row] : none_;
        const auto found = sparse_.find(row);
        return found == sparse_.end() ? none_ : found->second;
    }

private:
    Value none_;
    bool isDense_;
    std::vector<Value> dense_;
    std::unordered_map<std::uint32_t, Value> sparse_;
};

std::uint32_t Highest(const OV::StableArray<std::uint32_t>& rows)
{
    return rows.empty() ? 0 : *std::max_element(rows.begin(), rows.end());
}

}  // namespace

OV::Ref<IndexItem> LogIndex::Convert(const std::uint32_t& row, const OV::Object&)
{
    return OV::MakeRef<IndexItem>(row);
}

OV::Ref<IndexItem> LogIndex::ConvertComposite(const std::uint32_t& row, OV::Array<OV::UniString>)
{
    return OV::MakeRef<IndexItem>(row);
}

OV::Ref<IndexItem> LogIndex::CreateElement()
{
    return OV::MakeRef<IndexItem>();
}

void LogIndex::Add(std::uint32_t row, const OV::Ref<OV::Object>& value)
{
    AddElement(row, Convert(row, *value));
}

void LogIndex::AddComposite(std::uint32_t row, OV::Array<OV::UniString> parts)
{
    AddElement(row, ConvertComposite(row, std::move(parts)));
}

void LogIndex::AddRows(std::uint32_t count, const RowTexts& texts)
{
    OV::Array<OV::StringView> parts;
    for (std::uint32_t row = 0; row < count; ++row) {
        OV::Thread::ThrowIfInterrupted();
        texts(row, parts);
        if (type_ == SingleColumn) {
            Add(row, OV::MakeRef<OV::UniStringObject>(OV::FromUtf8(parts.at(0))));
            continue;
        }
        OV::Array<OV::UniString> decoded;
        for (const auto part : parts)
            decoded.push_back(OV::FromUtf8(part));
        AddComposite(row, std::move(decoded));
    }
}

void LogIndex::AddElement(const std::uint32_t&, OV::Ref<IndexItem> item)
{
    if (items_.IsEmpty())
        return items_.PushBack(std::move(item));
    const std::uint32_t pos = LogSearch(item);
    if (pos >= GetSize())
        return items_.PushBack(std::move(item));
    const bool isBehind = items_[pos]->Compare(item.Get()) <= 0;
    items_.Insert(pos + (isBehind ? 1 : 0), std::move(item));
}

std::uint32_t LogIndex::LogSearch(const OV::Ref<IndexItem>& key) const
{
    return SYC::Detail::SearchIndex(
        GetSize(), [&](std::uint32_t middle) { return items_[middle]->Compare(&*key); });
}

std::uint32_t LogIndex::GetPositionAt(std::uint32_t pos) const
{
    return pos < GetSize() ? items_[pos]->GetPosition() : NoRow;
}

void LogIndex::SetFilteredRows(OV::StableArray<std::uint32_t> rows)
{
    filteredRows_ = std::move(rows);
    RowTable<std::uint32_t> places(Highest(filteredRows_), filteredRows_.size() + items_.Size(),
                                   NoRow);
    std::size_t block = 0;
    for (std::uint32_t pos = 0; pos < GetSize(); ++pos)
        places.Put(items_.Near(pos, block)->GetPosition(), pos);
    for (const std::uint32_t row : filteredRows_)
        if (const std::uint32_t place = places.Get(row); place != NoRow)
            filteredPositions_.push_back(place);
    unfiltered_ = 0;
}

void LogIndex::ResetFilter()
{
    filteredRows_.clear();
    filteredPositions_.clear();
    unfiltered_ = 1;
}

OV::StableArray<std::uint32_t> LogIndex::GetData(std::uint32_t from, std::uint32_t to,
                                                 bool ascending) const
{
    OV::StableArray<std::uint32_t> rows;
    to = std::min(to, GetSize() - 1);
    if (items_.IsEmpty() || from > to)
        return rows;
    RowTable<char> wanted(Highest(filteredRows_), filteredRows_.size(), 0);
    for (const std::uint32_t row : filteredRows_)
        wanted.Put(row, 1);
    std::size_t block = 0;
    for (std::uint32_t done = 0; done <= to - from; ++done) {
        if (unfiltered_ == 0 && OV::Thread::IsInterrupted())
            break;
        const std::uint32_t pos = ascending ? from + done : to - done;
        const std::uint32_t row = items_.Near(pos, block)->GetPosition();
        if (unfiltered_ != 0 || wanted.Get(row) != 0)
            rows.push_back(row);
    }
    return rows;
}

int LogIndex::Write(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel);
    stream(field_);
    stream(GetSize());
    std::size_t block = 0;
    for (std::uint32_t pos = 0; pos < GetSize() && stream.IsGood(); ++pos)
        stream(*items_.Near(pos, block));
    return stream.IsGood() ? 0 : OV::ChannelFailed;
}

int LogIndex::Read(OV::IChannel& channel)
{
    OV::FieldReader stream(channel);
    stream(field_);
    stream.Repeat([this](OV::FieldReader& each) {
        items_.PushBack(CreateElement());
        each(*items_.Back());
    });
    return stream.IsGood() ? 0 : OV::ChannelFailed;
}
