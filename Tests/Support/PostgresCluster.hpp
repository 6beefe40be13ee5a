#pragma once

#include "Support/ChildProcess.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <libpq-fe.h>
#include <map>
#include <memory>
#include <optional>
#include <pwd.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <vector>

/// The PostgreSQL cluster of a test program that was asked to keep its stores in one: a real one,
/// in a folder of its own, reached by a socket there and by no network. It runs as another user
/// than root, who may not, and ends with the program however that ends.
class PostgresCluster {
public:
    /// Whether SYCLIENT_TEST_STORE in the environment says "postgresql".
    [[nodiscard]] static bool IsWanted()
    {
        const char* store = std::getenv("SYCLIENT_TEST_STORE");
        return store != nullptr && std::string(store) == "postgresql";
    }
    /// Started at its first use; from the program's first thread.
    static PostgresCluster& Get()
    {
        static PostgresCluster cluster;
        return cluster;
    }
    /// The URL of the database that stands for a file of that path; made at its first use, as a
    /// copy of another one, which nobody may use meanwhile. All go with the cluster.
    std::string DatabaseOf(const std::filesystem::path& path,
                           const std::string& original = "template1")
    {
        if (!databases_.contains(path)) {
            const auto name = "store" + std::to_string(databases_.size());
            Ask(UrlOf("postgres"), "CREATE DATABASE " + name + " TEMPLATE " + original +
                                       " STRATEGY file_copy");  // no bytes for the log
            databases_[path] = name;
        }
        return UrlOf(databases_[path]);
    }
    [[nodiscard]] std::string UrlOf(const std::string& database) const
    {
        return "postgresql://nexar@/" + database + "?host=" + folder_.string();
    }
    /// What the statements select, a line a row with its columns in a row.
    static std::string Ask(const std::string& url, const std::string& sql)
    {
        const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(url.c_str()),
                                                                      &PQfinish);
        return Ask(connection.get(), sql);
    }
    static std::string Ask(PGconn* connection, const std::string& sql)
    {
        const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection, sql.c_str()),
                                                                   &PQclear);
        const auto status = PQresultStatus(result.get());
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
            throw std::runtime_error(std::string("the store refused: ") +
                                     PQerrorMessage(connection));
        std::string rows;
        for (int row = 0; row < PQntuples(result.get()); ++row, rows += '\n')
            for (int column = 0; column < PQnfields(result.get()); ++column)
                rows += PQgetvalue(result.get(), row, column);
        return rows;
    }
    /// Ends it without a word to its clients, as a crash would.
    void Crash() { Stop(SIGQUIT); }
    void Start()
    {
        server_.emplace(AsOtherUser({Program("postgres"), "-D", (folder_ / "data").string(), "-k",
                                     folder_.string(), "-c", "listen_addresses=", "-c", "fsync=off",
                                     "-c", "full_page_writes=off", "-c", "max_connections=200",
                                     "-c", "log_min_messages=fatal"}));
        while (server_->IsRunning()) {
            const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(
                PQconnectdb(UrlOf("postgres").c_str()), &PQfinish);
            if (PQstatus(connection.get()) == CONNECTION_OK)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        throw std::runtime_error("no PostgreSQL cluster can be started");
    }
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;
    ~PostgresCluster()
    {
        Stop(SIGQUIT);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

private:
    PostgresCluster()
    {
        // The path of a socket holds 107 bytes.
        std::string pattern = Place() / "syclient-pg-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no folder for a PostgreSQL cluster can be made");
        folder_ = pattern;
        if (user_ != nullptr && chown(pattern.c_str(), user_->pw_uid, user_->pw_gid) != 0)
            throw std::runtime_error("the folder of a PostgreSQL cluster cannot be given away");
        // Another order and letter case than that of bytes: what needs that one must say so.
        if (AsOtherUser({Program("initdb"), "-D", (folder_ / "data").string(), "-U", "nexar", "-A",
                         "trust", "-E", "UTF8", "--locale=C.UTF-8", "--locale-provider=icu",
                         "--icu-locale=en", "--no-sync", "--no-instructions"})
                .Wait() != 0)
            throw std::runtime_error("no PostgreSQL cluster can be made: is it installed?");
        Start();
    }
    /// Memory where there is enough of it: each database is 9 MB of files, and a disk that others
    /// write to takes more time than all tests.
    static std::filesystem::path Place()
    {
        constexpr std::uintmax_t enough = std::uintmax_t{2} << 30;
        const std::filesystem::path memory = "/dev/shm";
        std::error_code missing;
        const auto room = std::filesystem::space(memory, missing);
        return !missing && room.available >= enough ? memory
                                                    : std::filesystem::temp_directory_path();
    }
    static std::string Program(const char* name)
    {
        return std::string("/usr/lib/postgresql/15/bin/") + name;
    }
    ChildProcess AsOtherUser(const std::vector<std::string>& arguments) const
    {
        std::vector<char*> pointers;
        for (const auto& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);
        return ChildProcess([&] {
            if (user_ != nullptr && (setgroups(0, nullptr) != 0 || setgid(user_->pw_gid) != 0 ||
                                     setuid(user_->pw_uid) != 0))
                return 1;
            prctl(PR_SET_PDEATHSIG, SIGQUIT);
            const int log =
                open((folder_ / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
            dup2(log, STDOUT_FILENO);
            dup2(log, STDERR_FILENO);
            return chdir("/") != 0 ? 1 : execv(pointers[0], pointers.data());
        });
    }
    void Stop(int signal)
    {
        if (!server_)
            return;
        server_->Signal(signal);
        server_->Wait();
        server_.reset();
    }

    const passwd* user_ = geteuid() == 0 ? getpwnam("postgres") : nullptr;
    std::filesystem::path folder_;
    std::optional<ChildProcess> server_;
    std::map<std::filesystem::path, std::string> databases_;
};
