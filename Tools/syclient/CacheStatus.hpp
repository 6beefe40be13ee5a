#pragma once

#include "CachedProjectInfo.hpp"

#include <string>

/// What the server said of a project, or that it was not asked.
enum class ServerSays { NotAsked, Unreachable, Present, Deleted };

/// The status words of the project lists for a cached project.
[[nodiscard]] std::string CacheStatus(const SYC::CachedProjectInfo& cache,
                                      ServerSays server = ServerSays::NotAsked);
