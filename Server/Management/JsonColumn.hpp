#pragma once

#include "SyncraProtocol/Detail/Json.hpp"

#include <nlohmann/json.hpp>

/// Sets travel between statements and records as one JSON text: json_group_array out of a row,
/// json_each into a table.
namespace Nexar {

[[nodiscard]] inline OV::HashSet<OV::UniString> ReadIds(std::string_view column)
{
    OV::HashSet<OV::UniString> ids;
    for (const auto& id : nlohmann::json::parse(column))
        ids.insert(OV::FromUtf8(id.get_ref<const std::string&>()));
    return ids;
}

template <class Ids>
[[nodiscard]] std::string IdsColumn(const Ids& ids)
{
    auto column = nlohmann::json::array();
    for (const auto& id : ids)
        column.push_back(OV::ToUtf8(id));
    return Syncra::Protocol::DumpJson(column);
}

}  // namespace Nexar
