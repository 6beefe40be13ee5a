#pragma once

#include "LogIndex/LogIndex.hpp"
#include "LogIndex/StringIndexItem.hpp"
#include "OVRoot/Export.hpp"

/// The rows of a log in the order of the texts of a column, code unit by code unit.
class SYC_API StringIndex : public LogIndex {
public:
    /// `field` is the number of the column, from 0.
    explicit StringIndex(std::uint32_t field) noexcept : LogIndex(field) {}

    /// `value` is an OV::UniStringObject; any other one counts as an empty text.
    [[nodiscard]] OV::Ref<IndexItem> Convert(const std::uint32_t& row,
                                             const OV::Object& value) override;
    [[nodiscard]] OV::Ref<IndexItem> CreateElement() override;
    void AddRows(std::uint32_t count, const RowTexts& texts) override;

    /// A position with that text, or where the search for one ends.
    [[nodiscard]] virtual std::uint32_t Find(OV::UniString value);
    /// The first position with that text; where there is none, one behind where the search ends. 0
    /// for an empty index.
    [[nodiscard]] virtual std::uint32_t FindFirst(OV::UniString value);
    /// The last position with that text; one short of it when it is the last of the index.
    [[nodiscard]] virtual std::uint32_t FindLast(OV::UniString value);
    /// The text at a position. Throws OV::NullReferenceException behind the end, as every look-up
    /// does at an item that has no text: AddComposite makes such ones here.
    [[nodiscard]] virtual OV::UniString GetValueAt(std::uint32_t pos) const;

    /// The different texts, sorted.
    [[nodiscard]] OV::Array<OV::UniString> GetUniqueKeys() const;

protected:
    /// For derived classes: `type` goes into the stream.
    StringIndex(std::uint32_t field, IndexType type) noexcept : LogIndex(field, type) {}

    /// Whether the item of a position matches.
    using Matches = std::function<bool(OV::UniStringView value)>;
    /// The first position that matches, from where the search for `start` ends.
    [[nodiscard]] std::uint32_t FindFirst(OV::UniString start, const Matches& matches) const;
    /// The last position that matches, likewise.
    [[nodiscard]] std::uint32_t FindLast(OV::UniString start, const Matches& matches) const;
    /// Fills the empty index with items of the texts that `makeKey` appends to `key` for the texts
    /// of a row's columns, in UTF-8, as adding the rows one by one would.
    using MakeKey = void (*)(const OV::Array<OV::StringView>& parts, OV::String& key);
    /// See MakeKey. Throws OV::InterruptedException when the calling thread is interrupted.
    void Fill(std::uint32_t count, const RowTexts& texts, MakeKey makeKey);

private:
    [[nodiscard]] std::uint32_t Search(OV::UniString value) const;
    [[nodiscard]] OV::UniStringView Value(std::uint32_t pos) const;
};
