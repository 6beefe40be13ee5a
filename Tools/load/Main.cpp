// Thousands of members of a server from one thread, through the protocol, and whether each mail
// that was answered arrived once and was heard of.
#include "SimulatedMember.hpp"

#include "OVRoot/System.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

using namespace Load;
using nlohmann::json;

class Run {
public:
    explicit Run(const Settings& settings) : settings_(settings) {}

    int Go()
    {
        Spawn(Conduct());
        context_.run();
        Print();
        return lost_ + doubled_ + unheard_ + recorder_.errors == 0 ? 0 : 1;
    }

private:
    void Spawn(Task<> task)
    {
        asio::co_spawn(context_, std::move(task), [](const std::exception_ptr& error) {
            if (error)
                std::rethrow_exception(error);
        });
    }

    Task<> Conduct()
    {
        co_await SetUp();
        int begun = 0;
        for (int i = 0; i < settings_.members; ++i)
            members_.push_back(std::make_unique<Member>(
                context_, settings_, recorder_, i,
                projects_.at(static_cast<std::size_t>(i % settings_.projects)), ends_));
        for (auto& member : members_)
            Spawn(BeginOne(*member, begun));
        while (begun < settings_.members)
            co_await Wait(0.05);
        const auto begin = Clock::now();
        std::cerr << settings_.members << " members are signed in.\n";
        // What it took to come here is not what is measured.
        recorder_.kinds.clear();
        recorder_.outages.clear();
        int writing = 0;
        for (auto& member : members_) {
            Spawn(member->Hear());
            Spawn(member->Fetch());
            Spawn(member->Write(writing));
            Spawn(member->Look());
        }
        for (int second = 1; second <= settings_.seconds; ++second) {
            co_await Wait(1);
            if (second % 10 == 0)
                Progress(second);
        }
        ends_ = true;
        measured_ = MillisecondsSince(begin) / 1000;
        for (int second = 0;
             second < settings_.settleSeconds && (writing > 0 || CountUnheard() > 0); ++second)
            co_await Wait(1);
        unheard_ = CountUnheard() + writing;
        std::cerr << "Looking at every box ...\n";
        for (auto& member : members_) {
            auto box = co_await member->Box();
            boxes_.push_back(std::move(box));
        }
        for (const auto& [mail, recipients] : recorder_.mails)
            for (const int recipient : recipients) {
                const int count = boxes_[static_cast<std::size_t>(recipient)][mail];
                lost_ += count == 0 ? 1 : 0;
                doubled_ += count > 1 ? 1 : 0;
            }
        context_.stop();
    }

    Task<> Wait(double seconds)
    {
        asio::steady_timer timer(context_, std::chrono::duration_cast<Clock::duration>(
                                               std::chrono::duration<double>(seconds)));
        co_await timer.async_wait(asio::as_tuple(asio::use_awaitable));
    }

    Task<> BeginOne(Member& member, int& begun)
    {
        co_await member.Begin();
        ++begun;
    }

    /// Makes projects and members, where they are not there yet.
    Task<> SetUp()
    {
        User admin(context_, settings_, recorder_, settings_.management, settings_.admin, 0);
        User::Line line;
        co_await admin.SignIn(line);
        const std::string root = "/root/syncrav2/";
        for (int i = 0; i < settings_.projects; ++i) {
            const std::string name = "Load " + std::to_string(i);
            const json body{{"name", name},
                            {"description", ""},
                            {"category", ""},
                            {"state", 1},
                            {"version", ""},
                            {"members", json::array()},
                            {"backupSchedules", json::array()},
                            {"maximumBackups", 0}};
            const Question addition{"set-up", "POST", root + "projects", body.dump()};
            co_await admin.Ask(line, addition);
            const Question search{"set-up", "GET",
                                  root + "projects?name=Load%20" + std::to_string(i), ""};
            const auto found = co_await admin.Ask(line, search);
            projects_.push_back(json::parse(found.body).at("items").at(0).at("id"));
        }
        for (int i = 0; i < settings_.members; ++i) {
            const auto login = Member::NameOf(i);
            const json user{{"loginName", login},
                            {"fullName", login},
                            {"email", ""},
                            {"enabled", true},
                            {"color", 0},
                            {"properties", json::object()},
                            {"password", settings_.password}};
            const Question userAddition{"set-up", "POST", root + "users", user.dump()};
            co_await admin.Ask(line, userAddition);
            const json member{{"loginName", login}, {"role", "Viewer"}};
            const Question joining{
                "set-up", "POST",
                root + "projects/" +
                    projects_.at(static_cast<std::size_t>(i % settings_.projects)) + "/members",
                member.dump()};
            co_await admin.Ask(line, joining);
            if ((i + 1) % 500 == 0)
                std::cerr << i + 1 << " members are made.\n";
        }
        recorder_.errors = 0;  // those that were there before
    }

    [[nodiscard]] int CountUnheard() const
    {
        int count = 0;
        for (const auto& [mail, recipients] : recorder_.mails)
            for (const int recipient : recipients)
                count += members_[static_cast<std::size_t>(recipient)]->HasHeard(mail) ? 0 : 1;
        return count;
    }

    void Progress(int second)
    {
        std::int64_t answers = 0, failures = 0;
        for (const auto& [name, kind] : recorder_.kinds) {
            answers += static_cast<std::int64_t>(kind.milliseconds.size());
            for (const auto& [status, count] : kind.failed)
                failures += count;
        }
        std::cerr << second << " s: " << answers << " answers, " << failures << " failures, "
                  << recorder_.mails.size() << " mails, " << CountUnheard()
                  << " not heard of yet\n";
    }

    void Print()
    {
        json report{{"seconds", measured_},
                    {"members", settings_.members},
                    {"projects", settings_.projects},
                    {"mails", recorder_.mails.size()},
                    {"lost", lost_},
                    {"doubled", doubled_},
                    {"unheard", unheard_},
                    {"errors", recorder_.errors},
                    {"outages", recorder_.outages.size()},
                    {"outageMedianMs", Recorder::At(recorder_.outages, 0.5)},
                    {"outageLongestMs", Recorder::At(recorder_.outages, 1)}};
        for (auto& [name, kind] : recorder_.kinds) {
            json& its = report["kinds"][name];
            its = {{"answers", kind.milliseconds.size()},
                   {"eachSecond", static_cast<double>(kind.milliseconds.size()) / measured_},
                   {"medianMs", Recorder::At(kind.milliseconds, 0.5)},
                   {"of100Ms", Recorder::At(kind.milliseconds, 0.99)},
                   {"longestMs", Recorder::At(kind.milliseconds, 1)}};
            for (const auto& [status, count] : kind.failed)
                its["failed"][std::to_string(status)] = count;
        }
        if (settings_.writesJson) {
            std::cout << report.dump(2) << '\n';
            return;
        }
        for (const auto& [name, value] : report.items())
            if (name != "kinds")
                std::cout << name << ": " << value.dump() << '\n';
        for (const auto& [name, value] : report["kinds"].items())
            std::cout << name << ": " << value.dump() << '\n';
    }

    Settings settings_;
    asio::io_context context_{1};
    Recorder recorder_;
    std::vector<std::string> projects_;
    std::vector<std::unique_ptr<Member>> members_;
    std::vector<std::map<std::string, int>> boxes_;
    bool ends_ = false;
    double measured_ = 0;
    std::int64_t lost_ = 0, doubled_ = 0, unheard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    Settings settings;
    CLI::App app("Members of a server at their work, many of them, and whether every mail that was "
                 "answered arrived once and was heard of.",
                 "nexar-load");
    app.option_defaults()->always_capture_default();
    app.add_option("--address", settings.address, "Numeric address of the server or its balancer");
    app.add_option("--model-port", settings.model, "Port of the model service");
    app.add_option("--management-port", settings.management, "Port of the management service");
    app.add_option("--admin", settings.admin, "Login name of an administrator");
    app.add_option("--password", settings.password, "His password, and that of the members made");
    app.add_option("--members", settings.members, "How many there are")->check(CLI::PositiveNumber);
    app.add_option("--projects", settings.projects, "In how many projects")
        ->check(CLI::PositiveNumber);
    app.add_option("--seconds", settings.seconds, "How long it goes on");
    app.add_option("--settle", settings.settleSeconds,
                   "How long it then waits for what is on its way");
    app.add_option("--mails", settings.mailsEachSecond, "Mails each second, of all together");
    app.add_option("--recipients", settings.recipients, "Members of the project who get each mail");
    app.add_option("--refresh", settings.refreshSeconds, "Seconds between refreshes of a member");
    app.add_option("--log", settings.logSeconds, "Seconds between his readings of the log");
    app.add_option("--sign-in", settings.signInSeconds, "Seconds between his sign-ins");
    app.add_flag("--json", settings.writesJson, "Write the report as JSON");
    CLI11_PARSE(app, argc, argv);
    try {
        (void)OV::System::RaiseDescriptorLimit();
        return Run(settings).Go();
    } catch (const std::exception& error) {
        std::cerr << "nexar-load: " << error.what() << '\n';
        return 2;
    }
}
