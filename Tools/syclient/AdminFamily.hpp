#pragma once

#include "AdminSession.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>

/// A field of a record as commands show it and take it.
template <class Record>
struct AdminField {
    using Values = std::vector<std::string>;

    std::string name;    ///< in JSON; people read it as words
    std::string option;  ///< without "--"; empty when the field is the server's
    std::string placeholder;
    std::string help;
    /// A text, a number, yes or no, an array of texts, or an object of texts.
    std::function<Json(const Record&, AdminSession&)> read;
    /// Takes all values that were given.
    std::function<void(Record&, const Values&, AdminSession&)> write;
    bool isListed = true;
};

/// The records of one kind: how they are called, reached and described.
template <class Manager, class Record>
struct AdminFamily {
    std::string word;    ///< of the command, the plural
    std::string single;  ///< as a sentence names one
    std::string keyName;
    OV::UniString Record::*key;
    Manager& (AdminSession::*manager)();
    bool (Manager::*list)(OV::Array<Record>&);
    /// Null, as those that follow, for records that can only be listed.
    bool (Manager::*find)(const OV::UniString&, Record&);
    bool (Manager::*insert)(Record&);
    bool (Manager::*update)(Record&);
    bool (Manager::*remove)(const Record&);
    std::vector<AdminField<Record>> fields;

    [[nodiscard]] Record Find(AdminSession& session, const std::string& name) const
    {
        Record record;
        try {
            session.Do((session.*manager)(), find, OV::FromUtf8(name), record);
        } catch (const AdminFailure& failure) {
            if (failure.GetExitCode() != ExitCode::NotFound)
                throw;
            throw AdminFailure(ExitCode::NotFound, OV::FromUtf8("There is no " + single + " \"" +
                                                                name + "\". \"syclient " + word +
                                                                " list\" shows those there are."));
        }
        return record;
    }
};

/// "fullName" as people read it: "full name".
[[nodiscard]] std::string LabelOf(const std::string& name);
/// What a person reads in the place of a JSON value.
[[nodiscard]] std::string PlainText(const Json& value);

/// What the options of one command gave, by their names.
using AdminValues = std::map<std::string, std::vector<std::string>>;

template <class Manager, class Record>
class AdminFamilyCommands {
public:
    using Family = AdminFamily<Manager, Record>;

    /// Adds the command of the family with its actions, to one of that name when `app` has it;
    /// actions that are not of every family come to the result.
    static CLI::App* Add(CLI::App& app, Context& context, Family description,
                         const std::string& help)
    {
        const auto family = std::make_shared<const Family>(std::move(description));
        const auto there = app.get_subcommands(
            [&](const CLI::App* each) { return each->get_name() == family->word; });
        auto* command = there.empty() ? nullptr : there.front();
        if (command == nullptr) {
            command = app.add_subcommand(family->word, help)->group("Administration of a server");
            command->require_subcommand(1);
        }
        AddAdminAction(*command, context, "list", "A line for each of them",
                       [family](AdminSession& session) { List(*family, session); });
        if (family->find == nullptr)
            return command;
        AddNamed(*command, context, *family, "show", "Everything about one " + family->single,
                 [family](AdminSession& session, const std::string& name) {
                     Show(*family, session, family->Find(session, name));
                 });
        AddWriting(*command, context, family, "add", "Add a " + family->single, &Insert);
        AddWriting(*command, context, family, "set",
                   "Change a " + family->single + "; what is not named stays", &Update);
        AddNamed(*command, context, *family, "remove", "Delete a " + family->single,
                 [family](AdminSession& session, const std::string& name) {
                     Delete(*family, session, family->Find(session, name));
                 });
        return command;
    }

    /// Prints what was done to a record.
    static void Tell(const Family& family, AdminSession& session, const std::string& done,
                     const Record& record)
    {
        const Output& output = session.GetContext().output;
        if (output.json)
            output.PrintJson(ToJson(family, session, record));
        else
            output.PrintLine(done + " the " + family.single + " " + ForDisplay(record.*family.key) +
                             ".");
    }

private:
    using Named = std::function<void(AdminSession&, const std::string&)>;
    using Writing = void (*)(const Family&, AdminSession&, const std::string& name,
                             const AdminValues&);

    static CLI::App* AddNamed(CLI::App& command, Context& context, const Family& family,
                              const std::string& word, const std::string& help, Named action)
    {
        const auto name = std::make_shared<std::string>();
        auto* added = AddAdminAction(
            command, context, word, help,
            [name, action = std::move(action)](AdminSession& session) { action(session, *name); });
        added
            ->add_option("name", *name,
                         "The " + LabelOf(family.keyName) + " of the " + family.single)
            ->required()
            ->option_text("NAME");
        return added;
    }

    static void AddWriting(CLI::App& command, Context& context,
                           const std::shared_ptr<const Family>& family, const std::string& word,
                           const std::string& help, Writing writing)
    {
        const auto values = std::make_shared<AdminValues>();
        auto* added =
            AddNamed(command, context, *family, word, help,
                     [family, values, writing](AdminSession& session, const std::string& name) {
                         writing(*family, session, name, *values);
                     });
        if (word == "set")
            AddOption(*added, *values, "rename", "NAME", "The new " + LabelOf(family->keyName));
        for (const auto& field : family->fields)
            if (!field.option.empty())
                AddOption(*added, *values, field.option, field.placeholder, field.help);
    }

    static void AddOption(CLI::App& command, AdminValues& values, const std::string& name,
                          const std::string& placeholder, const std::string& help)
    {
        command.add_option("--" + name, values[name], help)
            ->allow_extra_args(false)
            ->option_text(placeholder);
    }

    static Json ToJson(const Family& family, AdminSession& session, const Record& record)
    {
        Json json{{"id", ForJson(record.id)}, {family.keyName, ForJson(record.*family.key)}};
        for (const auto& field : family.fields)
            json[field.name] = field.read(record, session);
        return json;
    }

    static void List(const Family& family, AdminSession& session)
    {
        OV::Array<Record> records;
        session.Do((session.*family.manager)(), family.list, records);
        Json items = Json::array();
        std::vector<std::vector<std::string>> table{{LabelOf(family.keyName)}};
        for (const auto& field : family.fields)
            if (field.isListed)
                table[0].push_back(LabelOf(field.name));
        for (const Record& record : records) {
            const Json& item = items.emplace_back(ToJson(family, session, record));
            auto& row = table.emplace_back(std::vector{PlainText(item[family.keyName])});
            for (const auto& field : family.fields)
                if (field.isListed)
                    row.push_back(PlainText(item[field.name]));
        }
        const Output& output = session.GetContext().output;
        if (output.json)
            output.PrintJson({{family.word, std::move(items)}});
        else
            output.PrintTable(table);
    }

    static void Show(const Family& family, AdminSession& session, const Record& record)
    {
        const Json json = ToJson(family, session, record);
        const Output& output = session.GetContext().output;
        if (output.json)
            return output.PrintJson(json);
        std::vector<std::pair<std::string, std::string>> lines;
        for (const auto& [name, value] : json.items())
            lines.emplace_back(LabelOf(name), PlainText(value));
        output.PrintFields(lines);
    }

    static void Insert(const Family& family, AdminSession& session, const std::string& name,
                       const AdminValues& values)
    {
        Record record;
        record.*family.key = OV::FromUtf8(name);
        Write(family, session, record, values);
        session.Do((session.*family.manager)(), family.insert, record);
        Tell(family, session, "Added", record);
    }

    static void Update(const Family& family, AdminSession& session, const std::string& name,
                       const AdminValues& values)
    {
        if (std::all_of(values.begin(), values.end(),
                        [](const auto& each) { return each.second.empty(); }))
            throw OV::IllegalArgumentException(OV::StringView(
                "Name what is to change; \"syclient " + family.word + " set --help\" lists it."));
        Record record = family.Find(session, name);
        if (const auto& rename = values.at("rename"); !rename.empty())
            record.*family.key = OV::FromUtf8(rename.back());
        Write(family, session, record, values);
        session.Do((session.*family.manager)(), family.update, record);
        Tell(family, session, "Changed", record);
    }

    static void Write(const Family& family, AdminSession& session, Record& record,
                      const AdminValues& values)
    {
        for (const auto& field : family.fields)
            if (!field.option.empty() && !values.at(field.option).empty())
                field.write(record, values.at(field.option), session);
    }

    static void Delete(const Family& family, AdminSession& session, const Record& record)
    {
        session.Do((session.*family.manager)(), family.remove, record);
        Tell(family, session, "Deleted", record);
    }
};
