#pragma once

#include "CachedProjectInfo.hpp"
#include "Commands.hpp"

#include <string>

/// What the server said of a project, or that it was not asked.
enum class ServerSays { NotAsked, Unreachable, Present, Deleted };

/// The status words of the project lists for a cached project.
[[nodiscard]] std::string CacheStatus(const SYC::CachedProjectInfo& cache,
                                      ServerSays server = ServerSays::NotAsked);

/// Everything that the cache remembers, and its size on disk.
[[nodiscard]] Json CacheJson(const SYC::CachedProjectInfo& cache);
/// "1.2 MiB" and the like; a size that could not be counted is 0.
[[nodiscard]] std::string SizeForDisplay(std::uint64_t bytes);

/// Says so, with exit code 1, when something that was set in the cache could not be written.
void ReportUnwritten(const SYC::CachedProjectInfo& cache, Context& context);

/// The cache folder of that name below the data folder, or of that path. Empty, with a message and
/// the exit code, when there is none.
[[nodiscard]] IO::Location FindCacheFolder(const std::string& text, Context& context);
