#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/Detail/FieldRules.hpp"
#include "SyncraProtocol/Detail/JsonReader.hpp"

#include <algorithm>
#include <concepts>
#include <functional>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

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
        ReadInto(record);
        return record;
    }
    /// The same of a record that says what becomes of its items.
    template <class Record>
    void ReadInto(Record& record)
    {
        Value({}, record);
        if (json_.Take().kind != Kind::End)
            Fail({}, "one value");
    }

    /// A record of one field, which the outermost object holds; nothing is looked at behind it.
    template <class Record>
    [[nodiscard]] Record ReadHead()
    {
        Record record{};
        Begin({}, Kind::BeginObject, "an object");
        Fields(record, [](std::uint32_t seen) { return seen != 0; });
        return record;
    }

private:
    using Kind = JsonReader::Token::Kind;

    /// Reads the fields that the next keys name. One pass over a description takes all keys that
    /// stand in its order, as the other end writes them.
    class Member {
    public:
        Member(RecordReader& reader, std::uint32_t& seen) : reader_(reader), seen_(seen)
        {
            FindKey();
        }
        template <class Field, class... Rule>
        void operator()(OV::StringView name, Field& field, const Rule&... rule)
        {
            const auto bit = 1u << index_++;
            if (!key_ || *key_ != name)
                return;
            seen_ |= bit;
            isFound_ = true;
            (void)reader_.json_.Take();
            reader_.Value(name, field, rule...);
            FindKey();
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
        void FindKey()
        {
            const auto& next = reader_.json_.Peek();
            key_ = next.kind == Kind::Key ? std::optional(next.text) : std::nullopt;
        }

        RecordReader& reader_;
        /// The next one.
        std::optional<OV::StringView> key_;
        std::uint32_t& seen_;
        unsigned index_ = 0;
        bool isFound_ = false;
    };

    /// Refuses a record that lacks a field, and empties what may be missing and was another one's.
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
        void operator()(OV::StringView, std::optional<Field>& field)
        {
            if ((seen_ >> index_++ & 1) == 0)
                field.reset();
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
        // A former record's texts under the same keys are written over.
        const bool hasFormer = !texts.empty();
        read_.clear();
        for (Text key; json_.Peek().kind == Kind::Key;) {
            Assign(key, json_.Take().text);
            Text& text = texts[key];
            Assign(text, TakeText(name));
            if (hasFormer)
                read_.push_back(&text);
        }
        (void)json_.Take();
        if (!hasFormer)
            return;
        std::sort(read_.begin(), read_.end());
        read_.erase(std::unique(read_.begin(), read_.end()), read_.end());
        if (read_.size() < texts.size())
            std::erase_if(texts, [&](const auto& entry) {
                const void* const place = &entry.second;
                return !std::binary_search(read_.begin(), read_.end(), place);
            });
    }
    template <class Item>
    void Value(OV::StringView name, Each<Item>& items)
    {
        Begin(name, Kind::BeginArray, "an array");
        if (items.count)
            Fail(name, "one list");
        for (items.count = 0; json_.Peek().kind != Kind::EndArray; ++*items.count) {
            Value(name, items.item);
            items.take(items.item);
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
            if constexpr (requires { items.emplace_back(); }) {
                Value(name, items.emplace_back());
            } else {
                Item item{};
                Value(name, item);
                items.insert(items.end(), std::move(item));
            }
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
        Fields(record, [](std::uint32_t) { return false; });
        (void)json_.Take();
    }
    /// Up to the end of the object, or until what was seen is enough.
    template <class Record, class IsEnough>
    void Fields(Record& record, IsEnough&& isEnough)
    {
        std::uint32_t seen = 0;
        while (!isEnough(seen) && json_.Peek().kind == Kind::Key) {
            Member member(*this, seen);
            Describe(member, record);
            if (!member.IsFound()) {
                (void)json_.Take();
                json_.Skip();
            }
        }
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
    /// The texts of a table that this record has.
    std::vector<const void*> read_;
};

}  // namespace Syncra::Protocol
