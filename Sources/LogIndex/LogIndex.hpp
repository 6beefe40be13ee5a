#pragma once

#include "LogIndex/IndexItem.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Object.hpp"
#include "OVRoot/Ref.hpp"
#include "OVRoot/TieredArray.hpp"

#include <functional>

/// The rows of a log in the order of one of its columns. Items are kept sorted; of equal ones a new
/// one stands right behind the one that the search meets. For one thread.
class SYC_API LogIndex {
public:
    /// Which kind of key the items have; the numbers are those of the stream.
    enum IndexType : std::int32_t {
        SingleColumn = 1,
        Composite = 2,
    };

    /// `field` is the number of the column, from 0.
    explicit LogIndex(std::uint32_t field) noexcept : field_(field) {}
    virtual ~LogIndex() = default;
    LogIndex(const LogIndex&) = default;
    LogIndex& operator=(const LogIndex&) = default;

    /// A new element for a row with that value in the column.
    [[nodiscard]] virtual OV::Ref<IndexItem> Convert(const std::uint32_t& row,
                                                     const OV::Object& value);
    /// A new element for a row with those texts in the columns.
    [[nodiscard]] virtual OV::Ref<IndexItem> ConvertComposite(const std::uint32_t& row,
                                                              OV::Array<OV::UniString> parts);
    /// The columns, in the order of the key.
    [[nodiscard]] virtual OV::Array<std::uint32_t> GetIndexedFields() { return {field_}; }
    /// An empty element, for Read.
    [[nodiscard]] virtual OV::Ref<IndexItem> CreateElement();
    /// GetData then gives these rows alone. Linear in rows and items.
    virtual void SetFilteredRows(OV::StableArray<std::uint32_t> rows);
    /// GetData gives all rows again.
    virtual void ResetFilter();
    /// Stands for no row at all.
    static constexpr std::uint32_t NoRow = 0xFFFF'FFFF;
    /// The row at a position of the index, filtered or not; NoRow behind the end.
    [[nodiscard]] virtual std::uint32_t GetPositionAt(std::uint32_t pos) const;

    /// A null value throws OV::NullReferenceException.
    void Add(std::uint32_t row, const OV::Ref<OV::Object>& value);
    /// A row with those texts in the columns.
    void AddComposite(std::uint32_t row, OV::Array<OV::UniString> parts);
    /// UTF-8 of the row's text, or of its parts in the order of GetIndexedFields, made for a row
    /// number counted from 0.
    using RowTexts = std::function<void(std::uint32_t row, OV::Array<OV::StringView>& parts)>;
    /// As adding the rows 0 to `count` - 1 one by one, and quicker for many. Throws
    /// OV::InterruptedException when the calling thread is interrupted; there may be rows then.
    virtual void AddRows(std::uint32_t count, const RowTexts& texts);

    /// In items, the filtered out ones included.
    [[nodiscard]] std::uint32_t GetSize() const noexcept
    {
        return static_cast<std::uint32_t>(items_.Size());
    }
    /// One column or several.
    [[nodiscard]] IndexType GetType() const noexcept { return type_; }
    /// Drops the items; the filter stays.
    void Clear() { items_.Clear(); }

    /// The rows at the positions `from` to `to`, in the order of the index or against it; those of
    /// the filter, when there is one. Ends early, with what it has, when it is filtered and the
    /// calling thread is interrupted.
    [[nodiscard]] OV::StableArray<std::uint32_t> GetData(std::uint32_t from, std::uint32_t to,
                                                         bool ascending) const;
    /// All of them; see above.
    [[nodiscard]] OV::StableArray<std::uint32_t> GetData(bool ascending) const
    {
        return GetData(0, GetSize() - 1, ascending);
    }
    /// Where in the index the filtered rows stand, in the order in which they were given.
    [[nodiscard]] const OV::Array<std::uint32_t>& GetFilteredPositions() const noexcept
    {
        return filteredPositions_;
    }

    /// Numbers of 32 bits: the column, the count, then the items. 0, or OV::ChannelFailed.
    [[nodiscard]] int Write(OV::OChannel& channel) const;
    /// Appends to what is there, in the order of the stream. What was read of a stream that ends
    /// early stays, with the item whose read failed.
    [[nodiscard]] int Read(OV::IChannel& channel);

protected:
    /// For derived classes: `type` goes into the stream.
    LogIndex(std::uint32_t field, IndexType type) noexcept : field_(field), type_(type) {}

    /// Puts the item into its place.
    void AddElement(const std::uint32_t& row, OV::Ref<IndexItem> item);
    /// A position with an equal item, or where the search for one ends. The item at 0 is never
    /// looked at.
    [[nodiscard]] std::uint32_t LogSearch(const OV::Ref<IndexItem>& key) const;
    /// The item at a position, which must be there.
    [[nodiscard]] const IndexItem& ItemAt(std::uint32_t pos) const { return *items_[pos]; }
    /// Puts the item behind the others, whatever its place.
    void Append(OV::Ref<IndexItem> item) { items_.PushBack(std::move(item)); }

private:
    std::uint32_t field_;
    IndexType type_ = SingleColumn;
    OV::TieredArray<OV::Ref<IndexItem>> items_;
    OV::StableArray<std::uint32_t> filteredRows_;
    OV::Array<std::uint32_t> filteredPositions_;
    /// 32 bits, 1 when there is no filter, as the records of older versions have it.
    std::uint32_t unfiltered_ = 1;
};
