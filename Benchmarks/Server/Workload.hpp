#pragma once

#include "MeasuredServer.hpp"

#include "Support/StoreEdit.hpp"

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>

/// What scenarios are made of.
namespace Load {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

inline const std::string Project = "6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
inline const std::string ProjectPath = "/syncra/v1/projects/" + Project;
inline constexpr const char* Password = "nexar-sample";
inline constexpr const char* StrangersAddress = "127.0.0.9";

inline double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Where the next request for signals begins, as the answer to the last one says.
inline std::string NextOf(const std::string& body)
{
    const auto next = body.substr(body.find("\"next\":") + 7);
    return next.substr(0, next.find_first_of(",}"));
}

/// The latencies of many requests in milliseconds.
class Latencies {
public:
    void Add(double milliseconds) { all_.push_back(milliseconds); }
    /// The value that `share` of them do not exceed.
    double At(double share)
    {
        if (all_.empty())
            return std::numeric_limits<double>::quiet_NaN();
        std::sort(all_.begin(), all_.end());
        return all_[static_cast<std::size_t>(share * static_cast<double>(all_.size() - 1))];
    }
    [[nodiscard]] std::size_t Count() const { return all_.size(); }

private:
    std::vector<double> all_;
};

/// Runs a task to its end on a loop of its own, on this thread.
template <class MakeTask>
void Run(MakeTask makeTask)
{
    asio::io_context context;
    asio::co_spawn(context, makeTask(context), [](std::exception_ptr error) {
        if (error)
            std::rethrow_exception(error);
    });
    context.run();
}

inline Task<> Pause(asio::io_context& context, Clock::duration time)
{
    asio::steady_timer timer(context, time);
    co_await timer.async_wait(asio::as_tuple(asio::use_awaitable));
}

using Ends = std::atomic<bool>;

/// Cuts off everything on a loop once it ends.
inline Task<> StopAtEnd(asio::io_context& context, const Ends& ends)
{
    while (!ends)
        co_await Pause(context, 5ms);
    context.stop();
}

/// What goes on beside that which is measured, until this object goes: a thread of its own, which
/// does not take the processor from what measures.
class Beside {
public:
    template <class MakeTask>
    explicit Beside(MakeTask makeTask)
        : thread_([this, makeTask] {
              setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)),
                          getpriority(PRIO_PROCESS, 0) + 5);
              asio::io_context context;
              asio::co_spawn(context, makeTask(context, ends_), asio::detached);
              asio::co_spawn(context, StopAtEnd(context, ends_), asio::detached);
              context.run();
          })
    {}
    ~Beside() { ends_ = true; }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

private:
    Ends ends_ = false;
    std::jthread thread_;
};

inline Task<std::string> Token(Link& link, std::string user)
{
    const auto text = SignInText(user, Password);
    const auto answer = co_await link.Ask(text);
    co_return TextOf(answer.body, "token");
}

/// Sends a mail to lena.fischer, once for each key of the token's user.
inline std::string MailText(const std::string& token, const std::string& key)
{
    return RequestText("POST", ProjectPath + "/mails", token,
                       R"({"key":")" + key +
                           R"(","recipients":["lena.fischer"],"message":{"mailId":"","read":false,)"
                           R"("copy":false,"historical":false,"timeStamp":0,)"
                           R"("header":{"Version":"1"},"body":"AAAA"}})");
}

/// Asks at fixed times, and counts from these: a request that had to wait for the one before it is
/// late, too.
inline Task<> Probe(asio::io_context& context, Place place, std::string path, Clock::duration time,
                    Latencies& latencies)
{
    Link link(context);
    co_await link.Open(place);
    const auto token = co_await Token(link, "anna.novak");
    const auto text = RequestText("GET", path, token);
    const auto end = Clock::now() + time;
    for (auto due = Clock::now() + 5ms; due < end; due += 5ms) {
        if (due > Clock::now())
            co_await Pause(context, due - Clock::now());
        const auto answer = co_await link.Ask(text);
        if (answer.status == 200)
            latencies.Add(1000 * SecondsSince(due));
    }
}

/// The oldest mails of a box, as a list of JSON texts.
inline std::vector<std::string> MailIds(const std::filesystem::path& store, const std::string& user,
                                        int count)
{
    std::vector<std::string> ids;
    std::string rows = EditStore(
        store, "SELECT '\"' || m.id || '\"' FROM mail_entries e JOIN mails m ON m.number = e.mail "
               "JOIN users u ON u.id = e.user_id WHERE u.login = '" +
                   user + "' ORDER BY e.time_stamp, e.mail LIMIT " + std::to_string(count));
    for (std::size_t begin = 0, end; (end = rows.find('\n', begin)) != std::string::npos;
         begin = end + 1)
        ids.push_back(rows.substr(begin, end - begin));
    return ids;
}

inline std::string DeleteText(const std::string& token, const std::vector<std::string>& ids,
                              std::size_t from, std::size_t count)
{
    std::string body = R"({"ids":[)";
    for (std::size_t i = from; i < std::min(ids.size(), from + count); ++i)
        body += (i > from ? "," : "") + ids[i];
    return RequestText("POST", ProjectPath + "/mails/delete", token, body + "]}");
}

/// In one request, or in as many as the server wants.
inline Task<> DeleteMails(Link& link, const std::string& token, const std::vector<std::string>& ids)
{
    std::string text = DeleteText(token, ids, 0, ids.size());
    const auto answer = co_await link.Ask(text);
    if (answer.status != 413)
        co_return;
    for (std::size_t from = 0; from < ids.size(); from += 1000) {
        text = DeleteText(token, ids, from, 1000);
        co_await link.Ask(text);
    }
}

inline Task<> DeleteBox(asio::io_context& context, Place place, const Ends& ends,
                        const std::vector<std::string>& ids, std::atomic<int>& deletions)
{
    Link link(context);
    co_await link.Open(place);
    const auto token = co_await Token(link, "omar.haddad");
    for (std::size_t from = 0; from + 10'000 <= ids.size() && !ends; from += 10'000) {
        const auto begin = ids.begin() + static_cast<std::ptrdiff_t>(from);
        const std::vector<std::string> some(begin, begin + 10'000);
        co_await DeleteMails(link, token, some);
        ++deletions;
    }
}

}  // namespace Load
