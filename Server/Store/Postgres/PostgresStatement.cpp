#include "Store/Postgres/PostgresStatement.hpp"

#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <regex>

namespace Nexar {

namespace {

// Types of parameters and columns, as PostgreSQL numbers them.
constexpr unsigned BytesType = 17;
constexpr unsigned NumberType = 20;
constexpr unsigned TextType = 25;

constexpr int FirstPart = 32;
constexpr std::size_t BytesOfPart = std::size_t{1} << 20;
constexpr const char* ByParts = "/* by parts */";

/// Letter case is that of ASCII, whatever the language of the database; and rows are held.
std::string InDialect(std::string sql, bool locksRows)
{
    static const std::regex& lower = *new std::regex(R"(lower\((\$\d+)\))");
    static const std::regex& hold = *new std::regex(R"(/\* hold (\w+) \*/)");
    sql = std::regex_replace(sql, lower, R"(lower($1 COLLATE "C"))");
    return locksRows ? std::regex_replace(sql, hold, "FOR NO KEY UPDATE OF $1") : sql;
}

/// PostgreSQL takes neither a zero nor half of a surrogate pair in a text. Each of their bytes
/// becomes this mark, which stands for no character, and two digits; so does the mark itself.
constexpr std::string_view Mark = "\xF4\x8F\xBF\xBF";
constexpr std::size_t DigitsOfByte = 2;

/// How many bytes at `at` must not go as they are; 0 for most.
std::size_t Forbidden(std::string_view text, std::size_t at)
{
    constexpr char leadOfSurrogates = '\xED', firstSecond = '\xA0';
    if (text[at] == '\0')
        return 1;
    if (text[at] == leadOfSurrogates && at + 2 < text.size() &&
        static_cast<unsigned char>(text[at + 1]) >= static_cast<unsigned char>(firstSecond))
        return 3;
    return text.substr(at).starts_with(Mark) ? Mark.size() : 0;
}

void Encode(std::string_view text, std::string& to)
{
    constexpr std::string_view suspects("\0\xED\xF4", 3);
    to.clear();
    std::size_t begin = 0;
    for (auto at = text.find_first_of(suspects); at != std::string_view::npos;
         at = text.find_first_of(suspects, at)) {
        const std::size_t count = Forbidden(text, at);
        if (count == 0) {
            ++at;
            continue;
        }
        to += text.substr(begin, at - begin);
        for (const std::size_t end = at + count; at < end; ++at) {
            constexpr const char* digits = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(text[at]);
            to += Mark;
            to += digits[byte >> 4];
            to += digits[byte & 0xF];
        }
        begin = at;
    }
    to += text.substr(begin);
}

std::string BytesOfDigits(std::string_view digits)
{
    std::string bytes;
    for (std::size_t at = 0; at + DigitsOfByte <= digits.size(); at += DigitsOfByte) {
        unsigned char byte = 0;
        std::from_chars(digits.data() + at, digits.data() + at + DigitsOfByte, byte, 16);
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string Decode(std::string_view text)
{
    std::string decoded;
    for (;;) {
        const auto mark = text.find(Mark);
        decoded += text.substr(0, mark);
        if (mark == std::string_view::npos)
            return decoded;
        text.remove_prefix(mark + Mark.size());
        decoded += BytesOfDigits(text.substr(0, DigitsOfByte));
        text.remove_prefix(std::min(text.size(), DigitsOfByte));
    }
}

}  // namespace

PostgresStatement::PostgresStatement(PostgresConnection& connection, std::uint64_t number,
                                     const char* sql)
    : connection_(connection), name_("s" + std::to_string(number)),
      sql_(InDialect(sql, connection.LocksRows())),
      isByParts_(sql_.find(ByParts) != std::string::npos)
{
    if (isByParts_)
        sql_ = "DECLARE " + name_ + " NO SCROLL CURSOR FOR " + sql_;
}

std::string& PostgresStatement::Value(int position, unsigned type, bool isBinary)
{
    const auto count = static_cast<std::size_t>(position);
    if (values_.size() < count) {
        values_.resize(count);
        parameters_.types.resize(count);
        parameters_.formats.resize(count);
    }
    parameters_.types[count - 1] = type;
    parameters_.formats[count - 1] = isBinary ? 1 : 0;
    return values_[count - 1];
}

void PostgresStatement::Bind(int position, std::string_view text)
{
    Encode(text, Value(position, TextType, false));
}

void PostgresStatement::Bind(int position, std::int64_t number)
{
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    Value(position, NumberType, false).assign(digits.data(), end);
}

void PostgresStatement::BindBlob(int position, std::string_view bytes)
{
    Value(position, BytesType, true).assign(bytes);
}

bool PostgresStatement::Step()
{
    decoded_.clear();
    if (!isRun_)
        RunOnce();
    if (++row_ < PQntuples(result_.get()))
        return true;
    return isByParts_ && Fetch();
}

int PostgresStatement::Run()
{
    Step();
    return std::atoi(PQcmdTuples(result_.get()));
}

void PostgresStatement::RunLater()
{
    PointAtValues();
    connection_.RunUnanswered(name_, sql_, parameters_, preparedFor_);
}

void PostgresStatement::PointAtValues()
{
    parameters_.values.clear();
    parameters_.lengths.clear();
    for (const auto& value : values_) {
        parameters_.values.push_back(value.c_str());
        parameters_.lengths.push_back(static_cast<int>(value.size()));
    }
}

void PostgresStatement::RunOnce()
{
    PointAtValues();
    result_ = connection_.Run(name_, sql_, parameters_, preparedFor_);
    isRun_ = true;
    row_ = -1;
    nextPart_ = FirstPart;
}

bool PostgresStatement::Fetch()
{
    static const PostgresConnection::Parameters none;
    std::size_t bytes = 1;
    const int rows = PQntuples(result_.get());
    for (int column = 0; rows > 0 && column < PQnfields(result_.get()); ++column)
        bytes += static_cast<std::size_t>(PQgetlength(result_.get(), rows - 1, column));
    if (rows > 0)
        nextPart_ = static_cast<int>(std::clamp<std::size_t>(BytesOfPart / bytes, 1, 1024));
    std::uint64_t never = 0;
    result_ =
        connection_.Run("", "FETCH " + std::to_string(nextPart_) + " FROM " + name_, none, never);
    row_ = 0;
    return PQntuples(result_.get()) > 0;
}

void PostgresStatement::Again()
{
    result_.reset();
    isRun_ = false;
}

void PostgresStatement::Reset() noexcept
{
    try {
        if (isByParts_ && isRun_ && connection_.IsInTransaction())
            connection_.Enqueue("CLOSE " + name_);
    } catch (...) {
        // It goes with the transaction.
    }
    result_.reset();
    isRun_ = false;
    decoded_.clear();
    // Of a mail, say: not to be kept for the next one.
    constexpr std::size_t kept = 4096;
    for (auto& value : values_)
        if (value.capacity() > kept)
            std::string().swap(value);
}

std::string_view PostgresStatement::View(int column) const
{
    const pg_result* result = result_.get();
    const std::string_view text(PQgetvalue(result, row_, column),
                                static_cast<std::size_t>(PQgetlength(result, row_, column)));
    const bool isBytes = PQftype(result, column) == BytesType;
    if (!isBytes && text.find(Mark) == std::string_view::npos)
        return text;
    decoded_.resize(static_cast<std::size_t>(PQnfields(result)));
    auto& decoded = decoded_[static_cast<std::size_t>(column)];
    constexpr std::size_t prefix = 2;  // "\x"
    decoded = isBytes ? BytesOfDigits(text.substr(std::min(prefix, text.size()))) : Decode(text);
    return decoded;
}

std::int64_t PostgresStatement::Number(int column) const
{
    const char* text = PQgetvalue(result_.get(), row_, column);
    std::int64_t number = 0;
    std::from_chars(text, text + PQgetlength(result_.get(), row_, column), number);
    return number;
}

}  // namespace Nexar
