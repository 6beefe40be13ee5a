#include "Targets.hpp"

#include "Log/LogLineReader.hpp"
#include "LogLine/LogText.hpp"

#include <algorithm>

// The bytes are a separator of the length that the first one says, and the text of a log.
void Fuzz::LogLineSplitter(OV::StringView bytes)
{
    if (bytes.empty())
        return;
    const auto length = 1 + static_cast<unsigned char>(bytes.front()) % 4U;
    Syncra::Protocol::EventLogPage page;
    page.separator = bytes.substr(1, length);
    page.text = bytes.substr(std::min<std::size_t>(bytes.size(), 1 + length));
    const SYC::LogText text(page.text);
    OV::Array<OV::StringView> fields;
    for (std::uint32_t line = 0; line < text.GetLineCount(); ++line) {
        SYC::LogText::Split(text.GetLine(line), page.separator, fields);
        OV::String joined;
        for (std::size_t at = 0; at < fields.size(); ++at)
            joined += (at > 0 ? page.separator : OV::String()) + OV::String(fields[at]);
        Promise(joined == text.GetLine(line), "no byte of a line is lost");
    }
    Promise(SYC::ReadLogLines(page, {}).size() == text.GetLineCount(), "each line is one");
}
