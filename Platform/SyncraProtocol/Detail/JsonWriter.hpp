#pragma once

#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// Writes a JSON text from its front to its back, without blanks. Whoever calls keeps to the form:
/// every value of an object behind its key.
class JsonWriter {
public:
    /// Room for a text of so many bytes.
    explicit JsonWriter(std::size_t reservedBytes = 0) { text_.reserve(reservedBytes); }

    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }
    void Key(OV::StringView utf8);
    void Key(OV::UniStringView text);
    /// In which nothing needs an escape.
    void PlainKey(OV::StringView text);

    void Bool(bool value) { Raw(value ? "true" : "false"); }
    void Integer(std::int64_t number);
    void Unsigned(std::uint64_t number);
    /// Text of the wire: UTF-8 with OV::EscapeForCarrier applied, so that any string of ours
    /// survives.
    void Text(OV::UniStringView text);
    /// The same from UTF-8.
    void Text(OV::StringView utf8);
    /// A text that leaves no copy behind in memory but the one in the result, however long that
    /// becomes.
    void Secret(OV::UniStringView text);
    /// UTF-8 as it is; what is none becomes U+FFFD.
    void PlainText(OV::StringView utf8);
    /// Text in which nothing needs an escape.
    void Quote(OV::StringView text);
    /// A value that is JSON already.
    void Raw(OV::StringView json);

    [[nodiscard]] OV::String Take() { return std::move(text_); }

private:
    void Begin(char bracket);
    void End(char bracket);
    /// The comma that stands before anything but the first.
    void Separate();
    void Quoted(OV::UniStringView text);
    void Quoted(OV::StringView utf8);

    /// Makes room for so many more bytes. Once there is a secret in the text, what it leaves as it
    /// grows is wiped.
    void MakeRoom(std::size_t bytes)
    {
        if (holdsSecret_)
            MakeSecretRoom(bytes);
    }
    void MakeSecretRoom(std::size_t bytes);
    void Append(OV::StringView json)
    {
        MakeRoom(json.size());
        text_ += json;
    }
    void Append(char byte)
    {
        MakeRoom(1);
        text_ += byte;
    }

    OV::String text_;
    bool holdsSecret_ = false;
    bool needsComma_ = false;
};

}  // namespace Syncra::Protocol
