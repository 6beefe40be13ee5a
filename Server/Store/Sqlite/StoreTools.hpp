#pragma once

#include <string>
#include <vector>

/// What an administrator does with a store as a file, apart from serving it. Failures throw
/// DatabaseError or std::runtime_error that say what to do.
namespace Nexar::StoreTools {

/// Copies the store as it is at one moment into a new file, whole or not at all. A server may serve
/// it meanwhile, and goes on to write.
void Backup(const std::string& store, const std::string& file);
/// Puts a backup in the place of the store, which nobody may use meanwhile; its former contents
/// stay beside it under the name that is returned.
std::string Restore(const std::string& store, const std::string& file);
/// What is wrong with the store, a line each; none when nothing is.
[[nodiscard]] std::vector<std::string> Check(const std::string& store);
/// Takes others' rights to read a store away, which it may have brought along from elsewhere. A
/// warning in the log says when that cannot be done.
void KeepPrivate(const std::string& store);
/// Gives back the room of what was deleted.
void Compact(const std::string& store);

}  // namespace Nexar::StoreTools
