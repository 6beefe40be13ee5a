#include "IO/FileChannels.hpp"

#include <utility>

namespace IO {

XMLInput OpenXMLInput(const Location& file)
{
    File::Content content = File::Read(file);
    return {OV::XMLIChannel(std::move(content.bytes), file.ToDisplayText()), content.stamp};
}

ChangeStamp ReplaceWithXML(const Location& file, const OV::XMLOChannel& document, bool isPrivate)
{
    return File::Replace(file, document.Text(), isPrivate);
}

}  // namespace IO
