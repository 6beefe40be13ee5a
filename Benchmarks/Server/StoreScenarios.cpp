#include "Scenarios.hpp"
#include "Workload.hpp"

#include <cstdlib>
#include <list>

namespace Load {

namespace {

std::string LargeStore()
{
    const char* const named = std::getenv("SYCLIENT_LARGE_STORE");
    return named == nullptr ? std::string() : named;
}

std::uint16_t ManagementPort(const std::string& body)
{
    const std::string key = R"("ManagementService","port":)";
    const auto at = body.find(key);
    if (at == std::string::npos)
        throw std::runtime_error("The server names no management service: " + body);
    return static_cast<std::uint16_t>(std::atoi(body.c_str() + at + key.size()));
}

Task<Place> ManagementOf(asio::io_context& context, Place model)
{
    Link link(context);
    co_await link.Open(model);
    const auto token = co_await Token(link, "admin");
    const auto text = RequestText("GET", "/syncra/v1/ports", token);
    const auto answer = co_await link.Ask(text);
    co_return Place{ManagementPort(answer.body)};
}

Task<> PostMails(asio::io_context& context, Place place, int number, const Ends& ends)
{
    Link link(context);
    co_await link.Open(place);
    const auto token = co_await Token(link, "marco.rossi");
    for (int mail = 0; !ends; ++mail) {
        const auto key = std::to_string(number) + "-" + std::to_string(mail);
        const auto text = MailText(token, key);
        co_await link.Ask(text);
    }
}

/// The text of a field, which holds nothing that JSON escapes.
std::string TextBehind(const std::string& body, const std::string& field)
{
    const std::string key = '"' + field + "\":\"";
    const auto at = body.find(key);
    if (at == std::string::npos)
        throw std::runtime_error("No \"" + field + "\" in " + body.substr(0, 200));
    const auto begin = at + key.size();
    return body.substr(begin, body.find('"', begin) - begin);
}

Task<> ListUsers(asio::io_context& context, Place model, const Ends& ends, bool isInParts)
{
    const Place management = co_await ManagementOf(context, model);
    Link link(context);
    co_await link.Open(management);
    const auto token = co_await Token(link, "admin");
    std::string cursor;
    while (!ends) {
        const std::string part = isInParts ? "?count=1000&after=" + cursor : "";
        const auto text = RequestText("GET", "/root/syncrav2/users" + part, token);
        const auto answer = co_await link.Ask(text);
        if (isInParts)
            cursor = TextBehind(answer.body, "cursor");
    }
}

Latencies Probed(Place place)
{
    Latencies latencies;
    Run([&](asio::io_context& context) {
        return Probe(context, place, ProjectPath + "/membership", 4s, latencies);
    });
    return latencies;
}

void Add(Figures& figures, const std::string& name, Latencies latencies)
{
    figures.push_back({name + ": median, ms", latencies.At(0.5)});
    figures.push_back({name + ": 99 of 100, ms", latencies.At(0.99)});
}

struct Request {
    const char* name;
    std::string path;
    bool isOfManagement = false;
};

/// Waits for a signal of the project and asks what became of its members.
Task<> FollowMembers(Link& link, const std::string& signals, const std::string& changes, int& told)
{
    std::string body;
    do {
        const auto answer = co_await link.Ask(signals);
        if (answer.status != 200)
            co_return;
        body = answer.body;
    } while (body.find("\"signals\":[]") != std::string::npos);
    const auto answer = co_await link.Ask(changes);
    told += answer.status == 200 && answer.body.find("\"members\":[{") != std::string::npos &&
                    answer.body.find("\"whole\":true") == std::string::npos
                ? 1
                : 0;
}

/// The median of each on a connection of its own, one after the other.
std::vector<double> Medians(const Program& program, const std::filesystem::path& store,
                            const std::vector<Request>& requests)
{
    std::vector<double> medians;
    MeasuredServer server(program, store);
    const Place model{server.Port()};
    Run([&](asio::io_context& context) -> Task<> {
        const Place management = co_await ManagementOf(context, model);
        for (const auto& request : requests) {
            Link link(context);
            co_await link.Open(request.isOfManagement ? management : model);
            const auto token =
                co_await Token(link, request.isOfManagement ? "admin" : "anna.novak");
            const auto text = RequestText("GET", request.path, token);
            Latencies latencies;
            for (int i = 0; i < 400; ++i) {
                const auto begin = Clock::now();
                const auto answer = co_await link.Ask(text);
                if (answer.status == 200)
                    latencies.Add(1000 * SecondsSince(begin));
            }
            medians.push_back(latencies.At(0.5));
        }
    });
    return medians;
}

}  // namespace

Figures SmallRequestBeside(const Stage& stage)
{
    const auto ids = MailIds(stage.store, "omar.haddad", 40'000);
    const auto large = stage.program.KnowsTls() ? LargeStore() : std::string();
    Figures figures;
    {
        MeasuredServer server(stage.program, stage.store);
        const Place place{server.Port()};
        Add(figures, "alone", Probed(place));
        {
            std::list<Beside> posters;
            for (int thread = 0; thread < 2; ++thread)
                posters.emplace_back([=](asio::io_context& context, const Ends& ends) -> Task<> {
                    for (int i = 1; i < 16; ++i)
                        asio::co_spawn(context, PostMails(context, place, 16 * thread + i, ends),
                                       asio::detached);
                    return PostMails(context, place, 16 * thread, ends);
                });
            Add(figures, "32 clients that post mails", Probed(place));
        }
        std::atomic<int> deletions = 0;
        const Beside deleting([&](asio::io_context& context, const Ends& ends) {
            return DeleteBox(context, place, ends, ids, deletions);
        });
        Add(figures, "deletions of 10,000 mails", Probed(place));
    }
    if (large.empty())
        return figures;
    MeasuredServer server(stage.program, large);
    const Place place{server.Port()};
    for (const bool isInParts : {false, true}) {
        const Beside listing([=](asio::io_context& context, const Ends& ends) {
            return ListUsers(context, place, ends, isInParts);
        });
        Add(figures,
            std::string("all users of the large store ") + (isInParts ? "in parts" : "at once"),
            Probed(place));
    }
    return figures;
}

Figures LargeStoreBesideSmall(const Stage& stage)
{
    const std::vector<Request> requests = {
        {"membership", ProjectPath + "/membership"},
        {"project by name", "/syncra/v1/projects/exists?name=Harbour%20Bridge"},
        {"members", ProjectPath + "/members"},
        {"sessions", ProjectPath + "/sessions"},
        {"new mails", ProjectPath + "/mails?since=1900000000"},
        {"new lines of the log", ProjectPath + "/events?from=1900000000&to=2147483647&after=0"},
        {"a user by login", "/root/syncrav2/users?loginName=yuki.tanaka", true},
        {"a project by name", "/root/syncrav2/projects?name=Harbour%20Bridge", true},
        {"a role by name", "/root/syncrav2/roles?name=Viewer", true},
    };
    const auto large = stage.program.KnowsTls() ? LargeStore() : std::string();
    if (large.empty())
        return {};
    const auto ofSmall = Medians(stage.program, stage.store, requests);
    const auto ofLarge = Medians(stage.program, large, requests);
    Figures figures;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const std::string name = requests[i].name;
        figures.push_back({name + ", small, ms", ofSmall[i]});
        figures.push_back({name + ", large, ms", ofLarge[i]});
    }
    return figures;
}

Figures MemberChange(const Stage& stage)
{
    constexpr int clients = 500;
    const auto large = stage.program.KnowsTls() ? LargeStore() : std::string();
    if (large.empty())
        return {};
    Figures figures = {{"of 10,000 members, ms until 500 clients have it"}, {"all members, ms"}};
    MeasuredServer server(
        stage.program, large,
        {"--connections=1000", "--connections-per-address=1000", "--requests-per-user=1000"});
    const Place model{server.Port()};
    Run([&](asio::io_context& context) -> Task<> {
        const Place management = co_await ManagementOf(context, model);
        Link manager(context);
        co_await manager.Open(management);
        const auto managerToken = co_await Token(manager, "admin");
        const auto find = RequestText("GET", "/root/syncrav2/projects?name=Large-0", managerToken);
        const auto found = co_await manager.Ask(find);
        const auto project = TextBehind(found.body, "id");
        const auto setRole = [&](std::string role) -> Task<> {
            const auto text =
                RequestText("PUT", "/root/syncrav2/projects/" + project + "/members/user-1",
                            managerToken, "{\"role\":\"" + role + "\"}");
            const auto answer = co_await manager.Ask(text);
            if (answer.status != 200)
                throw std::runtime_error("The role cannot be changed: " + answer.body);
        };
        co_await setRole("Engineer");
        Link actor(context);
        co_await actor.Open(model);
        const auto token = co_await Token(actor, "user-0");
        const auto path = "/syncra/v1/projects/" + project + "/members/changes?after=";
        const auto all = RequestText("GET", path, token);
        const auto beginOfAll = Clock::now();
        const auto whole = co_await actor.Ask(all);
        figures[1].value = 1000 * SecondsSince(beginOfAll);
        const auto changes = RequestText("GET", path + TextBehind(whole.body, "place"), token);
        const auto signalPath = "/syncra/v1/signals?project=" + project;
        const auto look = RequestText("GET", signalPath + "&after=0&wait=0", token);
        const auto now = co_await actor.Ask(look);
        const auto signals =
            RequestText("GET", signalPath + "&after=" + NextOf(now.body) + "&wait=60000", token);
        std::list<Link> links;
        int told = 0, open = 0;
        for (int i = 0; i < clients; ++i) {
            const bool isOpen = co_await links.emplace_back(context).Open(model);
            if (isOpen)
                asio::co_spawn(context, FollowMembers(links.back(), signals, changes, told),
                               [&open](const std::exception_ptr&) { --open; });
            open += isOpen ? 1 : 0;
        }
        co_await Pause(context, 1s);
        const auto begin = Clock::now();
        co_await setRole("Architect");
        while (open > 0)
            co_await Pause(context, 1ms);
        if (told == clients)
            figures[0].value = 1000 * SecondsSince(begin);
    });
    return figures;
}

}  // namespace Load
