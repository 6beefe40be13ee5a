#include "OVRoot/Detail/ResourceDocument.hpp"

#include "OVRoot/Containers.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Language.hpp"

#include <atomic>

namespace OV::Embedded {
std::string_view German();
}  // namespace OV::Embedded

namespace OV {

namespace {

std::atomic<bool> isGerman = false;

/// By the English text.
const HashTable<String, String>& GermanTexts()
{
    static const auto& texts = *new auto([] {
        HashTable<String, String> read;
        const auto document = Detail::ParseResource(Embedded::German());
        for (const auto node : document.child("Translations").children("Text"))
            read.emplace(node.attribute("of").as_string(), node.child_value());
        return read;
    }());
    return texts;
}

/// As the user reads it; English where there is no translation.
String Translated(String text)
{
    if (!isGerman)
        return text;
    const auto found = GermanTexts().find(text);
    return found == GermanTexts().end() ? text : found->second;
}

}  // namespace

void SetLanguage(StringView language)
{
    isGerman = language == "de";
}

}  // namespace OV

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
    String text = Translated(source);
    for (const auto& [escape, character] : {std::pair{"\\r", '\r'}, std::pair{"\\n", '\n'}})
        for (auto at = text.find(escape); at != String::npos; at = text.find(escape, at))
            text.replace(at, 2, 1, character);
    return FromUtf8(text);
}

}  // namespace OV::Detail
