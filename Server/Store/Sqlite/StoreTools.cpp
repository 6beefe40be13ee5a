#include "Store/Sqlite/StoreTools.hpp"

#include "Store/Database.hpp"
#include "Store/Sqlite/Schema.hpp"

#include "IO/File.hpp"
#include "OVRoot/Logger.hpp"

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace Nexar::StoreTools {

namespace {

namespace fs = std::filesystem;

constexpr int WaitingMilliseconds = 10'000;

struct Closing {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
};
using Handle = std::unique_ptr<sqlite3, Closing>;

[[noreturn]] void Fail(sqlite3* handle, const std::string& what)
{
    throw DatabaseError(what + ": " + sqlite3_errmsg(handle) + ".");
}

Handle Open(const std::string& path, int flags)
{
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
    Handle opened(handle);
    if (result != SQLITE_OK)
        Fail(handle, "Cannot open \"" + path + "\"");
    sqlite3_busy_timeout(handle, WaitingMilliseconds);
    return opened;
}

Handle OpenStore(const std::string& path)
{
    if (!fs::exists(path))
        throw std::runtime_error("There is no store \"" + path + "\".");
    return Open(path, SQLITE_OPEN_READWRITE);
}

std::vector<std::string> Query(sqlite3* handle, const char* sql)
{
    std::vector<std::string> rows;
    const auto add = [](void* list, int columns, char** texts, char**) {
        std::string row;
        for (int column = 0; column < columns; ++column)
            row += (column > 0 ? " " : "") + std::string(texts[column] ? texts[column] : "-");
        static_cast<std::vector<std::string>*>(list)->push_back(row);
        return 0;
    };
    if (sqlite3_exec(handle, sql, add, &rows, nullptr) != SQLITE_OK)
        Fail(handle, "The store cannot be asked");
    return rows;
}

/// In one step: the copy is of one moment, whatever is written meanwhile.
void Copy(sqlite3* from, sqlite3* to)
{
    sqlite3_backup* const backup = sqlite3_backup_init(to, "main", from, "main");
    if (backup == nullptr)
        Fail(to, "The copy cannot be begun");
    const int result = sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    if (result != SQLITE_DONE)
        Fail(to, "The copy failed");
}

std::vector<std::string> Problems(sqlite3* handle)
{
    auto problems = Query(handle, "PRAGMA integrity_check");
    if (problems == std::vector<std::string>{"ok"})
        problems.clear();
    for (const auto& row : Query(handle, "PRAGMA foreign_key_check"))
        problems.push_back("refers to what is not there: " + row);
    const auto version = std::stoll(Query(handle, "PRAGMA user_version").front());
    if (version <= 0 || version > SchemaVersion)
        problems.push_back("its version " + std::to_string(version) +
                           " is none that this nexar-server knows");
    return problems;
}

/// The name, or the first of its numbered ones that no file has: no store is ever written over.
std::string FreeName(const std::string& name)
{
    std::string free = name;
    for (int number = 2; fs::exists(free); ++number)
        free = name + "-" + std::to_string(number);
    return free;
}

/// A store has side files while somebody has it open; without them it is one file.
void LeaveWal(sqlite3* handle)
{
    if (sqlite3_exec(handle, "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error("Somebody uses the store. Stop the server first.");
}

}  // namespace

void Backup(const std::string& store, const std::string& file)
{
    if (fs::exists(file))
        throw std::runtime_error("\"" + file + "\" is there already; it stays as it is.");
    const auto source = OpenStore(store);
    const std::string part = file + ".part";
    fs::remove(part);
    // Its hashes and mails are for nobody else.
    (void)IO::File::CreatePrivate(IO::Location::FromPath(OV::FromUtf8(part)));
    try {
        const auto target = Open(part, SQLITE_OPEN_READWRITE);
        Copy(source.get(), target.get());
        LeaveWal(target.get());
        if (const auto problems = Problems(target.get()); !problems.empty())
            throw std::runtime_error("The copy is not sound: " + problems.front() + ".");
    } catch (...) {
        std::error_code ignored;
        fs::remove(part, ignored);
        throw;
    }
    fs::rename(part, file);
}

std::string Restore(const std::string& store, const std::string& file)
{
    if (!fs::exists(file))
        throw std::runtime_error("There is no backup \"" + file + "\".");
    const auto source = Open(file, SQLITE_OPEN_READONLY);
    if (const auto problems = Problems(source.get()); !problems.empty())
        throw std::runtime_error("\"" + file + "\" is no sound backup: " + problems.front() + ".");
    std::string former;
    if (fs::exists(store)) {
        LeaveWal(OpenStore(store).get());
        former = FreeName(store + ".before-restore");
        fs::rename(store, former);
    }
    (void)IO::File::CreatePrivate(IO::Location::FromPath(OV::FromUtf8(store)));
    const auto restored = Open(store, SQLITE_OPEN_READWRITE);
    Copy(source.get(), restored.get());
    // Clients have places beyond those of the backup: the next ones are beyond theirs.
    if (std::stoll(Query(restored.get(), "PRAGMA user_version").front()) == SchemaVersion)
        (void)Query(restored.get(), "BEGIN; DELETE FROM signals; "
                                    "UPDATE projects SET last_signal = last_signal + 1000000000; "
                                    "COMMIT");
    return former;
}

std::vector<std::string> Check(const std::string& store)
{
    return Problems(OpenStore(store).get());
}

void KeepPrivate(const std::string& store)
{
    constexpr fs::perms others = fs::perms::group_all | fs::perms::others_all;
    for (const char* ending : {"", "-wal", "-shm"}) {
        const fs::path file = store + ending;
        std::error_code error;
        if ((fs::status(file, error).permissions() & others) == fs::perms::none || error)
            continue;
        fs::permissions(file, others, fs::perm_options::remove, error);
        if (error)
            OV::Logger::Warning("nexar-server", OV::FromUtf8("Others may read \"" + file.string() +
                                                             "\": " + error.message() + "."));
    }
}

void Compact(const std::string& store)
{
    (void)Query(OpenStore(store).get(), "VACUUM");
}

}  // namespace Nexar::StoreTools
