#include "OVRoot/XMLIChannel.hpp"

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace OV {

namespace {

bool IsText(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

bool IsBlank(StringView text)
{
    return text.find_first_not_of(" \t\r\n") == StringView::npos;
}

/// The first element from `node` on; comments and blank text between values are passed over, other
/// text stands for itself.
pugi::xml_node NextElement(pugi::xml_node node)
{
    while (node.type() != pugi::node_element && node && !(IsText(node) && !IsBlank(node.value())))
        node = node.next_sibling();
    return node;
}

/// Text of an element that holds nothing else; null when it holds more. A text cut in two by a
/// comment is not guessed at.
const char* TextOf(pugi::xml_node element)
{
    const auto content = element.first_child();
    if (!content)
        return "";
    return IsText(content) && !content.next_sibling() ? content.value() : nullptr;
}

/// Behind the start tag at `at`; `isEmpty` tells whether it is its own end.
std::size_t EndOfStartTag(StringView xml, std::size_t at, bool& isEmpty)
{
    while (at < xml.size() && xml[at] != '>') {
        const bool isQuote = xml[at] == '"' || xml[at] == '\'';
        at = isQuote ? xml.find(xml[at], at + 1) : at;
        at = at == StringView::npos ? xml.size() : at + 1;
    }
    isEmpty = xml[at - 1] == '/';
    return std::min(at + 1, xml.size());
}

/// Where the level that `at` stands in ends: at its closing tag. `xml` is well-formed.
std::size_t EndOfLevel(StringView xml, std::size_t at)
{
    constexpr std::pair<StringView, StringView> marks[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"</", ">"}};
    int depth = 0;
    while ((at = xml.find('<', at)) != StringView::npos) {
        const auto mark = std::find_if(std::begin(marks), std::end(marks), [&](const auto& each) {
            return xml.substr(at).starts_with(each.first);
        });
        if (mark == std::end(marks)) {
            bool isEmpty = false;
            at = EndOfStartTag(xml, at, isEmpty);
            depth += isEmpty ? 0 : 1;
            continue;
        }
        if (mark->first == "</" && depth-- == 0)
            return at;
        at = xml.find(mark->second, at + mark->first.size());
    }
    return xml.size();
}

}  // namespace

struct XMLIChannel::State {
    String source;
    String text;  ///< the same, parsed in place
    UniString sourceName;
    pugi::xml_document document;
    pugi::xml_node parent;
    pugi::xml_node next;

    [[noreturn]] void Fail(const String& problem, SourcePlace place = SourcePlace::Here()) const
    {
        throw XMLChannelException(u"\"" + sourceName + u"\": " + FromUtf8(problem), place);
    }

    [[nodiscard]] String Found() const
    {
        if (!next)
            return "the end of \"" + String(parent.name()) + "\"";
        return next.type() == pugi::node_element ? "\"" + String(next.name()) + "\"" : "bare text";
    }

    void Expect(StringView name) const
    {
        if (name != next.name() || next.type() != pugi::node_element)
            Fail("\"" + String(name) + "\" expected, " + Found() + " found.");
    }

    void Parse()
    {
        // The parser takes a null character for the end, and skips text beside the root unless it
        // is told that this is a fragment; either would hide a damaged end of the file.
        if (const auto null = text.find('\0'); null != String::npos)
            Fail("no XML at byte " + std::to_string(null) + ": a null character.");
        const auto result = document.load_buffer_inplace(
            text.data(), text.size(),
            pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_fragment,
            pugi::encoding_utf8);
        if (!result)
            Fail("no XML at byte " + std::to_string(result.offset) + ": " + result.description() +
                 ".");
        parent = document;
        next = NextElement(document.first_child());
        if (next.type() != pugi::node_element || NextElement(next.next_sibling()))
            Fail("one root element expected.");
    }

    /// Text of the next value; the position moves only when `convert` took it.
    template <class Convert>
    auto Read(StringView name, const char* type, Convert&& convert)
    {
        Expect(name);
        const char* content = TextOf(next);
        decltype(convert(StringView())) value;
        if (content != nullptr)
            value = convert(StringView(content));
        if (!value)
            Fail("\"" + String(name) + "\" does not hold " + type + ".");
        next = NextElement(next.next_sibling());
        return *std::move(value);
    }

    String ReadRest()
    {
        if (!next)
            return {};
        // The parser knows where a name or a text stands.
        auto begin = static_cast<std::size_t>(next.offset_debug());
        if (next.type() != pugi::node_pcdata)
            begin -= StringView(next.type() == pugi::node_element ? "<" : "<![CDATA[").size();
        next = {};
        return source.substr(begin, EndOfLevel(source, begin) - begin);
    }

    template <class Number>
    Number ReadNumber(StringView name, const char* type)
    {
        return Read(name, type, [](StringView digits) -> std::optional<Number> {
            Number number{};
            const auto result =
                std::from_chars(digits.data(), digits.data() + digits.size(), number);
            const bool whole =
                result.ec == std::errc() && result.ptr == digits.data() + digits.size();
            return whole ? std::optional(number) : std::nullopt;
        });
    }
};

XMLIChannel::XMLIChannel(String text, UniString sourceName) : state_(std::make_unique<State>())
{
    state_->source = text;
    state_->text = std::move(text);
    state_->sourceName = std::move(sourceName);
    state_->Parse();
}

XMLIChannel::~XMLIChannel() = default;
XMLIChannel::XMLIChannel(XMLIChannel&&) noexcept = default;
XMLIChannel& XMLIChannel::operator=(XMLIChannel&&) noexcept = default;

void XMLIChannel::EnterElement(StringView name)
{
    state_->Expect(name);
    state_->parent = state_->next;
    state_->next = NextElement(state_->parent.first_child());
}

void XMLIChannel::LeaveElement(StringView name)
{
    if (state_->parent == state_->document || name != state_->parent.name())
        state_->Fail("\"" + String(name) + "\" is not open.");
    if (state_->next)
        state_->Fail("end of \"" + String(name) + "\" expected, " + state_->Found() + " found.");
    state_->next = NextElement(state_->parent.next_sibling());
    state_->parent = state_->parent.parent();
}

void XMLIChannel::SkipElement(StringView name)
{
    state_->Expect(name);
    state_->next = NextElement(state_->next.next_sibling());
}

UniString XMLIChannel::ReadString(StringView name)
{
    return state_->Read(name, "a text", [](StringView text) -> std::optional<UniString> {
        if (!IsWellFormedUtf8(text))
            return std::nullopt;
        const bool hasEscapes = text.find('\\') != StringView::npos;
        return hasEscapes ? UnescapeFromCarrier(FromUtf8(text)) : FromUtf8(text);
    });
}

String XMLIChannel::Read8BitString(StringView name)
{
    return ToUtf8(ReadString(name));
}

bool XMLIChannel::ReadBool(StringView name)
{
    return state_->Read(name, "true or false", [](StringView text) -> std::optional<bool> {
        if (text != "true" && text != "false")
            return std::nullopt;
        return text == "true";
    });
}

std::int16_t XMLIChannel::ReadInt16(StringView name)
{
    return state_->ReadNumber<std::int16_t>(name, "a signed 16-bit number");
}

std::uint16_t XMLIChannel::ReadUInt16(StringView name)
{
    return state_->ReadNumber<std::uint16_t>(name, "an unsigned 16-bit number");
}

std::int32_t XMLIChannel::ReadInt32(StringView name)
{
    return state_->ReadNumber<std::int32_t>(name, "a signed 32-bit number");
}

std::uint32_t XMLIChannel::ReadUInt32(StringView name)
{
    return state_->ReadNumber<std::uint32_t>(name, "an unsigned 32-bit number");
}

String XMLIChannel::PeekName() const
{
    return state_->next ? String(state_->next.name()) : String();
}

String XMLIChannel::ReadRest()
{
    return state_->ReadRest();
}

}  // namespace OV
