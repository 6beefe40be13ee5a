#pragma once

#include "LogIndex.hpp"
#include "StringIndexItem.hpp"

/// The rows of a log in the order of the texts of a column, code unit by code unit.
class StringIndex : public LogIndex {
public:
    explicit StringIndex(std::uint32_t field) noexcept : LogIndex(field) {}

    /// `value` is an OV::UniStringObject; any other one counts as an empty text.
    [[nodiscard]] OV::Ref<IndexItem> Convert(const std::uint32_t& row,
                                             const OV::Object& value) const override;
    [[nodiscard]] OV::Ref<IndexItem> CreateElement() const override;
    void AddRows(std::uint32_t count, const RowTexts& texts) override;

    /// A position with that text, or where the search for one ends.
    [[nodiscard]] virtual std::uint32_t Find(const OV::UniString& value) const;
    /// The first position with that text; where there is none, one behind where the search ends. 0
    /// for an empty index.
    [[nodiscard]] virtual std::uint32_t FindFirst(const OV::UniString& value) const;
    /// The last position with that text; one short of it when it is the last of the index.
    [[nodiscard]] virtual std::uint32_t FindLast(const OV::UniString& value) const;
    /// The text at a position. Throws OV::NullReferenceException behind the end.
    [[nodiscard]] virtual OV::UniString GetValueAt(std::uint32_t pos) const;

    /// The different texts, sorted.
    [[nodiscard]] OV::Array<OV::UniString> GetUniqueKeys() const;

protected:
    StringIndex(std::uint32_t field, IndexType type) noexcept : LogIndex(field, type) {}

    /// Whether the item of a position matches.
    using Matches = std::function<bool(const OV::UniString& value)>;
    [[nodiscard]] std::uint32_t FindFirst(const OV::UniString& start, const Matches& matches) const;
    [[nodiscard]] std::uint32_t FindLast(const OV::UniString& start, const Matches& matches) const;
    /// The text that a row has in the index, from the texts of its columns, in UTF-8.
    virtual void MakeKey(const OV::Array<OV::StringView>& parts, OV::String& key) const;

private:
    [[nodiscard]] const OV::UniString& Value(std::uint32_t pos) const;
};
