#pragma once

#include "SyncraProtocol/Detail/ManagementRecords.hpp"

/// Sets travel between statements and records as one JSON text: json_group_array out of a row,
/// json_each into a table.
namespace Nexar {

template <class Value>
[[nodiscard]] Value ReadColumn(std::string_view column)
{
    return Syncra::Protocol::ReadAnswer<Value>(column);
}

using IdSet = OV::HashSet<OV::UniString>;

}  // namespace Nexar
