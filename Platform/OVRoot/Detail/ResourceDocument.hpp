#pragma once

#include "OVRoot/UniString.hpp"

#include <pugixml.hpp>

/// What the readers of the embedded resources share.
namespace OV::Detail {

/// Throws Exception when `text` is no document.
[[nodiscard]] pugi::xml_document ParseResource(std::string_view text);

/// The text of an element, which is UTF-8. "\r" and "\n" as two characters stand for a carriage
/// return and a line feed.
[[nodiscard]] UniString ResourceText(const char* source);

}  // namespace OV::Detail
