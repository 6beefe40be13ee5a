#include "SyncraProtocol/Detail/RecordReader.hpp"

#include "OVRoot/Base64.hpp"

namespace Syncra::Protocol {

void RecordReader::Assign(OV::UniString& text, OV::StringView utf8)
{
    OV::AssignUtf8(text, utf8);
    // Nearly every text of the wire holds no escape; looking is cheaper than a second copy.
    if (utf8.find('\\') != utf8.npos)
        text = OV::UnescapeFromCarrier(text);
}

void RecordReader::Fail(OV::StringView name, const char* expected)
{
    throw MalformedRecordException(
        (name.empty() ? "The body" : "Field \"" + OV::String(name) + '"') + ": " + expected +
        " is expected.");
}

void RecordReader::FailMissing(OV::StringView name)
{
    throw MalformedRecordException("Field \"" + OV::String(name) + "\" is missing.");
}

void RecordReader::Begin(OV::StringView name, Kind kind, const char* expected)
{
    if (json_.Take().kind != kind)
        Fail(name, expected);
}

OV::StringView RecordReader::TakeText(OV::StringView name)
{
    const auto token = json_.Take();
    if (token.kind != Kind::Text)
        Fail(name, "a text");
    return token.text;
}

std::int64_t RecordReader::Integer(OV::StringView name, Between range)
{
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto token = json_.Take();
    if (token.kind != Kind::Integer)
        Fail(name, "a whole number");
    if (!token.isNegative && token.number > highest)
        Fail(name, "a number in range");
    const auto number =
        static_cast<std::int64_t>(token.isNegative ? 0 - token.number : token.number);
    if (number < range.least || number > range.most)
        Fail(name, "a number in range");
    return number;
}

void RecordReader::Value(OV::StringView name, std::uint64_t& number)
{
    const auto token = json_.Take();
    if (token.kind != Kind::Integer || token.isNegative)
        Fail(name, "a whole number from 0");
    number = token.number;
}

void RecordReader::Value(OV::StringView name, OV::UniString& text)
{
    Assign(text, TakeText(name));
}

void RecordReader::Value(OV::StringView name, OV::Secret& secret)
{
    OV::UniString text;
    Assign(text, TakeText(name));
    secret = std::move(text);
}

void RecordReader::Value(OV::StringView name, OV::String& utf8)
{
    Assign(utf8, TakeText(name));
}

void RecordReader::Value(OV::StringView name, OV::String& utf8, NotEmpty)
{
    Value(name, utf8);
    if (utf8.empty())
        Fail(name, "a text that is not empty");
}

void RecordReader::Value(OV::StringView name, OV::String& bytes, AsBase64 rule)
{
    const auto text = TakeText(name);
    const auto refuseSize = [&] {
        throw TooLargeFieldException("Field \"" + OV::String(name) + "\" holds more than " +
                                     std::to_string(rule.maximumSize >> 20) + " MiB.");
    };
    // Before anything is decoded.
    if (text.size() / 4 * 3 > rule.maximumSize + 2)
        refuseSize();
    auto decoded = OV::DecodeBase64(text);
    if (!decoded)
        Fail(name, "base64");
    if (decoded->size() > rule.maximumSize)
        refuseSize();
    bytes = *std::move(decoded);
}

void RecordReader::Value(OV::StringView name, bool& value)
{
    const auto token = json_.Take();
    if (token.kind != Kind::Bool)
        Fail(name, "true or false");
    value = token.isTrue;
}

void RecordReader::Value(OV::StringView name, OV::Guid& guid)
{
    OV::UniString text;
    Value(name, text);
    try {
        guid = OV::Guid::Parse(text);
    } catch (const OV::IllegalArgumentException&) {
        Fail(name, "an identity");
    }
}

}  // namespace Syncra::Protocol
