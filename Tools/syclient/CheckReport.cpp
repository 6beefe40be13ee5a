#include "CheckReport.hpp"

#include "ProjectArguments.hpp"

#include <algorithm>
#include <array>

namespace {

/// What a shell knows of a result beside the library's words.
struct Meaning {
    SYC::CheckResult result;
    const char* word;
    const char* option;  ///< what the advice is called here; null for none
};

constexpr std::array meanings{
    Meaning{SYC::CheckResult::Passed, "passed", nullptr},
    Meaning{SYC::CheckResult::Offline, "offline", nullptr},
    Meaning{SYC::CheckResult::AccessDenied, "access-denied", nullptr},
    Meaning{SYC::CheckResult::SessionInUse, "session-in-use", "--take-over"},
    Meaning{SYC::CheckResult::ProjectMismatch, "mismatch", "--new-session"},
    Meaning{SYC::CheckResult::ProjectNotFound, "not-found", nullptr},
    Meaning{SYC::CheckResult::ForbiddenByState, "forbidden-by-state", nullptr},
    Meaning{SYC::CheckResult::IncompatibleVersion, "incompatible-version", nullptr},
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
    if (!failure)
        return ForDisplay(SYC::ToText(result));
    std::string text = ForDisplay(failure.sentence) + " " + ForDisplay(failure.advice);
    if (const char* option = MeaningOf(result).option)
        text += std::string(" (") + option + ")";
    return text;
}

void CheckReport::Print(const Output& output) const
{
    const bool passed = result == SYC::CheckResult::Passed;
    if (!passed)
        output.Error(Explanation());
    if (output.json) {
        output.PrintJson({{"result", static_cast<int>(result)},
                          {"meaning", Word()},
                          {"explanation", Explanation()},
                          {"events", EventsAsJson(events)},
                          {"projectId", ForJsonOrNull(projectId)},
                          {"serverLocation", ForJsonOrNull(serverLocation)},
                          {"session", ForJsonOrNull(sessionId)},
                          {"cacheFolder", cache ? ForJson(cache->GetCacheFolderLocation().ToPath())
                                                : Json(nullptr)}});
        return;
    }
    if (!passed)
        return;
    output.PrintLine(output.Styled(Output::Style::Good, "Opened") + " \"" +
                     ForDisplay(connection.projectName) + "\" as " + DescribeLogin(connection));
    output.PrintFields({{"name", ForDisplay(cache->GetUserName())},
                        {"role", ForDisplay(cache->GetRoleName())},
                        {"category", ForDisplay(cache->GetCategoryName())},
                        {"data version", ForDisplay(cache->GetProjectVersion())},
                        {"session", ForDisplay(sessionId)},
                        {"cache", ForDisplay(cache->GetCacheFolderLocation().ToPath())}});
}
