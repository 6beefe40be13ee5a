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

Task<> ListUsers(asio::io_context& context, Place model, const Ends& ends)
{
    const Place management = co_await ManagementOf(context, model);
    Link link(context);
    co_await link.Open(management);
    const auto token = co_await Token(link, "admin");
    const auto text = RequestText("GET", "/root/syncrav2/users", token);
    while (!ends)
        co_await link.Ask(text);
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
    const Beside listing([=](asio::io_context& context, const Ends& ends) {
        return ListUsers(context, place, ends);
    });
    Add(figures, "the list of all users of the large store", Probed(place));
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

}  // namespace Load
