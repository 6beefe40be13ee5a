#pragma once

#include "OVRoot/Exception.hpp"

#include <memory>

namespace Syncra::Protocol {

/// What a peer sent is no JSON, or not the record that belongs there. The message names the place
/// or the field and repeats nothing of the body, which may hold a password.
class MalformedRecordException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(MalformedRecordException)
};

/// A field holds more bytes than it may.
class TooLargeFieldException : public MalformedRecordException {
public:
    using MalformedRecordException::MalformedRecordException;
    OV_EXCEPTION_IDENTITY(TooLargeFieldException)
};

/// The tokens of a JSON text, one after the other: one value of valid UTF-8, at most 64 levels deep
/// and of 4,000,000 values. The text must outlive the reader. It is parsed a piece at a time, so
/// that few tokens wait whatever its size. Every call throws MalformedRecordException from the
/// place on where the text is wrong.
class JsonReader {
public:
    struct Token {
        enum class Kind {
            Null,
            Bool,
            Integer,   ///< of 64 bits, with or without a sign
            Fraction,  ///< any other number; no record has one
            Text,
            BeginArray,
            EndArray,
            BeginObject,
            Key,
            EndObject,
            End,
        };
        Kind kind = Kind::End;
        bool isTrue = false;
        bool isNegative = false;   ///< "-0" is, too
        std::uint64_t number = 0;  ///< an integer, without its sign
        OV::StringView text = {};  ///< of texts and keys, UTF-8; valid until the next call
    };

    /// Two bytes of a body can become fifty of a record.
    static constexpr std::size_t MostValues = 4'000'000;

    /// `mostValues` bounds what the body holds; beyond it the next token throws.
    explicit JsonReader(OV::StringView body, std::size_t mostValues = MostValues);
    ~JsonReader();
    JsonReader(const JsonReader&) = delete;
    JsonReader& operator=(const JsonReader&) = delete;

    /// The next token, which stays the next one.
    [[nodiscard]] const Token& Peek();
    /// The next token. Behind the value comes Kind::End.
    Token Take();
    /// Takes the next value whole.
    void Skip();

private:
    class Parser;
    std::unique_ptr<Parser> parser_;
};

}  // namespace Syncra::Protocol
