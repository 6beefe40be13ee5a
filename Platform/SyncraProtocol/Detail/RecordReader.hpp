#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/Detail/FieldRules.hpp"
#include "SyncraProtocol/Detail/JsonReader.hpp"

#include <concepts>
#include <limits>
#include <optional>
#include <type_traits>

namespace Syncra::Protocol {

template <class Number>
concept NumberOrCode = (std::integral<Number> ||
                        std::is_enum_v<Number>)&&!std::same_as<Number, bool>;

/// Reads records out of a JSON text by their descriptions. `name` is that of the field, for
/// messages. Everything throws MalformedRecordException.
class RecordReader {
public:
    enum class Sender { Client, Server };

    RecordReader(OV::StringView body, Sender sender,
                 std::size_t mostValues = JsonReader::MostValues)
        : json_(body, mostValues), isRequest_(sender == Sender::Client)
    {}

    template <class Record>
    [[nodiscard]] Record Read()
    {
        Record record{};
        Value({}, record);
        if (json_.Take().kind != Kind::End)
            Fail({}, "one value");
        return record;
    }

private:
    using Kind = JsonReader::Token::Kind;

    /// The field of a record that a key names.
    class Member {
    public:
        Member(RecordReader& reader, OV::StringView key, std::uint32_t& seen)
            : reader_(reader), key_(key), seen_(seen)
        {}
        template <class Field, class... Rule>
        void operator()(OV::StringView name, Field& field, const Rule&... rule)
        {
            if (IsNamed(name))
                reader_.Value(name, field, rule...);
        }
        template <class Field, class... Rule>
        void ByServer(OV::StringView name, Field& field, const Rule&... rule)
        {
            if (!reader_.isRequest_)
                (*this)(name, field, rule...);
            else
                ++index_;
        }
        [[nodiscard]] bool IsFound() const { return isFound_; }

    private:
        bool IsNamed(OV::StringView name)
        {
            const auto bit = 1u << index_++;
            // The key is gone once its value was read.
            if (isFound_ || name != key_)
                return false;
            seen_ |= bit;
            return isFound_ = true;
        }

        RecordReader& reader_;
        OV::StringView key_;
        std::uint32_t& seen_;
        unsigned index_ = 0;
        bool isFound_ = false;
    };

    /// Refuses a record that lacks a field.
    class Presence {
    public:
        Presence(const RecordReader& reader, std::uint32_t seen) : reader_(reader), seen_(seen) {}
        template <class Field, class... Rule>
        void operator()(OV::StringView name, Field&, const Rule&...)
        {
            if ((seen_ >> index_++ & 1) == 0)
                FailMissing(name);
        }
        template <class Field>
        void operator()(OV::StringView, std::optional<Field>&)
        {
            ++index_;
        }
        template <class Field, class... Rule>
        void ByServer(OV::StringView name, Field& field, const Rule&... rule)
        {
            if (!reader_.isRequest_)
                (*this)(name, field, rule...);
            else
                ++index_;
        }

    private:
        const RecordReader& reader_;
        std::uint32_t seen_;
        unsigned index_ = 0;
    };

    void Value(OV::StringView name, OV::UniString& text);
    void Value(OV::StringView name, OV::Secret& secret);
    void Value(OV::StringView name, OV::String& utf8);
    void Value(OV::StringView name, OV::String& utf8, NotEmpty rule);
    void Value(OV::StringView name, OV::String& bytes, AsBase64 rule);
    void Value(OV::StringView name, bool& value);
    void Value(OV::StringView name, OV::Guid& guid);
    void Value(OV::StringView name, std::uint64_t& number);

    template <NumberOrCode Number>
    void Value(OV::StringView name, Number& number, Between range)
    {
        number = static_cast<Number>(Integer(name, range));
    }
    template <class Code>
    requires std::is_enum_v<Code>
    void Value(OV::StringView name, Code& code)
    {
        std::underlying_type_t<Code> number{};
        Value(name, number);
        code = static_cast<Code>(number);
    }
    template <std::integral Number>
    void Value(OV::StringView name, Number& number)
    {
        using Limits = std::numeric_limits<Number>;
        Value(name, number, Between{Limits::min(), Limits::max()});
    }
    template <std::integral Number>
    void Value(OV::StringView name, Number& number, Clamped)
    {
        using Limits = std::numeric_limits<Number>;
        using Any = std::numeric_limits<std::int64_t>;
        number = static_cast<Number>(std::clamp<std::int64_t>(
            Integer(name, {Any::min(), Any::max()}), Limits::min(), Limits::max()));
    }

    template <class Field>
    void Value(OV::StringView name, std::optional<Field>& field)
    {
        Value(name, field.emplace());
    }
    template <class First, class Second>
    void Value(OV::StringView name, OV::Pair<First, Second>& pair)
    {
        Begin(name, Kind::BeginArray, "an array of two");
        for (const bool isFirst : {true, false}) {
            if (json_.Peek().kind == Kind::EndArray)
                Fail(name, "an array of two");
            if (isFirst)
                Value(name, pair.first);
            else
                Value(name, pair.second);
        }
        if (json_.Take().kind != Kind::EndArray)
            Fail(name, "an array of two");
    }
    template <class Text>
    void Value(OV::StringView name, OV::HashTable<Text, Text>& texts)
    {
        Begin(name, Kind::BeginObject, "an object");
        for (texts.clear(); json_.Peek().kind == Kind::Key;) {
            Text key;
            Assign(key, json_.Take().text);
            Assign(texts[std::move(key)], TakeText(name));
        }
        (void)json_.Take();
    }
    template <template <class...> class List, class Item, class... Rest>
    void Value(OV::StringView name, List<Item, Rest...>& items) requires requires
    {
        items.insert(items.end(), std::declval<Item>());
    }
    {
        Begin(name, Kind::BeginArray, "an array");
        for (items.clear(); json_.Peek().kind != Kind::EndArray;) {
            Item item{};
            Value(name, item);
            items.insert(items.end(), std::move(item));
        }
        (void)json_.Take();
    }
    template <class Record>
    void Value(OV::StringView name, Record& record) requires requires(Member& member)
    {
        Describe(member, record);
    }
    {
        Begin(name, Kind::BeginObject, "an object");
        std::uint32_t seen = 0;
        while (json_.Peek().kind == Kind::Key) {
            Member member(*this, json_.Take().text, seen);
            Describe(member, record);
            if (!member.IsFound())
                json_.Skip();
        }
        (void)json_.Take();
        Presence presence(*this, seen);
        Describe(presence, record);
    }

    void Begin(OV::StringView name, Kind kind, const char* expected);
    [[nodiscard]] std::int64_t Integer(OV::StringView name, Between range);
    /// The text that comes next, in UTF-8.
    [[nodiscard]] OV::StringView TakeText(OV::StringView name);
    static void Assign(OV::UniString& text, OV::StringView utf8);
    static void Assign(OV::String& text, OV::StringView utf8) { text = utf8; }
    [[noreturn]] static void Fail(OV::StringView name, const char* expected);
    [[noreturn]] static void FailMissing(OV::StringView name);

    JsonReader json_;
    bool isRequest_;
};

}  // namespace Syncra::Protocol
