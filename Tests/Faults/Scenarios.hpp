#pragma once

#include <ostream>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

/// A command of syclient and what it leaves. In commands "%anna" and "%yuki" stand for the options
/// that name a user and the project, "%login" for those of Anna and the server, "%server" for the
/// latter, "%text" for the text of a mail, "%mail" for the id of the one that Anna has, "%file" for
/// a file of hers.
struct Scenario {
    enum class Leaves {
        OldOrNew,  ///< one of the two states, however it fails
        Steps,     ///< also states between, all readable, from which the command goes on
        Mail       ///< a mail that waits or was delivered: a promised one once, others at most
    };
    const char* name = "";
    std::vector<Strings> before = {};
    Strings beforeOffline = {};  ///< after the others, while the server is down
    Strings command = {};
    Strings orElse = {};             ///< what goes on when the command finds nothing to do any more
    std::vector<Strings> look = {};  ///< commands that show the state
    Leaves leaves = Leaves::Steps;
    int code = 0;
    bool isServerDown = false;
    bool inServer = false;  ///< the faults are the server's

    friend void PrintTo(const Scenario& each, std::ostream* stream) { *stream << each.name; }
};

inline const Strings Open{"open", "%anna"}, Fetch{"log", "update", "%login"}, Projects{"projects"},
    Outbox{"mail", "outbox", "%anna"}, Mails{"mail", "list", "%anna"},
    Log{"log", "show", "%server"},
    Send{"mail", "send", "%anna", "--to", "yuki.tanaka", "-t", "%text"};
inline const Strings Hello{"mail", "send", "%yuki", "--to", "anna.novak", "-t", "hello"},
    Much{"mail", "send", "%yuki", "--to", "anna.novak", "-t", std::string(100'000, 'x')};
inline const std::vector<Strings> AnnaHasAMail{Open, {"open", "%yuki"}, Hello},
    AnnaHasMuch{Open, {"open", "%yuki"}, Much, Much, Mails, Hello};

inline const Scenario Scenarios[] = {
    {.name = "OpenAProject", .command = Open, .look = {Projects}},
    {.name = "OpenItAgain", .before = {Open}, .command = Open, .look = {Projects}},
    {.name = "SetOptions",
     .before = {{"options", "set", "--period", "3"}},
     .command = {"options", "set", "--period", "7", "--auto-clean", "on"},
     .look = {{"options", "show"}},
     .leaves = Scenario::Leaves::OldOrNew},
    {.name = "SendAMail",
     .before = {Open},
     .command = Send,
     .look = {Outbox},
     .leaves = Scenario::Leaves::Mail},
    {.name = "SendAMailOffline",
     .before = {Open},
     .command = Send,
     .look = {Outbox},
     .leaves = Scenario::Leaves::Mail,
     .code = 11,
     .isServerDown = true},
    {.name = "FlushTheOutbox",
     .before = {Open},
     .beforeOffline = Send,
     .command = {"mail", "outbox", "%anna", "--flush"},
     .look = {Outbox}},
    {.name = "ReadAMail",
     .before = AnnaHasAMail,
     .command = {"mail", "read", "%anna", "-i", "%mail"},
     .look = {Mails}},
    {.name = "ReadAMailOfALargeBox",
     .before = AnnaHasMuch,
     .command = {"mail", "read", "%anna", "-i", "%mail"},
     .look = {Mails}},
    {.name = "DeleteAMail",
     .before = AnnaHasAMail,
     .command = {"mail", "delete", "%anna", "-i", "%mail"},
     .look = {Mails}},
    {.name = "FetchTheLog",
     .before = {Open},
     .command = Fetch,
     .look = {Log, {"log", "stats", "%server"}}},
    {.name = "LoadTheLog",
     .before = {Open, Fetch},
     .command = {"log", "export", "%server", "%file"},
     .look = {Log},
     .leaves = Scenario::Leaves::OldOrNew},
    {.name = "StoreAPassword",
     .before = {{"password", "set", "-s", "nexar", "-u", "yuki", "--password-file", "%password"}},
     .command = {"password", "set", "-s", "nexar", "-u", "anna", "--password-file", "%password"},
     .look = {{"server", "list"}},
     .leaves = Scenario::Leaves::OldOrNew},
    {.name = "RemoveACache",
     .before = {Open},
     .command = {"projects", "forget", "127.0.0.1_Harbour Bridge_anna.novak", "--yes"},
     .orElse = {"projects", "forget", "127.0.0.1_Harbour Bridge_anna.novak.removed", "--yes"},
     .look = {Projects}},
    {.name = "TheServerTakesAMail",
     .before = {Open},
     .command = Send,
     .look = {Outbox},
     .leaves = Scenario::Leaves::Mail,
     .inServer = true},
};
