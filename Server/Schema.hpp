#pragma once

#include <array>
#include <cstdint>

namespace Nexar {

/// The tables of the store. Step n brings a store of version n to version n + 1; a step that was
/// released is never changed.
inline constexpr std::array SchemaSteps = {
    R"(
CREATE TABLE users (
    id TEXT PRIMARY KEY,
    login TEXT NOT NULL UNIQUE,
    full_name TEXT NOT NULL,
    password_hash TEXT NOT NULL,
    enabled INTEGER NOT NULL DEFAULT 1,
    color INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE roles (
    name TEXT PRIMARY KEY
);
CREATE TABLE role_permissions (
    role TEXT NOT NULL REFERENCES roles(name) ON DELETE CASCADE ON UPDATE CASCADE,
    permission TEXT NOT NULL,
    PRIMARY KEY (role, permission)
);
CREATE TABLE projects (
    number INTEGER PRIMARY KEY,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE,
    location TEXT NOT NULL,
    category TEXT NOT NULL DEFAULT '',
    state INTEGER NOT NULL DEFAULT 3,
    version TEXT NOT NULL DEFAULT '',
    build INTEGER NOT NULL DEFAULT 0,
    is_public INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE members (
    project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,
    user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
    role TEXT NOT NULL REFERENCES roles(name) ON UPDATE CASCADE,
    logon_id INTEGER NOT NULL CHECK (logon_id BETWEEN 1 AND 32767),
    PRIMARY KEY (project_id, user_id),
    UNIQUE (project_id, logon_id)
);
CREATE TABLE sessions (
    id TEXT PRIMARY KEY,
    project_id TEXT NOT NULL,
    user_id TEXT NOT NULL,
    start_time INTEGER NOT NULL,
    UNIQUE (project_id, user_id),
    FOREIGN KEY (project_id, user_id) REFERENCES members(project_id, user_id) ON DELETE CASCADE
);
CREATE TABLE session_attributes (
    session_id TEXT NOT NULL REFERENCES sessions(id) ON DELETE CASCADE,
    name TEXT NOT NULL,
    value TEXT NOT NULL,
    PRIMARY KEY (session_id, name)
);
)"};

inline constexpr auto SchemaVersion = static_cast<std::int64_t>(SchemaSteps.size());

}  // namespace Nexar
