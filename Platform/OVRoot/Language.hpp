#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace OV {

/// The language of the texts, alerts and dialogs of the library: "de", or anything else for
/// English. For the start of the process: what was asked for before stays as it is.
SYC_API void SetLanguage(StringView language);

}  // namespace OV
