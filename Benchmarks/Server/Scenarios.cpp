#include "Scenarios.hpp"

#include "Workload.hpp"

#include <list>

namespace Load {

namespace {

constexpr auto LongestSignIn = 30s;

/// A sign-in as a client does it: opens a connection, and comes again when it is told to.
Task<> SignInPatiently(asio::io_context& context, Place place, const char* from, double& seconds)
{
    const auto begin = Clock::now();
    const auto text = SignInText("anna.novak", Password);
    Response answer;
    while (answer.status != 200) {
        Link link(context);
        const bool isOpen = co_await link.Open(place, from);
        if (isOpen)
            answer = co_await link.Ask(text);
        if (answer.status != 200)
            co_await Pause(context, 1s);
    }
    seconds = SecondsSince(begin);
    context.stop();
}

// ---- strangers
// -----------------------------------------------------------------------------------

/// One who knows no password; he waits for the answer, or goes at once.
Task<> Stranger(asio::io_context& context, Place place, int number, std::shared_ptr<int> open)
{
    Link link(context);
    const bool isOpen = co_await link.Open(place, StrangersAddress);
    if (isOpen) {
        const auto text = SignInText("stranger" + std::to_string(number), "guessed");
        if (number % 2 == 0)
            co_await link.Send(text);
        else
            co_await link.Ask(text);
    }
    --*open;
}

/// So many strangers a second, half of whom wait for their answers.
Task<> Flood(asio::io_context& context, Place place, int eachSecond, const Ends& ends)
{
    const auto open = std::make_shared<int>(0);
    int number = 0;
    auto next = Clock::now();
    while (!ends) {
        for (int i = 0; i < eachSecond / 100 && *open < 900; ++i) {
            ++*open;
            asio::co_spawn(context, Stranger(context, place, ++number, open), asio::detached);
        }
        next = std::max(next + 10ms, Clock::now());
        co_await Pause(context, next - Clock::now());
    }
}

auto FloodOf(Place place, int eachSecond)
{
    return [=](asio::io_context& context, const Ends& ends) {
        return Flood(context, place, eachSecond, ends);
    };
}

Figures SignInDuringFlood(const Stage& stage)
{
    Figures figures;
    for (const auto& [name, from] :
         {std::pair{"from another address", "127.0.0.1"}, {"from theirs", StrangersAddress}}) {
        MeasuredServer server(stage.program, stage.store);
        const Place place{server.Port()};
        const Beside flood(FloodOf(place, 1000));
        std::this_thread::sleep_for(1s);
        double seconds = LongestSignIn.count();
        asio::io_context context;
        asio::co_spawn(context, SignInPatiently(context, place, from, seconds), asio::detached);
        context.run_for(LongestSignIn);
        figures.push_back({std::string("sign-in ") + name + ", s (30: not within that)", seconds});
    }
    return figures;
}

// ---- bodies
// --------------------------------------------------------------------------------------

Figures UnfinishedBodies(const Stage& stage)
{
    constexpr std::size_t promised = 16u << 20;
    MeasuredServer server(stage.program, stage.store);
    const double before = server.MebibytesOfMemory();
    double after = 0;
    Run([&](asio::io_context& context) -> Task<> {
        std::list<Link> links;
        const std::string body(promised - 1, ' ');
        auto text = RequestText("POST", "/syncra/v1/projects");
        text.replace(text.find("Length: 0"), 9, "Length: " + std::to_string(promised));
        text += body;
        for (int i = 0; i < 24; ++i) {
            const bool isOpen = co_await links.emplace_back(context).Open({server.Port()});
            if (isOpen)
                co_await links.back().Send(text);
        }
        co_await Pause(context, 200ms);
        after = server.MebibytesOfMemory();
    });
    return {{"memory before, MiB", before}, {"with 24 unfinished bodies of 16 MiB, MiB", after}};
}

// ---- bulk work
// -----------------------------------------------------------------------------------

Figures StopDuringDeletion(const Stage& stage)
{
    const auto ids = MailIds(stage.store, "omar.haddad", 40'000);
    MeasuredServer server(stage.program, stage.store);
    std::atomic<bool> isSignedIn = false;
    const Beside deleting([&](asio::io_context& context, const Ends&) -> Task<> {
        Link link(context);
        co_await link.Open({server.Port()});
        const auto token = co_await Token(link, "omar.haddad");
        isSignedIn = true;
        co_await DeleteMails(link, token, ids);
    });
    while (!isSignedIn)
        std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(50ms);
    return {{"stop during the deletion of 40,000 mails, s", server.Stop()}};
}

// ---- everybody at once
// ---------------------------------------------------------------------------

Task<> FetchBox(asio::io_context& context, Place place, const Ends& ends, std::atomic<int>& pages)
{
    Link link(context);
    co_await link.Open(place);
    const auto token = co_await Token(link, "yuki.tanaka");
    std::string cursor;
    while (!ends) {
        const auto text =
            RequestText("GET", ProjectPath + "/mails?since=0&cursor=" + cursor, token);
        const auto page = co_await link.Ask(text);
        cursor = page.body.substr(std::max<std::size_t>(page.body.size(), 80) - 80);
        cursor = TextOf(cursor, "cursor");
        pages += page.status == 200 ? 1 : 0;
    }
}

/// How late a thread that does nothing but sleep wakes up: what the machine itself costs everybody.
class Sleeper {
public:
    Sleeper()
        : thread_([this](const std::stop_token& token) {
              for (auto due = Clock::now() + 5ms; !token.stop_requested(); due += 5ms) {
                  std::this_thread::sleep_until(due);
                  late_.Add(1000 * SecondsSince(due));
              }
          })
    {}
    Latencies End()
    {
        thread_ = {};
        return std::move(late_);
    }

private:
    Latencies late_;
    std::jthread thread_;
};

Figures EverybodyAtOnce(const Stage& stage)
{
    const auto ids = MailIds(stage.store, "omar.haddad", 40'000);
    MeasuredServer server(stage.program, stage.store);
    const Place place{server.Port()};
    Latencies latencies;
    std::atomic<int> pages = 0, deletions = 0;
    constexpr int seconds = 8;
    std::optional<Beside> fetching, deleting, flood;
    // The flood begins last: all others are signed in by then.
    fetching.emplace([&](asio::io_context& context, const Ends& ends) {
        return FetchBox(context, place, ends, pages);
    });
    while (pages == 0)
        std::this_thread::sleep_for(1ms);
    Run([&](asio::io_context& context) -> Task<> {
        Link link(context);
        co_await link.Open(place);
        (void)co_await Token(link, "omar.haddad");
        (void)co_await Token(link, "anna.novak");
    });
    deleting.emplace([&](asio::io_context& context, const Ends& ends) {
        return DeleteBox(context, place, ends, ids, deletions);
    });
    flood.emplace(FloodOf(place, 1000));
    Sleeper sleeper;
    Run([&](asio::io_context& context) {
        return Probe(context, place, "/syncra/v1/projects", std::chrono::seconds(seconds),
                     latencies);
    });
    auto late = sleeper.End();
    flood.reset();
    fetching.reset();
    deleting.reset();
    return {{"project list, median, ms", latencies.At(0.5)},
            {"project list, 99 of 100, ms", latencies.At(0.99)},
            {"project list, longest, ms", latencies.At(1)},
            {"a thread that only sleeps, 99 of 100, ms late", late.At(0.99)},
            {"mails fetched beside, each second", 1000.0 * pages / seconds},
            {"times 10,000 mails were deleted beside", static_cast<double>(deletions)}};
}

// ---- rates
// ---------------------------------------------------------------------------------------

/// Signed in once for each connection, as clients are.
struct SignedIn {
    explicit SignedIn(asio::io_context& context) : link(context) {}
    Link link;
    std::string token;
    int asked = 0;
};
using MakeText = std::function<std::string(const std::string& token, int number)>;

Task<> AskUntil(SignedIn& client, const MakeText& make, Clock::time_point end, Latencies& latencies)
{
    while (Clock::now() < end) {
        const auto text = make(client.token, ++client.asked);
        const auto begin = Clock::now();
        const auto answer = co_await client.link.Ask(text);
        if (answer.status != 200)
            co_return;
        latencies.Add(1000 * SecondsSince(begin));
    }
}

Figures RateOf(const Stage& stage, bool isProtected, const std::vector<std::string>& certificate)
{
    const auto get = [](std::string path) -> MakeText {
        return [path](const std::string& token, int) { return RequestText("GET", path, token); };
    };
    const std::vector<std::pair<std::string, MakeText>> requests = {
        {"membership", get(ProjectPath + "/membership")},
        {"project list", get("/syncra/v1/projects")},
        {"new mails", get(ProjectPath + "/mails?since=1900000000")},
        {"own session", get(ProjectPath + "/sessions")},
        {"a mail", [](const std::string& token, int number) {
             return MailText(token, token.substr(token.size() - 12) + std::to_string(number));
         }}};
    Figures figures;
    for (const auto& request : requests)
        for (const char* what : {", requests/s", ", 99 of 100, ms"})
            figures.push_back({request.first + (isProtected ? ", TLS" : "") + what});
    if (isProtected && !stage.program.KnowsTls())
        return figures;
    MeasuredServer server(stage.program, stage.store,
                          isProtected ? certificate : std::vector<std::string>());
    Run([&](asio::io_context& context) -> Task<> {
        constexpr int clients = 32;
        const Place place{server.Port(), isProtected};
        std::list<SignedIn> signedIn;
        for (int i = 0; i < clients; ++i) {
            auto& client = signedIn.emplace_back(context);
            co_await client.link.Open(place);
            const auto token = co_await Token(client.link, "anna.novak");
            client.token = token;
        }
        for (std::size_t which = 0; which < requests.size(); ++which) {
            Latencies latencies;
            const auto begin = Clock::now();
            int open = clients;
            for (auto& client : signedIn)
                asio::co_spawn(context,
                               AskUntil(client, requests[which].second, begin + 1500ms, latencies),
                               [&open](const std::exception_ptr&) { --open; });
            while (open > 0)
                co_await Pause(context, 1ms);
            figures[2 * which].value = static_cast<double>(latencies.Count()) / SecondsSince(begin);
            figures[2 * which + 1].value = latencies.At(0.99);
        }
    });
    return figures;
}

// ---- held requests
// -------------------------------------------------------------------------------

/// Asks anew whenever the server lets go of the request, as a client does.
Task<> Hear(Link& link, const std::string& text, int& heard)
{
    Response answer;
    bool goesOn = true;
    while (goesOn) {
        answer = co_await link.Ask(text);
        goesOn = answer.status == 200 && answer.body.find("\"signals\":[]") != std::string::npos;
    }
    heard += answer.status == 200 ? 1 : 0;
}

Figures HeldRequests(const Stage& stage, int count, bool isProtected,
                     std::vector<std::string> options)
{
    const std::string name = std::to_string(count) + " held" + (isProtected ? ", TLS" : "");
    Figures figures = {{name + ", KiB each"}, {name + ", ms until all hear"}};
    if (isProtected && !stage.program.KnowsTls())
        return figures;
    for (const char* limit :
         {"--connections=12000", "--connections-per-address=12000", "--requests-per-user=12000"})
        options.emplace_back(limit);
    MeasuredServer server(stage.program, stage.store, options);
    const Place place{server.Port(), isProtected};
    Run([&](asio::io_context& context) -> Task<> {
        Link actor(context);
        co_await actor.Open(place);
        // The session of the one is in the store of the other.
        const auto token = co_await Token(actor, isProtected ? "lena.fischer" : "anna.novak");
        const std::string path = "/syncra/v1/signals?project=" + Project;
        const auto now = co_await actor.Ask(RequestText("GET", path + "&after=0&wait=0", token));
        const auto text =
            RequestText("GET", path + "&after=" + NextOf(now.body) + "&wait=60000", token);
        const double before = server.MebibytesOfMemory();
        std::list<Link> links;
        int heard = 0, open = 0;
        for (int i = 0; i < count; ++i) {
            const bool isTaken = co_await links.emplace_back(context).Open(place);
            if (isTaken)
                asio::co_spawn(context, Hear(links.back(), text, heard),
                               [&open](const std::exception_ptr&) { --open; });
            open += isTaken ? 1 : 0;
        }
        co_await Pause(context, 1s);
        const double after = server.MebibytesOfMemory();
        // Some could not be held.
        if (open < count) {
            context.stop();
            co_return;
        }
        const auto begin = Clock::now();
        const auto raise = RequestText("POST", ProjectPath + "/sessions", token, "{}");
        co_await actor.Ask(raise);
        while (open > 0)
            co_await Pause(context, 1ms);
        if (heard < count)
            co_return;
        figures[0].value = 1024 * (after - before) / count;
        figures[1].value = 1000 * SecondsSince(begin);
    });
    return figures;
}

/// The options for a certificate that the program itself made beside the store.
std::vector<std::string> Certificate(const Stage& stage)
{
    if (!stage.program.KnowsTls())
        return {};
    const std::string file = stage.store.string() + ".pem";
    const std::vector<std::string> options = {"--certificate=" + file, "--key=" + file + ".key"};
    if (!std::filesystem::exists(file))
        (void)OutputOf(stage.program.Path() + " --make-certificate 127.0.0.1 '" + options[0] +
                       "' '" + options[1] + "'");
    return options;
}

Figures ForPlainAndTls(const Stage& stage,
                       const std::function<Figures(bool, const std::vector<std::string>&)>& run)
{
    Figures figures = run(false, {});
    const auto protectedOnes = run(true, Certificate(stage));
    figures.insert(figures.end(), protectedOnes.begin(), protectedOnes.end());
    return figures;
}

Scenario HeldScenario(int count)
{
    return {std::to_string(count) + " held requests", [count](const Stage& stage) {
                return ForPlainAndTls(stage, [&](bool isProtected, const auto& certificate) {
                    return HeldRequests(stage, count, isProtected,
                                        isProtected ? certificate : std::vector<std::string>());
                });
            }};
}

}  // namespace

std::vector<Scenario> AllScenarios()
{
    return {{"Everybody at once", EverybodyAtOnce},
            {"A small request beside", SmallRequestBeside},
            {"A large store beside a small one", LargeStoreBesideSmall},
            {"A member change", MemberChange},
            {"A sign-in during a flood", SignInDuringFlood},
            {"Unfinished bodies", UnfinishedBodies},
            {"Stop", StopDuringDeletion},
            {"Rates on 32 connections",
             [](const Stage& stage) {
                 return ForPlainAndTls(stage, [&](bool isProtected, const auto& certificate) {
                     return RateOf(stage, isProtected, certificate);
                 });
             }},
            HeldScenario(500),
            HeldScenario(10'000)};
}

void MakeStore(const Program& program, const std::filesystem::path& store)
{
    MeasuredServer(program, store, {"--sample", "--sample-lines=0"}).Stop();
    const auto fill = [&](const std::string& user, int count, int first) {
        const auto numbers = "WITH RECURSIVE n(i) AS (SELECT " + std::to_string(first) +
                             " UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
                             std::to_string(first + count) + ") ";
        const auto at = std::to_string(1'700'000'000);
        EditStore(store, "BEGIN; INSERT INTO mails (id, project_id, time_stamp, header, body) " +
                             numbers + "SELECT printf('%08X-0000-4000-8000-000000000000', i), '" +
                             Project + "', " + at +
                             " + i, '{\"Subject\":\"Mail ' || i || '\",\"Version\":\"1\"}', "
                             "hex(zeroblob(200)) FROM n; "
                             "INSERT INTO mail_entries (user_id, project_id, time_stamp, mail, "
                             "is_copy, is_read, read_change, historical_change) SELECT "
                             "(SELECT id FROM users WHERE login = '" +
                             user + "'), '" + Project +
                             "', time_stamp, number, 0, 0, 1, 1 FROM mails WHERE time_stamp >= " +
                             at + " + " + std::to_string(first) + "; COMMIT");
    };
    fill("yuki.tanaka", 100'000, 1);
    fill("omar.haddad", 40'000, 200'000);
}

}  // namespace Load
