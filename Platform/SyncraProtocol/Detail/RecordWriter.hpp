#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/Detail/FieldRules.hpp"
#include "SyncraProtocol/Detail/JsonWriter.hpp"

#include <algorithm>
#include <concepts>
#include <optional>
#include <type_traits>

namespace Syncra::Protocol {

/// A value that is JSON already, such as a column of a store.
struct RawJson {
    OV::StringView text;
};

/// A text in which nothing needs an escape.
struct PlainJsonText {
    OV::StringView text;
};

/// A text of ours in UTF-8, such as a column of a store.
struct Utf8Text {
    OV::StringView utf8;
};

/// Writes records as JSON by their descriptions. Equal records make equal texts.
class RecordWriter {
public:
    explicit RecordWriter(std::size_t reservedBytes = 0) : json_(reservedBytes) {}

    template <class Field, class... Rule>
    void operator()(OV::StringView name, const Field& field, const Rule&... rule)
    {
        json_.PlainKey(name);
        Value(field, rule...);
    }
    template <class Field>
    void operator()(OV::StringView name, const std::optional<Field>& field)
    {
        if (field)
            (*this)(name, *field);
    }
    template <class Field, class... Rule>
    void ByServer(OV::StringView name, const Field& field, const Rule&... rule)
    {
        (*this)(name, field, rule...);
    }

    void Value(OV::UniStringView text) { json_.Text(text); }
    /// Any text makes a secret, so only what is one comes here.
    template <std::same_as<OV::Secret> Text>
    void Value(const Text& secret)
    {
        json_.Secret(secret.View());
    }
    void Value(OV::StringView utf8) { json_.PlainText(utf8); }
    void Value(const OV::String& utf8) { json_.PlainText(utf8); }
    void Value(const OV::String& utf8, NotEmpty) { json_.PlainText(utf8); }
    void Value(const OV::String& bytes, AsBase64);
    void Value(Utf8Text text) { json_.Text(text.utf8); }
    void Value(RawJson json) { json_.Raw(json.text); }
    void Value(PlainJsonText text) { json_.Quote(text.text); }
    void Value(PlainJsonText base64, AsBase64) { Value(base64); }
    void Value(const OV::Guid& guid) { json_.Text(guid.ToText()); }
    template <class Text>
    void Value(const OV::HashTable<Text, Text>& texts)
    {
        OV::Array<const OV::Pair<const Text, Text>*> entries;
        for (const auto& entry : texts)
            entries.push_back(&entry);
        std::sort(entries.begin(), entries.end(),
                  [](const auto* left, const auto* right) { return left->first < right->first; });
        json_.BeginObject();
        for (const auto* entry : entries) {
            json_.Key(entry->first);
            Value(entry->second);
        }
        json_.EndObject();
    }

    template <class Number, class... Rule>
    requires(std::integral<Number> || std::is_enum_v<Number>) void Value(Number number,
                                                                         const Rule&...)
    {
        if constexpr (std::same_as<Number, bool>)
            json_.Bool(number);
        else if constexpr (std::unsigned_integral<Number>)
            json_.Unsigned(number);
        else
            json_.Integer(static_cast<std::int64_t>(number));
    }
    template <class First, class Second>
    void Value(const OV::Pair<First, Second>& pair)
    {
        json_.BeginArray();
        Value(pair.first);
        Value(pair.second);
        json_.EndArray();
    }
    template <class Item>
    void Value(const OV::Array<Item>& items)
    {
        json_.BeginArray();
        for (const auto& item : items)
            Value(item);
        json_.EndArray();
    }
    template <class Item>
    void Value(const OV::HashSet<Item>& items)
    {
        OV::Array<OV::String> texts;
        for (const auto& item : items) {
            RecordWriter writer;
            writer.Value(item);
            texts.push_back(writer.Take());
        }
        Sorted(std::move(texts));
    }
    template <class Record>
    requires requires(RecordWriter& writer, Record& record) { Describe(writer, record); }
    void Value(const Record& record)
    {
        json_.BeginObject();
        // A description changes what its visitor changes, and this one changes nothing.
        Describe(*this, const_cast<Record&>(record));
        json_.EndObject();
    }

    [[nodiscard]] OV::String Take() { return json_.Take(); }

private:
    /// An array of values that are JSON already, whose order says nothing.
    void Sorted(OV::Array<OV::String> texts);

    JsonWriter json_;
};

}  // namespace Syncra::Protocol
