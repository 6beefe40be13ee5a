#include "CheckReport.hpp"

#include "ProjectArguments.hpp"

#include <algorithm>
#include <array>

namespace {

struct Meaning {
    SYC::CheckResult result;
    const char* word;
    const char* explanation;
};

constexpr std::array meanings{
    Meaning{SYC::CheckResult::Passed, "passed", "The project is open."},
    Meaning{SYC::CheckResult::Offline, "offline",
            "The project is offline: its server cannot be worked with. Check the server's name and "
            "port, and try again."},
    Meaning{SYC::CheckResult::AccessDenied, "access-denied",
            "You may not use this project: the login is wrong or you are no member of it. Ask its "
            "manager to add you."},
    Meaning{
        SYC::CheckResult::SessionInUse, "session-in-use",
        "Your session in this project is in use on another computer. Close it there, or take it "
        "over with --take-over."},
    Meaning{SYC::CheckResult::ProjectMismatch, "mismatch",
            "The project or your session in it is not the expected one. A lost session is replaced "
            "with --new-session."},
    Meaning{
        SYC::CheckResult::ProjectNotFound, "not-found",
        "The project does not exist on the server, or another project carries its name now. Your "
        "cache is kept."},
    Meaning{SYC::CheckResult::ForbiddenByState, "forbidden-by-state",
            "The state of the project on the server forbids this. A locked project can be opened "
            "for reading, without --write."},
    Meaning{SYC::CheckResult::IncompatibleVersion, "incompatible-version",
            "The server speaks another version of the protocol. Update the older side."},
};

const Meaning& MeaningOf(SYC::CheckResult result)
{
    return *std::find_if(meanings.begin(), meanings.end(),
                         [=](const Meaning& meaning) { return meaning.result == result; });
}

Json EventsAsJson(const std::vector<CheckReport::Event>& events)
{
    Json list = Json::array();
    for (const auto& event : events)
        list.push_back({{"code", event.code}, {"text", ForJson(event.text)}});
    return list;
}

}  // namespace

std::string CheckReport::Word() const
{
    return MeaningOf(result).word;
}

std::string CheckReport::Explanation() const
{
    // A locked project comes with its event; a server that refuses every session does not.
    if (result == SYC::CheckResult::ForbiddenByState && events.empty())
        return "The project is under maintenance on its server. Try again when that is over.";
    std::string text = MeaningOf(result).explanation;
    for (const auto& event : events)
        if (!event.text.empty())
            text += " (" + ForDisplay(event.text) + ")";
    return text;
}

void CheckReport::Print(const Output& output) const
{
    const bool passed = result == SYC::CheckResult::Passed;
    if (output.json) {
        output.PrintJson({{"result", static_cast<int>(result)},
                          {"meaning", Word()},
                          {"explanation", Explanation()},
                          {"events", EventsAsJson(events)},
                          {"projectId", ForJson(projectId)},
                          {"serverLocation", ForJson(serverLocation)},
                          {"session", ForJson(sessionId)},
                          {"cacheFolder", cache ? ForJson(cache->GetCacheFolderLocation().ToPath())
                                                : Json(nullptr)}});
        return;
    }
    if (!passed) {
        output.PrintLine(output.Styled(Output::Style::Bad, Explanation()));
        return;
    }
    output.PrintLine(output.Styled(Output::Style::Good, "Opened") + " \"" +
                     ForDisplay(connection.projectName) + "\" as " + DescribeLogin(connection));
    output.PrintFields({{"user", ForDisplay(cache->GetUserName())},
                        {"role", ForDisplay(cache->GetRoleName())},
                        {"category", ForDisplay(cache->GetCategoryName())},
                        {"format", ForDisplay(cache->GetProjectVersion())},
                        {"session", ForDisplay(sessionId)},
                        {"cache", ForDisplay(cache->GetCacheFolderLocation().ToPath())}});
}
