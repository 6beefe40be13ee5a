#pragma once

#include "OVRoot/Channel.hpp"

/// Texts in the files of the log cache: a 4-byte count of bytes, then UTF-8 without an end mark.
namespace SYC::TextChannel {

/// A text that ends early stays as far as it came, and the read fails. A count alone takes no
/// memory.
[[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel, OV::String& text);
[[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel, OV::UniString& text);
[[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel, OV::UniStringView text);

}  // namespace SYC::TextChannel
