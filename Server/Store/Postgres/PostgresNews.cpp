#include "Store/Postgres/PostgresNews.hpp"

#include "Guarded.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"

#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Nexar {

namespace {

/// What commits within that time is told together.
constexpr std::chrono::milliseconds Gathering{3};
constexpr std::chrono::seconds LongestSilence{30};
constexpr std::chrono::milliseconds ReconnectPause{500};
/// The text of a notification may have 8000 bytes.
constexpr std::size_t LargestText = 7'000;

bool RunQuery(pg_conn* connection, const char* sql, const char* text)
{
    const char* const values[] = {text};
    pg_result* const result = PQexecParams(connection, sql, text != nullptr ? 1 : 0, nullptr,
                                           values, nullptr, nullptr, 0);
    const auto status = PQresultStatus(result);
    PQclear(result);
    return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
}

std::vector<std::string> SplitLines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace

void PostgresNews::Close::operator()(pg_conn* connection) const noexcept
{
    PQfinish(connection);
}

PostgresNews::PostgresNews(std::string url, const std::string& topic, Heard heard)
    : url_(std::move(url)), channel_("nexar_" + topic), heard_(std::move(heard)),
      thread_([this](const std::stop_token& token) { Run(token); })
{}

PostgresNews::~PostgresNews()
{
    thread_.request_stop();
    wakeup_.Wake();
}

void PostgresNews::Tell(const std::string& projectId)
{
    {
        const std::lock_guard guard(lock_);
        told_.insert(projectId);
    }
    wakeup_.Wake();
}

void PostgresNews::Run(const std::stop_token& token)
{
    OV::System::NameCurrentThread("store news");
    Handle connection;
    while (!token.stop_requested()) {
        RunGuarded([&] {
            if (!connection && (connection = Listen()))
                heard_({});
            if (connection && !(TellOthers(connection.get()) && Hear(connection.get()))) {
                OV::Logger::Warning("nexar-server",
                                    u"The news of other servers on this store are missed.");
                connection.reset();
            }
        });
        wakeup_.WaitForInput(connection ? PQsocket(connection.get()) : -1,
                             connection ? LongestSilence : ReconnectPause);
    }
    RunGuarded([&] { (void)(connection && TellOthers(connection.get())); });
}

PostgresNews::Handle PostgresNews::Listen() const
{
    const char* const keys[] = {"application_name",     "connect_timeout", "tcp_user_timeout",
                                "target_session_attrs", "dbname",          nullptr};
    const char* const values[] = {"nexar-server news", "5",          "10000",
                                  "read-write",        url_.c_str(), nullptr};
    Handle connection(PQconnectdbParams(keys, values, 1));
    if (PQstatus(connection.get()) != CONNECTION_OK ||
        !RunQuery(connection.get(), ("LISTEN " + channel_).c_str(), nullptr))
        return nullptr;
    return connection;
}

bool PostgresNews::Hear(pg_conn* connection)
{
    if (PQconsumeInput(connection) != 1)
        return false;
    while (PGnotify* const notification = PQnotifies(connection)) {
        const auto projects = SplitLines(notification->extra);
        const bool isOwn = notification->be_pid == PQbackendPID(connection);
        PQfreemem(notification);
        if (!isOwn && !projects.empty())
            heard_(projects);
    }
    return true;
}

bool PostgresNews::TellOthers(pg_conn* connection)
{
    std::set<std::string> projects;
    {
        const std::lock_guard guard(lock_);
        if (told_.empty())
            return true;
    }
    std::this_thread::sleep_for(Gathering);
    {
        const std::lock_guard guard(lock_);
        projects.swap(told_);
    }
    std::string text;
    const auto notify = [&] {
        return text.empty() ||
               RunQuery(connection, ("SELECT pg_notify('" + channel_ + "', $1)").c_str(),
                        std::exchange(text, {}).c_str());
    };
    bool isTold = true;
    for (const auto& project : projects) {
        if (text.size() + project.size() > LargestText)
            isTold = isTold && notify();
        text += project + '\n';
    }
    isTold = isTold && notify();
    if (!isTold) {
        // When there is a connection again.
        const std::lock_guard guard(lock_);
        told_.merge(projects);
    }
    return isTold;
}

}  // namespace Nexar
