#pragma once

#include "Link.hpp"
#include "Recorder.hpp"
#include "Settings.hpp"

#include <memory>
#include <nlohmann/json.hpp>
#include <random>

namespace Load {

/// A request. One that is asked has a name: g++ 12 ends what a co_await makes for itself twice.
struct Question {
    std::string kind;
    std::string method;
    std::string target;
    std::string body;
};

/// One user of the protocol, who repeats what failed until it is answered, as a client does.
class User {
public:
    User(asio::io_context& context, const Settings& settings, Recorder& recorder,
         std::uint16_t port, std::string login, unsigned seed)
        : context_(context), settings_(settings), recorder_(recorder), port_(port),
          login_(std::move(login)), random_(seed)
    {}

    /// One connection of his; requests on it are one after the other.
    using Line = std::unique_ptr<Link>;
    /// The answer with status 200, or one that no repetition mends.
    Task<Response> Ask(Line& line, const Question& question);
    Task<> SignIn(Line& line);
    Task<> Pause(double seconds);
    [[nodiscard]] double Random(double from, double to)
    {
        return std::uniform_real_distribution<double>(from, to)(random_);
    }
    [[nodiscard]] const std::string& Login() const { return login_; }

private:
    Task<Response> Once(Line& line, const std::string& text);

    asio::io_context& context_;
    const Settings& settings_;
    Recorder& recorder_;
    std::uint16_t port_;
    std::string login_;
    std::string token_;
    std::mt19937 random_;
};

/// A member of a project at his work: he holds a request for signals, fetches mails when one tells
/// of them and never otherwise, sends mails, and looks at projects, members and the log.
class Member : public User {
public:
    Member(asio::io_context& context, const Settings& settings, Recorder& recorder, int number,
           std::string project, bool& ends)
        : User(context, settings, recorder, settings.model, NameOf(number),
               static_cast<unsigned>(number)),
          context_(context), settings_(settings), recorder_(recorder), number_(number),
          project_(std::move(project)), ends_(ends)
    {}

    [[nodiscard]] static std::string NameOf(int number) { return "load." + std::to_string(number); }

    /// Signs in and takes his place in the signals.
    Task<> Begin();
    /// Until the end, and from then on as long as the loop runs.
    Task<> Hear();
    Task<> Fetch();
    Task<> Write(int& writing);
    Task<> Look();

    [[nodiscard]] bool HasHeard(const std::string& mail) const { return heard_.contains(mail); }
    /// All of his box, and how often each mail is in it.
    Task<std::map<std::string, int>> Box();

private:
    [[nodiscard]] std::string Path(const std::string& what) const
    {
        return "/syncra/v1/projects/" + project_ + '/' + what;
    }

    asio::io_context& context_;
    const Settings& settings_;
    Recorder& recorder_;
    int number_;
    std::string project_;
    bool& ends_;
    Line held_, other_, mail_, look_;
    std::uint64_t place_ = 0;
    std::int64_t since_ = 0;
    std::set<std::string> heard_;
    bool hasNews_ = true;
    asio::steady_timer news_{context_};
};

}  // namespace Load
