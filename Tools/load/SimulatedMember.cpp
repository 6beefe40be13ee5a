#include "SimulatedMember.hpp"

namespace Load {

using nlohmann::json;

namespace {

constexpr int MailSignal = 4;
/// A held request that fails later than so was held; who has no server is told so at once.
constexpr double HeldMilliseconds = 1000;
/// More than any request is held.
constexpr std::chrono::seconds LongestAnswer{80};

bool IsToBeRepeated(int status)
{
    return status == 0 || status == 401 || status == 429 || status >= 500;
}

}  // namespace

Task<> User::Pause(double seconds)
{
    asio::steady_timer timer(context_, std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(seconds)));
    co_await timer.async_wait(asio::as_tuple(asio::use_awaitable));
}

Task<Response> User::Once(Line& line, const std::string& text)
{
    Response response;
    if (!line) {
        line = std::make_unique<Link>(context_);
        const Place place{port_, false, settings_.address};
        const bool isOpen = co_await line->Open(place);
        if (!isOpen) {
            line.reset();
            co_return response;
        }
    }
    asio::steady_timer limit(context_, LongestAnswer);
    limit.async_wait([link = line.get()](const boost::system::error_code& error) {
        if (!error)
            link->Close();
    });
    response = co_await line->Ask(text);
    limit.cancel();
    if (response.status == 0 || response.head.find("\r\nconnection: close") != std::string::npos)
        line.reset();
    co_return response;
}

Task<> User::SignIn(Line& line)
{
    token_.clear();
    const json body{{"userName", login_}, {"password", settings_.password}, {"protocol", 1}};
    const Question theSignIn{"sign-in", "POST", "/syncra/v1/sign-in", body.dump()};
    const auto answer = co_await Ask(line, theSignIn);
    if (answer.status == 200)
        token_ = TextOf(answer.body, "token");
}

Task<Response> User::Ask(Line& line, const Question& question)
{
    Clock::time_point failing{};
    Response response;
    // Whom the server lets wait is served, until the connection breaks and from the next request
    // on.
    const bool isHeld = question.kind == "held";
    for (double pause = 0.2;; pause = std::min(2.0, 2 * pause)) {
        const auto begin = Clock::now();
        const std::string text =
            RequestText(question.method, question.target, token_, question.body);
        response = co_await Once(line, text);
        auto& its = recorder_.kinds[question.kind];
        if (response.status == 200) {
            its.milliseconds.push_back(MillisecondsSince(begin));
            if (failing != Clock::time_point{})
                recorder_.outages.push_back(isHeld ? MillisecondsBetween(failing, begin)
                                                   : MillisecondsSince(failing));
            co_return response;
        }
        ++its.failed[response.status];
        if (!IsToBeRepeated(response.status)) {
            ++recorder_.errors;
            co_return response;
        }
        if (isHeld && failing != Clock::time_point{} && MillisecondsSince(begin) > HeldMilliseconds)
            recorder_.outages.push_back(
                MillisecondsBetween(std::exchange(failing, Clock::time_point{}), begin));
        if (failing == Clock::time_point{})
            failing = isHeld ? Clock::now() : begin;
        if (response.status == 401 && question.kind != "sign-in") {
            co_await SignIn(line);
            continue;
        }
        const double seconds = Random(pause / 2, pause);
        co_await Pause(seconds);
    }
}

Task<> Member::Begin()
{
    co_await SignIn(other_);
    const Question thePlace{"place", "GET",
                            "/syncra/v1/signals?project=" + project_ + "&after=0&wait=0", ""};
    const auto answer = co_await Ask(other_, thePlace);
    place_ = json::parse(answer.body).at("next");
}

Task<> Member::Hear()
{
    for (;;) {
        const Question theHeld{"held", "GET",
                               "/syncra/v1/signals?project=" + project_ +
                                   "&after=" + std::to_string(place_) + "&wait=55000",
                               ""};
        const auto answer = co_await Ask(held_, theHeld);
        if (answer.status != 200)
            co_return;
        const auto batch = json::parse(answer.body);
        place_ = batch.at("next");
        for (const auto& signal : batch.at("signals"))
            if (signal.at("id") == MailSignal)
                hasNews_ = true;
        if (hasNews_)
            news_.cancel();
    }
}

Task<> Member::Fetch()
{
    for (;;) {
        if (!hasNews_) {
            news_.expires_after(std::chrono::hours(24));
            co_await news_.async_wait(asio::as_tuple(asio::use_awaitable));
        }
        hasNews_ = false;
        std::string cursor;
        do {
            const std::string path = Path("mails?since=") + std::to_string(since_) +
                                     (cursor.empty() ? "" : "&cursor=" + cursor);
            const Question newMails{"new mails", "GET", path, ""};
            const auto answer = co_await Ask(other_, newMails);
            if (answer.status != 200)
                co_return;
            const auto page = json::parse(answer.body);
            for (const auto& mail : page.at("mails")) {
                heard_.insert(mail.at("id"));
                since_ = std::max<std::int64_t>(since_, mail.at("timeStamp"));
            }
            cursor = page.at("cursor");
        } while (!cursor.empty());
    }
}

Task<> Member::Write(int& writing)
{
    const double each = settings_.members / settings_.mailsEachSecond;
    for (int i = 0;; ++i) {
        const double seconds = Random(0, 2 * each);
        co_await Pause(seconds);
        if (ends_)
            co_return;
        std::vector<int> recipients;
        json names = json::array();
        std::string joined;
        for (int r = 1; r <= settings_.recipients; ++r) {
            // Those of the same project.
            const int other = (number_ + r * settings_.projects) % settings_.members;
            if (other % settings_.projects != number_ % settings_.projects ||
                std::find(recipients.begin(), recipients.end(), other) != recipients.end())
                continue;
            recipients.push_back(other);
            names.push_back(NameOf(other));
            joined += NameOf(other) + ',';
        }
        // As a client writes it, so that a window shows it.
        const json header{{"Version", "1.0"},
                          {"Sender", Login()},
                          {"SenderFullName", Login()},
                          {"Recipient", joined},
                          {"RecipientsFullName", joined},
                          {"SendingTime", std::to_string(std::time(nullptr))},
                          {"ParentMailGuid", ""},
                          {"Importance", "LOW"},
                          {"Type", "NORMAL"},
                          {"TextBody", "Mail " + std::to_string(i) + " of " + Login()},
                          {"ActionList", "EMPTY"}};
        const json body{{"key", Login() + '-' + std::to_string(since_) + '-' + std::to_string(i)},
                        {"recipients", names},
                        {"message", {{"header", header}, {"body", ""}}}};
        ++writing;
        const Question theMail{"mail", "POST", Path("mails"), body.dump()};
        const auto answer = co_await Ask(mail_, theMail);
        --writing;
        if (answer.status == 200)
            recorder_.mails[json::parse(answer.body).at("id")] = recipients;
    }
}

Task<> Member::Look()
{
    double log = Random(0, settings_.logSeconds), signIn = Random(0, 2 * settings_.signInSeconds);
    while (!ends_) {
        const double seconds = Random(0, 2 * settings_.refreshSeconds);
        co_await Pause(seconds);
        if (ends_)
            co_return;
        const Question theProjects{"projects", "GET", "/syncra/v1/projects", ""};
        co_await Ask(look_, theProjects);
        const Question theMembers{"members", "GET", Path("members"), ""};
        co_await Ask(look_, theMembers);
        if ((log -= seconds) < 0) {
            log = settings_.logSeconds;
            const Question theEvents{"log", "GET", Path("events?from=0&to=2147483647&after=0"), ""};
            co_await Ask(look_, theEvents);
        }
        if ((signIn -= seconds) < 0) {
            signIn = settings_.signInSeconds;
            co_await SignIn(look_);
        }
    }
}

Task<std::map<std::string, int>> Member::Box()
{
    std::map<std::string, int> box;
    std::string cursor;
    do {
        const std::string path =
            Path("mails?since=0") + (cursor.empty() ? "" : "&cursor=" + cursor);
        const Question thePart{"box", "GET", path, ""};
        const auto answer = co_await Ask(look_, thePart);
        if (answer.status != 200)
            break;
        const auto page = json::parse(answer.body);
        for (const auto& mail : page.at("mails"))
            ++box[mail.at("id")];
        cursor = page.at("cursor");
    } while (!cursor.empty());
    co_return box;
}

}  // namespace Load
