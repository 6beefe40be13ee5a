#include "Commands/CommandTest.hpp"
#include "Faults/FaultPlanFile.hpp"
#include "Faults/Scenarios.hpp"
#include "Support/StoreEdit.hpp"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Leaves = Scenario::Leaves;

/// What a command may take before it counts as hung, beside everything else on a small machine.
constexpr const char* Bounded = "timeout -s ABRT 60 ";
constexpr int HungCode = 124;
constexpr int FailureCode = 1;        ///< of syclient, for all that is no server's doing
constexpr int FirstSignalCode = 128;  ///< of a shell whose program was ended by a signal
constexpr int AbortCode = FirstSignalCode + SIGABRT;

constexpr long MostNumbers = 100'000;

bool IsLong()
{
    const char* isLong = std::getenv("SYCLIENT_LONG");
    return isLong != nullptr && *isLong == '1';
}

/// The errors of one kind of access. After those of `harmless` a command must go on.
struct Kind {
    Access access;
    std::vector<int> errors;
    std::vector<int> harmless = {};

    [[nodiscard]] std::string Name() const { return AccessNames[static_cast<std::size_t>(access)]; }
    [[nodiscard]] bool IsHarmless(int error) const
    {
        return std::count(harmless.begin(), harmless.end(), error) != 0;
    }
    /// Of the many allocations, more and more are left out.
    [[nodiscard]] long Step(long number) const
    {
        return access == Access::Allocate ? 1 + number / 20 : 1;
    }
    /// Who gets no memory at all from now on cannot even unwind; a network that is gone for good is
    /// waited for, which takes long. Each request to a server that can lock nothing any more waits
    /// a quarter of a second, whichever lock was the first.
    [[nodiscard]] bool MayLast(long number) const
    {
        if (access == Access::Lock)
            return number <= 3;
        return access < Access::Socket || (IsLong() && access != Access::Allocate);
    }
    /// What may happen at the access of that number; in the short form one of it, in turn.
    [[nodiscard]] std::vector<Fault> Faults(long number) const
    {
        std::vector<Fault> faults;
        for (const int error : errors) {
            faults.push_back({access, error, false, number});
            if (MayLast(number))
                faults.push_back({access, error, true, number});
        }
        for (const int error : harmless)
            faults.push_back({access, error, false, number});
        if (!IsLong())
            faults = {faults[static_cast<std::size_t>(number - 1) * 5 % faults.size()]};
        return faults;
    }
};
const Kind Kinds[] = {
    {Access::Open, {EACCES, EMFILE, EIO}, {EINTR}},
    {Access::Stat, {EACCES, EIO}},
    {Access::Read, {EIO}, {EINTR, FaultPlan::Short}},
    {Access::Write, {ENOSPC, EIO}, {EINTR, FaultPlan::Short}},
    {Access::Flush, {EIO, ENOSPC}},
    {Access::Rename, {EACCES, ENOSPC}},
    {Access::Delete, {EACCES, EIO}},
    {Access::MakeFolder, {EACCES, ENOSPC}},
    {Access::Lock, {ENOLCK, EIO}},
    {Access::Mode, {EPERM}},
    {Access::ReadLink, {EACCES, EIO}},
    {Access::List, {EIO}},
    {Access::Socket, {EMFILE, ENOMEM}},
    {Access::Connect, {ECONNREFUSED, ENETUNREACH}},
    {Access::Accept, {EMFILE, ENFILE}},
    {Access::Send, {ECONNRESET, EPIPE}, {EINTR, FaultPlan::Short}},
    {Access::Receive, {ECONNRESET, ETIMEDOUT}, {EINTR, FaultPlan::Short}},
    {Access::Allocate, {ENOMEM}},
};

/// Every fault that one scenario meets, one a run.
class FaultTest : public CommandTest, public testing::WithParamInterface<Scenario> {
protected:
    FaultTest()
    {
        setenv("XDG_CONFIG_HOME", (User() / "config").c_str(), 1);
        setenv("XDG_DATA_HOME", (User() / "data").c_str(), 1);
        fs::create_directories(User());
    }

    void SetUpScenario();
    void StartFaultyServer();
    /// What is wrong after `fault`; empty when all is well or nothing met it.
    std::string Try(const Fault& fault, bool isHarmless);
    /// Counts what was placed of `kind`.
    long TryAll(const Kind& kind);

    CommandResult DoWith(const Fault& fault)
    {
        plan->Arm(fault);
        plan->PutIntoEnvironment(!GetParam().inServer);
        const auto run = Do(GetParam().command);
        plan->PutIntoEnvironment(false);
        placed = plan->Placed();
        plan->Arm({});
        return run;
    }

    [[nodiscard]] std::string State() const;

    std::unique_ptr<FaultPlanFile> plan;
    std::string oldState, newState;
    long placed = 0;
    /// How often a missing allocation ended the program: the JSON library frees its values with the
    /// help of memory. To a state on the disk it is like a kill.
    long aborts = 0;

private:
    [[nodiscard]] fs::path User() const { return folder.Path() / "user"; }
    [[nodiscard]] fs::path Kept() const { return folder.Path() / "kept"; }

    [[nodiscard]] Strings Words(const std::string& word) const;
    [[nodiscard]] CommandResult Do(const Strings& command) const;
    void Restore() const;

    std::string JudgeMessage(const Fault& fault, const CommandResult& run);
    std::string JudgeState(const CommandResult& run, const std::string& state) const;
    std::string JudgeRepetition(const CommandResult& run, const std::string& state);
    std::string JudgeLeftOvers(Access failed) const;

    std::string text = "first", mail;

    /// What commands change in the store; the last one grows with each of the others.
    static constexpr const char* Tables[] = {"mails",    "mail_entries",       "mail_keys",
                                             "sessions", "session_attributes", "events"};
    static constexpr const char* EntriesSql =
        "SELECT iif(is_copy, 'copy ', 'mail '), user_id, is_read, is_historical, header "
        "FROM mail_entries JOIN mails ON number = mail ORDER BY user_id, mail";
};

// Commands

Strings FaultTest::Words(const std::string& word) const
{
    Strings words{"-s", "127.0.0.1", "-p", std::to_string(server.ModelPort())};
    if (word == "%server")
        return words;
    words.insert(words.end(), {"--password-file", PasswordFile().string(), "-u",
                               word == "%yuki" ? "yuki.tanaka" : "anna.novak"});
    if (word == "%login")
        return words;
    words.insert(words.end(), {"-n", "Harbour Bridge"});
    if (word == "%anna" || word == "%yuki")
        return words;
    return {word == "%text"       ? text
            : word == "%mail"     ? mail
            : word == "%password" ? PasswordFile().string()
            : word == "%file"     ? (User() / "file").string()
                                  : word};
}

CommandResult FaultTest::Do(const Strings& command) const
{
    Strings words;
    for (const auto& word : command)
        for (const auto& each : Words(word))
            words.push_back(each);
    return RunIn(folder.Path(), words, "", Bounded);
}

void FaultTest::SetUpScenario()
{
    const Scenario& scenario = GetParam();
    for (const auto& command : scenario.before) {
        const auto run = Do(command);
        ASSERT_EQ(run.code, 0) << run.errors;
    }
    if (!scenario.beforeOffline.empty()) {
        server.Terminate();
        ASSERT_EQ(Do(scenario.beforeOffline).code, 11);
        server.Start();
    }
    mail = EditStore(server.StorePath(), "SELECT id FROM mails");
    mail.resize(std::min(mail.size(), mail.find('\n')));
    fs::copy(User(), Kept(), fs::copy_options::recursive);
    for (const std::string table : Tables)
        EditStore(server.StorePath(), "CREATE TABLE kept_" + table + " AS SELECT * FROM " + table);
    plan = std::make_unique<FaultPlanFile>(
        folder.Path() / "plan", (scenario.inServer ? server.StorePath() : User()).string());
    if (!scenario.inServer && !scenario.isServerDown)
        return;
    server.Terminate();
    if (!scenario.isServerDown)
        StartFaultyServer();
}

void FaultTest::StartFaultyServer()
{
    plan->PutIntoEnvironment(true);
    server.Start();
    plan->PutIntoEnvironment(false);
}

void FaultTest::Restore() const
{
    fs::remove_all(User());
    fs::copy(Kept(), User(), fs::copy_options::recursive);
    std::string sql = "BEGIN;";
    for (const std::string table : Tables)
        sql += "DELETE FROM " + table + "; INSERT INTO " + table + " SELECT * FROM kept_" + table +
               ';';
    EditStore(server.StorePath(), sql + "COMMIT");
}

// States

void RemoveWhatIsMadeAnew(Json& json)
{
    if (json.is_object()) {
        for (const char* key : {"lastOpened", "sizeBytes", "load"})
            json.erase(key);
        if (json.contains("session"))
            json["session"] = json["session"] != "";
    }
    if (json.is_structured())
        for (auto& each : json)
            RemoveWhatIsMadeAnew(each);
}

std::string FaultTest::State() const
{
    std::string state;
    for (auto command : GetParam().look) {
        command.push_back("--json");
        const auto shown = Do(command);
        auto json = Json::parse(shown.output, nullptr, false);
        RemoveWhatIsMadeAnew(json);
        state += std::to_string(shown.code) + ' ' + json.dump() + '\n';
    }
    return state + EditStore(server.StorePath(), EntriesSql);
}

std::string FaultTest::JudgeMessage(const Fault& fault, const CommandResult& run)
{
    if (run.code == HungCode)
        return "hangs\n";
    if (fault.access == Access::Allocate && run.code == AbortCode && IsLong()) {
        ++aborts;
        return "";
    }
    if (run.code >= FirstSignalCode || run.code < 0)
        return "crashes\n";
    if (run.code == GetParam().code)
        return "";
    const std::string told = run.output + run.errors;
    const bool isOfFile = fault.access < Access::Socket;
    if (told.empty())
        return "fails silently\n";
    if (GetParam().inServer || fault.access == Access::Allocate)
        return "";
    std::string problems;
    if (told.find(isOfFile ? User().string() : "127.0.0.1") == std::string::npos)
        problems += "names neither file nor server\n";
    if (isOfFile && told.find(std::strerror(fault.error)) == std::string::npos)
        problems += "tells no reason\n";
    // The key of passwords is read by whoever makes a request, which then counts as failed; a load
    // of the log may find nothing in what is not left out.
    const bool isOtherCode =
        told.find("SYPassword.key") != told.npos || told.find(" left out") != told.npos;
    if (isOfFile && run.code != FailureCode && !isOtherCode)
        problems += "ends with the code of another failure\n";
    return problems;
}

std::string FaultTest::JudgeState(const CommandResult& run, const std::string& state) const
{
    if (state[0] != '0' && state[0] != oldState[0])
        return "leaves what cannot be read: " + state;
    if (GetParam().leaves == Leaves::Mail || state == newState)
        return "";
    if (run.code == GetParam().code)
        return "succeeds without a result: " + state;
    if (GetParam().leaves == Leaves::OldOrNew && state != oldState)
        return "leaves neither the old nor the new state: " + state;
    return "";
}

/// How often a mail with that text waits or was delivered.
long CountOf(const std::string& wanted, const std::string& state)
{
    long count = 0;
    std::istringstream lines(state);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("copy"))
            for (auto at = line.find(":\"" + wanted + '"'); at != line.npos;
                 at = line.find(":\"" + wanted + '"', at + 1))
                ++count;
    return count;
}

std::string FaultTest::JudgeRepetition(const CommandResult& run, const std::string& state)
{
    text = "again";
    auto again = Do(GetParam().command);
    if (again.code == 3 && state != newState && !GetParam().orElse.empty())
        again = Do(GetParam().orElse);
    text = "first";
    const std::string last = State();
    std::string problems;
    if (again.code != GetParam().code && !(state == newState && again.code == 3))
        problems = "cannot be repeated: " + again.errors;
    if (GetParam().leaves != Leaves::Mail)
        return last == newState ? problems : problems + "repeated, leaves another state: " + last;
    const bool isPromised =
        run.code == 0 || run.errors.find("waits in the outbox") != std::string::npos;
    const long first = CountOf("first", last), second = CountOf("again", last);
    if (second != 1 || first > 1 || (isPromised && first != 1))
        problems += "there are " + std::to_string(first) + " and " + std::to_string(second) +
                    " of the mails\n";
    return problems;
}

/// What was written beside a file before it takes the file's place.
std::string FaultTest::JudgeLeftOvers(Access failed) const
{
    std::string names;
    for (const auto& entry : fs::recursive_directory_iterator(User()))
        if (entry.path().string().find(".new-") != std::string::npos)
            names += "leaves " + entry.path().filename().string() + '\n';
    // What could not be deleted stays until the next writer takes its place.
    return failed == Access::Delete && names.find(".new-1") == names.npos ? "" : names;
}

std::string FaultTest::Try(const Fault& fault, bool isHarmless)
{
    Restore();
    const auto run = DoWith(fault);
    if (placed == 0)
        return "";
    std::string problems;
    if (GetParam().inServer && !server.IsRunning()) {
        problems = "ends the server\n";
        server.Terminate();
        StartFaultyServer();
    }
    const std::string state = State();
    problems += JudgeMessage(fault, run) + JudgeState(run, state);
    if (isHarmless && run.code != GetParam().code)
        problems += "is not borne\n";
    problems += JudgeRepetition(run, state) + JudgeLeftOvers(fault.access);
    return problems.empty()
               ? ""
               : problems + "It ended with " + std::to_string(run.code) + ": " + run.errors;
}

long FaultTest::TryAll(const Kind& kind)
{
    const char* const only = std::getenv("SYCLIENT_FAULT");
    long all = 0;
    // Whether there was anything to fail.
    const auto attempt = [&](const Fault& fault) {
        if (only != nullptr && !fault.Describe().starts_with(only))
            return kind.Name().starts_with(std::string_view(only).substr(0, kind.Name().size()));
        const std::string problems = Try(fault, kind.IsHarmless(fault.error));
        if (!problems.empty())
            ADD_FAILURE() << fault.Describe() << '\n' << problems;
        all += placed != 0 ? 1 : 0;
        return placed != 0;
    };
    for (long number = 1; number <= (IsLong() ? MostNumbers : 3); number += kind.Step(number)) {
        bool isMet = false;
        for (const Fault& fault : kind.Faults(number))
            isMet = attempt(fault) || isMet;
        if (!isMet)
            break;
    }
    return all;
}

TEST_P(FaultTest, LeavesTheOldStateOrTheNewOneAndTellsWhy)
{
    if (*SYCLIENT_TEST_FAULTS == '\0')
        GTEST_SKIP() << "The programs are built with a sanitizer, which must be loaded first.";
    const Scenario& scenario = GetParam();
    ASSERT_NO_FATAL_FAILURE(SetUpScenario());
    oldState = State();
    const auto clean = DoWith({});
    ASSERT_EQ(clean.code, scenario.code) << clean.errors;
    newState = State();
    std::string told;
    long all = 0;
    for (const Kind& kind : Kinds) {
        const long ofKind = TryAll(kind);
        if (ofKind != 0)
            told += ", " + kind.Name() + ' ' + std::to_string(ofKind);
        all += ofKind;
    }
    if (aborts != 0)
        told += "; " + std::to_string(aborts) + " missing allocations ended it";
    std::cout << "Faults placed in " << scenario.name << ": " << all << told << '\n';
    EXPECT_GT(all, 0);
}

INSTANTIATE_TEST_SUITE_P(All, FaultTest, testing::ValuesIn(Scenarios),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
