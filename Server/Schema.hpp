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
)",
    // A mail's number is its order of delivery and is never given twice, so that a place in a list
    // stays good whatever is deleted. Header and body stand as the answers carry them. A mail goes
    // with its last entry; its key stays, for a sender who repeats his request after that. Each
    // index more is a page more to write for every entry of a mail: one finds both flags' changes.
    R"(
ALTER TABLE projects ADD COLUMN last_mail_time INTEGER NOT NULL DEFAULT 0;
ALTER TABLE projects ADD COLUMN last_mail_change INTEGER NOT NULL DEFAULT 0;
CREATE INDEX users_by_login ON users(login COLLATE NOCASE);
CREATE TABLE mails (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,
    time_stamp INTEGER NOT NULL,
    header TEXT NOT NULL,
    body TEXT NOT NULL
);
CREATE TABLE mail_entries (
    user_id TEXT NOT NULL,
    project_id TEXT NOT NULL,
    time_stamp INTEGER NOT NULL,
    mail INTEGER NOT NULL REFERENCES mails(number) ON DELETE CASCADE,
    is_copy INTEGER NOT NULL,
    is_read INTEGER NOT NULL,
    is_historical INTEGER NOT NULL DEFAULT 0,
    read_change INTEGER NOT NULL,
    historical_change INTEGER NOT NULL,
    PRIMARY KEY (user_id, project_id, time_stamp, mail),
    FOREIGN KEY (project_id, user_id) REFERENCES members(project_id, user_id) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX mail_entries_by_mail ON mail_entries(mail);
CREATE INDEX mail_entries_by_change
    ON mail_entries(user_id, project_id, max(read_change, historical_change));
CREATE TRIGGER mail_goes_with_its_last_entry AFTER DELETE ON mail_entries
WHEN NOT EXISTS (SELECT 1 FROM mail_entries WHERE mail = OLD.mail)
BEGIN
    DELETE FROM mails WHERE number = OLD.mail;
END;
CREATE TABLE mail_keys (
    project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,
    sender_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
    key TEXT NOT NULL,
    mail_id TEXT NOT NULL,
    PRIMARY KEY (project_id, sender_id, key)
) WITHOUT ROWID;
)",
    // The highest short number that a member of the project ever had: none is given to a second
    // one.
    R"(
ALTER TABLE projects ADD COLUMN last_logon_id INTEGER NOT NULL DEFAULT 0;
UPDATE projects SET last_logon_id =
    coalesce((SELECT max(logon_id) FROM members WHERE project_id = projects.id), 0);
CREATE TRIGGER logon_ids_are_counted AFTER INSERT ON members
BEGIN
    UPDATE projects SET last_logon_id = max(last_logon_id, NEW.logon_id) WHERE id = NEW.project_id;
END;
)",
    // A store must not be without an administrator: its first user becomes one.
    R"(
CREATE TABLE photos (
    user_id TEXT PRIMARY KEY REFERENCES users(id) ON DELETE CASCADE,
    type TEXT NOT NULL,
    data BLOB NOT NULL
);
CREATE TABLE user_groups (
    name TEXT PRIMARY KEY
);
INSERT INTO user_groups (name) VALUES
    ('Administrators'), ('ProjectManagers'), ('ProjectWorkflowManagers');
CREATE TABLE user_group_members (
    user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
    group_name TEXT NOT NULL REFERENCES user_groups(name) ON DELETE CASCADE ON UPDATE CASCADE,
    PRIMARY KEY (user_id, group_name)
);
INSERT INTO user_group_members (user_id, group_name)
    SELECT id, 'Administrators' FROM users ORDER BY login <> 'admin', rowid LIMIT 1;
)"};

inline constexpr auto SchemaVersion = static_cast<std::int64_t>(SchemaSteps.size());

}  // namespace Nexar
