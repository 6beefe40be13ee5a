#pragma once

#include "Support/PostgresCluster.hpp"

#include <filesystem>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

/// Changes a server's store behind its back, as an administrator's script would. What it selects,
/// a line a row with its columns in a row.
inline std::string EditStore(const std::filesystem::path& store, const std::string& sql)
{
    if (PostgresCluster::IsWanted())
        return PostgresCluster::Ask(PostgresCluster::Get().DatabaseOf(store), sql);
    const auto add = [](void* rows, int count, char** columns, char**) {
        for (int column = 0; column < count; ++column)
            *static_cast<std::string*>(rows) += columns[column] != nullptr ? columns[column] : "";
        *static_cast<std::string*>(rows) += '\n';
        return 0;
    };
    std::string rows;
    sqlite3* database = nullptr;
    sqlite3_open_v2(store.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_busy_timeout(database, 5000);
    char* message = nullptr;
    const int result =
        sqlite3_exec(database, ("PRAGMA foreign_keys = ON; " + sql).c_str(), add, &rows, &message);
    const std::string problem = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(database);
    if (result != SQLITE_OK)
        throw std::runtime_error("the store refused: " + problem);
    return rows;
}

/// Keeps everybody else from writing to a store while it lives, as a backup or a shell may.
class StoreLock {
public:
    explicit StoreLock(const std::filesystem::path& store)
    {
        if (PostgresCluster::IsWanted()) {
            connection_.reset(PQconnectdb(PostgresCluster::Get().DatabaseOf(store).c_str()));
            PostgresCluster::Ask(connection_.get(),
                                 "BEGIN; LOCK TABLE users, projects, configuration "
                                 "IN EXCLUSIVE MODE");
            return;
        }
        sqlite3_open_v2(store.c_str(), &database_, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_busy_timeout(database_, 5000);
        if (sqlite3_exec(database_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error("the store cannot be locked");
    }
    ~StoreLock() { sqlite3_close(database_); }
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

private:
    sqlite3* database_ = nullptr;
    std::unique_ptr<PGconn, decltype(&PQfinish)> connection_{nullptr, &PQfinish};
};
