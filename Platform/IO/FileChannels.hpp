#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Channel.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

#include "IO/File.hpp"

#include <memory>

namespace IO {

/// An XML value file opened for reading, with the stamp of what is being read.
/// Throws IOException when the file cannot be read, OV::XMLChannelException when it is no XML.
struct XMLInput {
    OV::XMLIChannel channel;
    ChangeStamp stamp;
};
[[nodiscard]] XMLInput OpenXMLInput(const Location& file);

/// Writes a finished document by File::Replace.
ChangeStamp ReplaceWithXML(const Location& file, const OV::XMLOChannel& document,
                           bool isPrivate = false);

}  // namespace IO
