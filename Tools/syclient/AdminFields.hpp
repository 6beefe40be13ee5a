#pragma once

#include "AdminFamily.hpp"

#include <set>

/// The kinds of fields that records have.
namespace AdminFields {

using Values = std::vector<std::string>;
/// Words of an option and the numbers that they stand for.
template <class Number>
using Words = std::vector<std::pair<std::string, Number>>;

/// Throws OV::IllegalArgumentException that names the option and what it takes.
[[noreturn]] void ThrowBadValue(const std::string& name, const std::string& value,
                                const std::string& placeholder);
/// "KEY=VALUE" in its two parts; the value may hold more of "=".
[[nodiscard]] std::pair<std::string, std::string>
SplitPair(const std::string& name, const std::string& value, const std::string& placeholder);
/// Of "#RRGGBB".
[[nodiscard]] std::uint32_t ParseColour(const std::string& text);
[[nodiscard]] std::uint32_t ParseNumber(const std::string& name, const std::string& text);

/// A field that is the server's.
template <class Record, class Read>
AdminField<Record> Shown(const std::string& name, Read read, bool isListed = true)
{
    return {.name = name, .read = std::move(read), .isListed = isListed};
}

template <class Record>
AdminField<Record> Text(const std::string& name, const std::string& option, const std::string& help,
                        OV::UniString Record::*member, bool isListed = true)
{
    return {
        .name = name,
        .option = option,
        .placeholder = "TEXT",
        .help = help,
        .read = [member](const Record& record, AdminSession&) { return ForJson(record.*member); },
        .write = [member](Record& record, const Values& values,
                          AdminSession&) { record.*member = OV::FromUtf8(values.back()); },
        .isListed = isListed};
}

/// One of some words; the option is called like the field. A number without a word is shown as it
/// is.
template <class Record, class Number>
AdminField<Record> Word(const std::string& name, const std::string& help, Words<Number> words,
                        std::function<Number&(Record&)> number)
{
    std::string placeholder;
    for (const auto& [word, value] : words)
        placeholder += (placeholder.empty() ? "" : "|") + word;
    return {.name = name,
            .option = name,
            .placeholder = placeholder,
            .help = help,
            .read = [words, number](const Record& record, AdminSession&) -> Json {
                Record copy = record;
                for (const auto& [word, value] : words)
                    if (value == number(copy))
                        return word;
                return std::to_string(static_cast<std::int64_t>(number(copy)));
            },
            .write =
                [=](Record& record, const Values& values, AdminSession&) {
                    for (const auto& [word, value] : words)
                        if (word == values.back()) {
                            number(record) = value;
                            return;
                        }
                    ThrowBadValue(name, values.back(), placeholder);
                }};
}

template <class Record>
AdminField<Record> YesNo(const std::string& name, const std::string& help, bool Record::*member)
{
    auto field = Word<Record, bool>(name, help, {{"yes", true}, {"no", false}},
                                    [member](Record& record) -> bool& { return record.*member; });
    field.read = [member](const Record& record, AdminSession&) -> Json { return record.*member; };
    return field;
}

/// Identifiers of other records, shown and taken by their names. What is given replaces all; one
/// empty name leaves none.
template <class Record>
AdminField<Record> Names(const std::string& name, const std::string& option,
                         const std::string& help, OV::HashSet<OV::UniString> Record::*member,
                         NameTable AdminSession::*table, bool isListed = true)
{
    return {.name = name,
            .option = option,
            .placeholder = "NAME",
            .help = help,
            .read = [=](const Record& record, AdminSession& session) -> Json {
                std::set<OV::UniString> names;
                for (const auto& id : record.*member)
                    names.insert((session.*table).NameOf(id));
                Json json = Json::array();
                for (const auto& each : names)
                    json.push_back(ForJson(each));
                return json;
            },
            .write =
                [=](Record& record, const Values& values, AdminSession& session) {
                    (record.*member).clear();
                    for (const auto& each : values)
                        if (!each.empty())
                            (record.*member).insert((session.*table).IdOf(each));
                },
            .isListed = isListed};
}

/// As Names, for what only the server changes.
template <class Record>
AdminField<Record> ShownNames(const std::string& name, OV::HashSet<OV::UniString> Record::*member,
                              NameTable AdminSession::*table)
{
    return Names(name, "", "", member, table);
}

}  // namespace AdminFields
