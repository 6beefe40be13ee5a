#include "SyncraProtocol/Detail/JsonReader.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

// The parser stands here under a name of our own, and nothing of it leaves the library, so that a
// host may have another version of it however it links the library.
#include <boost/config.hpp>
#undef BOOST_SYMBOL_VISIBLE
#define BOOST_SYMBOL_VISIBLE
#define json syc_json
#define BOOST_JSON_DECL inline
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/detail/impl/default_resource.ipp>
#include <boost/json/detail/impl/stack.ipp>
#include <boost/json/impl/error.ipp>
#undef json
namespace Boost = boost::syc_json;

namespace Syncra::Protocol {

namespace {

using Token = JsonReader::Token;
using Kind = Token::Kind;
using Error = Boost::error_code;

constexpr std::size_t MaximumDepth = 64;
/// How much of the body is parsed at a time.
constexpr std::size_t PieceSize = std::size_t{16} << 10;

/// Takes what the parser meets and keeps it as tokens.
class TokenQueue {
public:
    // Limits of the parser that the limit of values makes needless.
    static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_object_size = max_array_size;
    static constexpr std::size_t max_string_size = max_array_size;
    static constexpr std::size_t max_key_size = max_array_size;

    TokenQueue(OV::StringView body, std::size_t mostValues) : body_(body), mostValues_(mostValues)
    {}

    [[nodiscard]] bool IsEmpty() const { return next_ == tokens_.size(); }
    [[nodiscard]] const Token& Front()
    {
        Entry& entry = tokens_[next_];
        if (entry.isCopied)
            entry.token.text = OV::StringView(copies_).substr(entry.copyBegin, entry.copySize);
        return entry.token;
    }
    void Pop() { ++next_; }
    /// Before the next piece, when it is empty.
    void Clear()
    {
        tokens_.clear();
        next_ = 0;
        // A text that the last piece left unfinished goes on.
        copies_.erase(0, isOpen_ && open_.isCopied ? open_.copyBegin : copies_.size());
        open_.copyBegin = 0;
    }

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_array_begin(Error&) { return AddValue({Kind::BeginArray}); }
    bool on_array_end(std::size_t count, Error&) { return AddEnd(Kind::EndArray, count); }
    bool on_object_begin(Error&) { return AddValue({Kind::BeginObject}); }
    bool on_object_end(std::size_t count, Error&) { return AddEnd(Kind::EndObject, count); }
    bool on_string_part(std::string_view part, std::size_t, Error&) { return AddPart(part); }
    bool on_string(std::string_view part, std::size_t, Error&)
    {
        CountValue();
        return AddPart(part) && CloseText(Kind::Text);
    }
    bool on_key_part(std::string_view part, std::size_t, Error&) { return AddPart(part); }
    bool on_key(std::string_view part, std::size_t, Error&)
    {
        return AddPart(part) && CloseText(Kind::Key);
    }
    bool on_number_part(std::string_view part, Error&)
    {
        number_ += part;
        return true;
    }
    bool on_int64(std::int64_t number, std::string_view part, Error&)
    {
        number_ += part;
        const bool isNegative = number_.front() == '-';
        number_.clear();
        const auto bits = static_cast<std::uint64_t>(number);
        return AddValue({Kind::Integer, false, isNegative, number < 0 ? ~bits + 1 : bits});
    }
    bool on_uint64(std::uint64_t number, std::string_view, Error&)
    {
        number_.clear();
        return AddValue({Kind::Integer, false, false, number});
    }
    bool on_double(double number, std::string_view part, Error& error)
    {
        number_ += part;
        // The parser's number is not exact to the last bit; whether it is in range must be.
        double exact = 0;
        const auto result = std::from_chars(number_.data(), number_.data() + number_.size(), exact);
        if (result.ec == std::errc::result_out_of_range && std::abs(number) > 1) {
            error = Boost::error::exponent_overflow;
            return false;
        }
        number_.clear();
        return AddValue({Kind::Fraction});
    }
    bool on_bool(bool value, Error&) { return AddValue({Kind::Bool, value}); }
    bool on_null(Error&) { return AddValue({Kind::Null}); }
    bool on_comment_part(std::string_view, Error&) { return true; }
    bool on_comment(std::string_view, Error&) { return true; }

private:
    struct Entry {
        Token token;
        // Texts with escapes are no part of the body.
        bool isCopied = false;
        std::size_t copyBegin = 0;
        std::size_t copySize = 0;
    };

    void CountValue()
    {
        if (++values_ > mostValues_)
            throw MalformedRecordException("The JSON holds more than " +
                                           std::to_string(mostValues_) + " values.");
    }
    bool AddValue(const Token& token)
    {
        CountValue();
        tokens_.push_back({token});
        return true;
    }
    bool AddEnd(Kind kind, std::size_t count)
    {
        // An empty one is as much as one with a value in it.
        if (count == 0)
            CountValue();
        tokens_.push_back({{kind}});
        return true;
    }

    /// A text comes in parts: those that follow each other in the body are seen there, as long as
    /// no escape is met.
    bool AddPart(OV::StringView part)
    {
        auto& text = open_.token.text;
        const bool isOfBody =
            part.data() >= body_.data() && part.data() + part.size() <= body_.data() + body_.size();
        if (!isOpen_) {
            open_ = {};
            isOpen_ = true;
            if (isOfBody) {
                text = part;
                return true;
            }
        } else if (!open_.isCopied && part.data() == text.data() + text.size()) {
            text = {text.data(), text.size() + part.size()};
            return true;
        }
        if (!open_.isCopied) {
            open_.isCopied = true;
            open_.copyBegin = copies_.size();
            copies_ += text;
        }
        copies_ += part;
        return true;
    }
    bool CloseText(Kind kind)
    {
        open_.token.kind = kind;
        open_.copySize = copies_.size() - open_.copyBegin;
        tokens_.push_back(open_);
        isOpen_ = false;
        return true;
    }

    OV::StringView body_;
    std::vector<Entry> tokens_;
    std::size_t next_ = 0;
    Entry open_;
    bool isOpen_ = false;
    OV::String copies_;
    OV::String number_;
    std::size_t mostValues_;
    std::size_t values_ = 0;
};

Boost::parse_options Options()
{
    Boost::parse_options options;
    options.max_depth = MaximumDepth;
    return options;
}

}  // namespace

class JsonReader::Parser {
public:
    Parser(OV::StringView body, std::size_t mostValues)
        : body_(body), parser_(Options(), body, mostValues)
    {}

    [[nodiscard]] const Token& Peek()
    {
        auto& queue = parser_.handler();
        while (queue.IsEmpty()) {
            if (isAtEnd_)
                return end_;
            queue.Clear();
            ParsePiece();
        }
        return queue.Front();
    }
    void Pop()
    {
        if (!parser_.handler().IsEmpty())
            parser_.handler().Pop();
    }

private:
    void ParsePiece()
    {
        const auto piece = body_.substr(parsed_, PieceSize);
        isAtEnd_ = parsed_ + piece.size() == body_.size();
        Error error;
        const auto read = parser_.write_some(!isAtEnd_, piece.data(), piece.size(), error);
        parsed_ += read;
        if (error)
            Refuse(error);
        // The parser stops behind the value.
        if (read < piece.size())
            Refuse(Boost::error::extra_data);
    }
    [[noreturn]] void Refuse(const Error& error) const
    {
        if (error == Boost::error::too_deep)
            throw MalformedRecordException("The JSON is nested more than 64 levels deep.");
        if (error == Boost::error::exponent_overflow)
            throw MalformedRecordException("A number of the body is out of range.");
        throw MalformedRecordException("The body is no JSON from byte " +
                                       std::to_string(parsed_ + 1) + ".");
    }

    OV::StringView body_;
    std::size_t parsed_ = 0;
    bool isAtEnd_ = false;
    Token end_;
    Boost::basic_parser<TokenQueue> parser_;
};

JsonReader::JsonReader(OV::StringView body, std::size_t mostValues)
    : parser_(std::make_unique<Parser>(body, mostValues))
{}

JsonReader::~JsonReader() = default;

const JsonReader::Token& JsonReader::Peek()
{
    return parser_->Peek();
}

JsonReader::Token JsonReader::Take()
{
    const Token token = parser_->Peek();
    parser_->Pop();
    return token;
}

void JsonReader::Skip()
{
    int depth = 0;
    do {
        switch (Take().kind) {
        case Kind::BeginArray:
        case Kind::BeginObject:
            ++depth;
            break;
        case Kind::EndArray:
        case Kind::EndObject:
            --depth;
            break;
        default:
            break;
        }
    } while (depth > 0);
}

}  // namespace Syncra::Protocol
