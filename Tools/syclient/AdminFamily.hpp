#pragma once

#include "AdminSession.hpp"
#include "Question.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>

/// A field of a record as commands show it and take it.
template <class Record>
struct AdminField {
    using Values = std::vector<std::string>;

    std::string name;      ///< in JSON; people read it as words
    std::string option{};  ///< without "--"; empty when the field is the server's
    std::string placeholder{};
    std::string help{};
    /// A text, a number, yes or no, an array of texts, or an object of texts.
    std::function<Json(const Record&, AdminSession&)> read;
    /// Takes all values that were given; null when the field is the server's.
    std::function<void(Record&, const Values&, AdminSession&)> write{};
    bool isListed = true;
};

/// The records of one kind: how they are called, reached and described.
template <class Manager, class Record>
struct AdminFamily {
    std::string word;               ///< of the command, the plural
    std::string single;             ///< as a sentence names one
    std::string keyName = "name";   ///< in JSON
    std::string keyLabel = "name";  ///< as people read it
    OV::UniString Record::*key;
    Manager& (AdminSession::*manager)();
    bool (Manager::*list)(OV::Array<Record>&);
    /// Null, as those that follow, for records that can only be listed.
    bool (Manager::*find)(const OV::UniString&, Record&) = nullptr;
    bool (Manager::*insert)(Record&) = nullptr;
    bool (Manager::*update)(Record&) = nullptr;
    bool (Manager::*remove)(const Record&) = nullptr;
    std::vector<AdminField<Record>> fields{};
    /// Gives a new record what nobody named.
    void (*complete)(Record&) = nullptr;

    /// The word as a name of JSON: "permissionSets".
    [[nodiscard]] std::string ListName() const
    {
        std::string name = word;
        if (const auto hyphen = name.find('-'); hyphen != std::string::npos) {
            name.erase(hyphen, 1);
            name[hyphen] = static_cast<char>(name[hyphen] - 'a' + 'A');
        }
        return name;
    }
    [[nodiscard]] Record Find(AdminSession& session, const std::string& name) const
    {
        Record record;
        try {
            session.Do((session.*manager)(), find, OV::FromUtf8(name), record);
        } catch (const CommandFailure& failure) {
            if (failure.GetExitCode() != ExitCode::NotFound)
                throw;
            throw CommandFailure(ExitCode::NotFound,
                                 OV::FromUtf8("There is no " + single + " \"" + name +
                                              "\". \"syclient " + word +
                                              " list\" shows those there are."));
        }
        return record;
    }
};

/// What the options of one command gave, by their names.
using AdminValues = std::map<std::string, std::vector<std::string>>;

/// The actions that every family has: list, show, add, set and remove, or the first alone.
template <class Manager, class Record>
class AdminFamilyActions {
public:
    using Family = AdminFamily<Manager, Record>;

    static void Add(CLI::App& command, Context& context, Family description)
    {
        const OfFamily of{std::make_shared<const Family>(std::move(description))};
        const std::string& single = of.family->single;
        AddAdminAction(command, context, "list", "A line for each of them", &List, of);
        if (of.family->find == nullptr)
            return;
        AddAdminAction(command, context, "show", "Everything about one " + single, &Show, {of});
        AddAdminAction(command, context, "add", "Add a " + single, &Insert, {{of}, false});
        AddAdminAction(command, context, "set", "Change a " + single + "; what is not named stays",
                       &Update, {{of}, true});
        AddAdminAction(command, context, "remove", "Delete a " + single, &Delete, {{of}, false});
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
    struct OfFamily {
        std::shared_ptr<const Family> family;

        static void AddOptions(CLI::App&) {}
    };

    struct Named : OfFamily {
        std::string name{};

        /// Where a project is named, its URL may stand.
        [[nodiscard]] std::string* NamedProject()
        {
            return this->family->word == "projects" ? &name : nullptr;
        }

        void AddOptions(CLI::App& command)
        {
            command
                .add_option("name", name,
                            "The " + this->family->keyLabel + " of the " + this->family->single)
                ->required()
                ->option_text("NAME");
        }
    };

    struct Removed : Named {
        bool yes = false;

        void AddOptions(CLI::App& command)
        {
            Named::AddOptions(command);
            command.add_flag("-y,--yes", yes, "Do not ask");
        }
    };

    struct Written : Named {
        bool canRename = false;
        AdminValues values{};

        void AddOptions(CLI::App& command)
        {
            Named::AddOptions(command);
            if (canRename)
                AddOption(command, "rename", "NAME", "The new " + this->family->keyLabel);
            for (const auto& field : this->family->fields)
                if (!field.option.empty())
                    AddOption(command, field.option, field.placeholder, field.help);
        }

    private:
        void AddOption(CLI::App& command, const std::string& option, const std::string& placeholder,
                       const std::string& help)
        {
            command.add_option("--" + option, values[option], help)
                ->allow_extra_args(false)
                ->option_text(placeholder);
        }
    };

    static Json ToJson(const Family& family, AdminSession& session, const Record& record)
    {
        Json json{{"id", ForJson(record.id)}, {family.keyName, ForJson(record.*family.key)}};
        for (const auto& field : family.fields)
            json[field.name] = field.read(record, session);
        return json;
    }

    static void List(AdminSession& session, const OfFamily& arguments)
    {
        const Family& family = *arguments.family;
        OV::Array<Record> records;
        session.Do((session.*family.manager)(), family.list, records);
        Json items = Json::array();
        std::vector<std::vector<std::string>> table{{HeadingOf(family.keyLabel)}};
        for (const auto& field : family.fields)
            if (field.isListed)
                table[0].push_back(HeadingOf(LabelOf(field.name)));
        for (const Record& record : records) {
            const Json& item = items.emplace_back(ToJson(family, session, record));
            auto& row = table.emplace_back(std::vector{PlainText(item[family.keyName])});
            for (const auto& field : family.fields)
                if (field.isListed)
                    row.push_back(PlainText(item[field.name]));
        }
        const Output& output = session.GetContext().output;
        if (output.json)
            output.PrintJson({{family.ListName(), std::move(items)}});
        else
            output.PrintTable(table);
    }

    static void Show(AdminSession& session, const Named& arguments)
    {
        const Family& family = *arguments.family;
        const Json json = ToJson(family, session, family.Find(session, arguments.name));
        const Output& output = session.GetContext().output;
        if (output.json)
            return output.PrintJson(json);
        std::vector<std::pair<std::string, std::string>> lines;
        for (const auto& [name, value] : json.items())
            lines.emplace_back(name == family.keyName ? family.keyLabel : LabelOf(name),
                               PlainText(value));
        output.PrintFields(lines);
    }

    static void Insert(AdminSession& session, const Written& arguments)
    {
        const Family& family = *arguments.family;
        Record record;
        record.*family.key = OV::FromUtf8(arguments.name);
        Write(family, session, record, arguments.values);
        if (family.complete != nullptr)
            family.complete(record);
        session.Do((session.*family.manager)(), family.insert, record);
        Tell(family, session, "Added", record);
    }

    static void Update(AdminSession& session, const Written& arguments)
    {
        const Family& family = *arguments.family;
        const AdminValues& values = arguments.values;
        if (std::all_of(values.begin(), values.end(),
                        [](const auto& each) { return each.second.empty(); }))
            throw OV::IllegalArgumentException(OV::StringView(
                "Name what is to change; \"syclient " + family.word + " set --help\" lists it."));
        Record record = family.Find(session, arguments.name);
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

    static void Delete(AdminSession& session, const Removed& arguments)
    {
        const Family& family = *arguments.family;
        const Record record = family.Find(session, arguments.name);
        if (!arguments.yes)
            Question::Require("Delete the " + family.single + " \"" +
                              ForDisplay(record.*family.key) + "\" from " +
                              ForDisplay(OV::FromUtf8(session.Server().server)) + "?");
        session.Do((session.*family.manager)(), family.remove, record);
        Tell(family, session, "Deleted", record);
    }
};
