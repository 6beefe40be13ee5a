#pragma once

#include "SyncraProtocol/Detail/ManagementRecords.hpp"

/// Sets travel between statements and records as one JSON text: json_group_array out of a row,
/// json_each into a table. What a member of a set consists of stands with blanks between.
namespace Nexar {

template <class Value>
[[nodiscard]] Value ReadColumn(std::string_view column)
{
    // Most are, and a parser takes longer to make than all the rest of a row.
    if (column == "[]")
        return {};
    return Syncra::Protocol::ReadAnswer<Value>(column);
}

using IdSet = OV::HashSet<OV::UniString>;
using TextList = OV::Array<OV::UniString>;

/// What stands before the first blank of `text`, which loses it and the blank.
[[nodiscard]] inline OV::UniString TakeWord(OV::UniStringView& text)
{
    const auto end = std::min(text.find(u' '), text.size());
    OV::UniString word(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

}  // namespace Nexar
