#include "OVRoot/XMLOChannel.hpp"

#include "OVRoot/Exception.hpp"

#include <pugixml.hpp>

#include <utility>
#include <vector>

namespace OV {

namespace {

struct StringWriter final : pugi::xml_writer {
    String text;
    void write(const void* data, std::size_t size) override
    {
        text.append(static_cast<const char*>(data), size);
    }
};

/// Stands for a rest in the document until it is text. No value can look like it: "<" in a value is
/// escaped.
constexpr const char* RestMark = "rest";
constexpr StringView RestMarkText = "<?rest?>";

}  // namespace

struct XMLOChannel::State {
    pugi::xml_document document;
    pugi::xml_node current = document;
    std::vector<String> rests;

    /// The rests, in the order of the document, in the place of their marks.
    void PutRests(String& text) const
    {
        std::size_t at = 0;
        for (const String& rest : rests) {
            at = text.find(RestMarkText, at);
            text.replace(at, RestMarkText.size(), rest);
            at += rest.size();
        }
    }

    void WriteText(StringView name, const String& text)
    {
        if (current == document)
            throw IllegalArgumentException("Value \"" + String(name) +
                                           "\" written outside the root.");
        current.append_child(String(name).c_str()).text().set(text.c_str());
    }
};

XMLOChannel::XMLOChannel() : state_(std::make_unique<State>()) {}
XMLOChannel::~XMLOChannel() = default;
XMLOChannel::XMLOChannel(XMLOChannel&&) noexcept = default;
XMLOChannel& XMLOChannel::operator=(XMLOChannel&&) noexcept = default;

void XMLOChannel::EnterElement(StringView name)
{
    if (state_->current == state_->document && state_->document.first_child())
        throw IllegalArgumentException("Second root element \"" + String(name) + "\".");
    state_->current = state_->current.append_child(String(name).c_str());
}

void XMLOChannel::LeaveElement(StringView name)
{
    if (state_->current == state_->document || name != state_->current.name())
        throw IllegalArgumentException("Element \"" + String(name) + "\" left but not open.");
    state_->current = state_->current.parent();
}

void XMLOChannel::WriteString(StringView name, UniStringView value)
{
    state_->WriteText(name, ToUtf8(EscapeForCarrier(value)));
}

void XMLOChannel::Write8BitString(StringView name, StringView value)
{
    WriteString(name, FromUtf8(value));
}

void XMLOChannel::WriteBool(StringView name, bool value)
{
    state_->WriteText(name, value ? "true" : "false");
}

void XMLOChannel::WriteInt16(StringView name, std::int16_t value)
{
    state_->WriteText(name, std::to_string(value));
}

void XMLOChannel::WriteUInt16(StringView name, std::uint16_t value)
{
    state_->WriteText(name, std::to_string(value));
}

void XMLOChannel::WriteInt32(StringView name, std::int32_t value)
{
    state_->WriteText(name, std::to_string(value));
}

void XMLOChannel::WriteUInt32(StringView name, std::uint32_t value)
{
    state_->WriteText(name, std::to_string(value));
}

void XMLOChannel::WriteRest(String rest)
{
    // Stands on a line of its own, and must not grow with each time that it is written.
    constexpr const char* blanks = " \t\r\n";
    const auto begin = rest.find_first_not_of(blanks);
    if (begin == String::npos)
        return;
    rest = rest.substr(begin, rest.find_last_not_of(blanks) + 1 - begin);
    state_->current.append_child(pugi::node_pi).set_name(RestMark);
    state_->rests.push_back(std::move(rest));
}

String XMLOChannel::Text() const
{
    if (state_->current != state_->document || !state_->document.first_child())
        throw IllegalArgumentException("The document is not finished.");
    StringWriter writer;
    state_->document.save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
    state_->PutRests(writer.text);
    return std::move(writer.text);
}

}  // namespace OV
