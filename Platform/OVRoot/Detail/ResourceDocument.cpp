#include "OVRoot/Detail/ResourceDocument.hpp"

#include "OVRoot/Exception.hpp"

namespace OV::Detail {

pugi::xml_document ParseResource(std::string_view text)
{
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size(),
                              pugi::parse_default | pugi::parse_ws_pcdata_single))
        throw Exception("The resources of the library are damaged.");
    return document;
}

UniString ResourceText(const char* source)
{
    String text = source;
    for (const auto& [escape, character] : {std::pair{"\\r", '\r'}, std::pair{"\\n", '\n'}})
        for (auto at = text.find(escape); at != String::npos; at = text.find(escape, at))
            text.replace(at, 2, 1, character);
    return FromUtf8(text);
}

}  // namespace OV::Detail
