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
)",
    // Names become records with ids. The id of what is built in is its name; a role or permission
    // of such a name that is there already becomes the built-in one and keeps what it has. Texts of
    // the new tables that a user made up freely stand in the form of the wire.
    R"(
ALTER TABLE users ADD COLUMN email TEXT NOT NULL DEFAULT '';

CREATE TABLE permissions (
    id TEXT PRIMARY KEY,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE,
    description TEXT NOT NULL DEFAULT '',
    built_in INTEGER NOT NULL DEFAULT 0
);
INSERT INTO permissions (id, name, description, built_in) VALUES
    ('Read', 'Read', 'Open the project and read it', 1),
    ('Write', 'Write', 'Change what is reserved', 1),
    ('Reserve', 'Reserve', 'Reserve parts of the project', 1),
    ('Release', 'Release', 'Release what is reserved', 1),
    ('ChangeSettings', 'ChangeSettings', 'Change the settings of the project', 1),
    ('ManageMembers', 'ManageMembers', 'Add and remove members and change their roles', 1),
    ('CloseProject', 'CloseProject', 'Close the project for everybody', 1),
    ('ReadLog', 'ReadLog', 'Read the activity log', 1);
INSERT OR IGNORE INTO permissions (id, name)
    SELECT 'permission-' || hex(randomblob(16)), permission
    FROM (SELECT DISTINCT permission FROM role_permissions);

CREATE TABLE permission_sets (
    id TEXT PRIMARY KEY,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE,
    description TEXT NOT NULL DEFAULT ''
);
CREATE TABLE permission_set_grants (
    set_id TEXT NOT NULL REFERENCES permission_sets(id) ON DELETE CASCADE,
    permission_id TEXT NOT NULL REFERENCES permissions(id),
    PRIMARY KEY (set_id, permission_id)
) WITHOUT ROWID;

ALTER TABLE roles ADD COLUMN id TEXT NOT NULL DEFAULT '';
ALTER TABLE roles ADD COLUMN description TEXT NOT NULL DEFAULT '';
ALTER TABLE roles ADD COLUMN permission_set TEXT REFERENCES permission_sets(id);
ALTER TABLE roles ADD COLUMN built_in INTEGER NOT NULL DEFAULT 0;
INSERT OR IGNORE INTO roles (name, id) VALUES
    ('Project Manager', 'Project Manager'), ('Viewer', 'Viewer');
INSERT INTO role_permissions (role, permission)
    SELECT r.name, p.name FROM roles r, permissions p
    WHERE p.built_in AND (r.id = 'Viewer' AND p.id = 'Read'
        OR r.id = 'Project Manager' AND p.id <> 'ChangeSettings');
UPDATE roles SET built_in = name IN ('Project Manager', 'Viewer');
UPDATE roles SET id = iif(built_in, name, 'role-' || hex(randomblob(16)));
CREATE UNIQUE INDEX roles_by_id ON roles(id);
CREATE UNIQUE INDEX roles_by_name ON roles(name COLLATE NOCASE);
CREATE INDEX members_by_role ON members(role);
CREATE INDEX members_by_user ON members(user_id);

CREATE TABLE role_grants (
    role_id TEXT NOT NULL REFERENCES roles(id) ON DELETE CASCADE,
    permission_id TEXT NOT NULL REFERENCES permissions(id),
    PRIMARY KEY (role_id, permission_id)
) WITHOUT ROWID;
INSERT OR IGNORE INTO role_grants (role_id, permission_id)
    SELECT r.id, p.id FROM role_permissions g
    JOIN roles r ON r.name = g.role JOIN permissions p ON p.name = g.permission COLLATE NOCASE;
DROP TABLE role_permissions;
CREATE VIEW role_permissions (role, permission) AS
    SELECT r.name, p.name FROM roles r
    JOIN role_grants g ON g.role_id = r.id JOIN permissions p ON p.id = g.permission_id
    UNION
    SELECT r.name, p.name FROM roles r
    JOIN permission_set_grants g ON g.set_id = r.permission_set
    JOIN permissions p ON p.id = g.permission_id;

ALTER TABLE user_groups ADD COLUMN id TEXT NOT NULL DEFAULT '';
ALTER TABLE user_groups ADD COLUMN description TEXT NOT NULL DEFAULT '';
ALTER TABLE user_groups ADD COLUMN built_in INTEGER NOT NULL DEFAULT 0;
UPDATE user_groups SET id = name, built_in = 1;
CREATE UNIQUE INDEX user_groups_by_id ON user_groups(id);
CREATE UNIQUE INDEX user_groups_by_name ON user_groups(name COLLATE NOCASE);

CREATE TABLE custom_properties (
    id TEXT PRIMARY KEY,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE,
    description TEXT NOT NULL,
    type INTEGER NOT NULL,
    choices TEXT NOT NULL
);
CREATE TABLE user_properties (
    user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
    property_id TEXT NOT NULL REFERENCES custom_properties(id),
    value TEXT NOT NULL,
    PRIMARY KEY (user_id, property_id)
) WITHOUT ROWID;
CREATE INDEX user_properties_by_property ON user_properties(property_id);

CREATE TABLE project_categories (
    id TEXT PRIMARY KEY,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE
);
INSERT OR IGNORE INTO project_categories (id, name)
    SELECT 'category-' || hex(randomblob(16)), category
    FROM (SELECT DISTINCT category FROM projects WHERE category <> '');
UPDATE projects SET category =
    coalesce((SELECT name FROM project_categories c WHERE c.name = projects.category), '');
CREATE TRIGGER projects_follow_the_name_of_their_category
AFTER UPDATE OF name ON project_categories
BEGIN
    UPDATE projects SET category = NEW.name WHERE category = OLD.name;
END;

ALTER TABLE projects ADD COLUMN description TEXT NOT NULL DEFAULT '';
ALTER TABLE projects ADD COLUMN maximum_backups INTEGER NOT NULL DEFAULT 0;
CREATE TABLE backup_schedules (
    id TEXT PRIMARY KEY,
    project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,
    frequency INTEGER NOT NULL,
    start_time INTEGER NOT NULL,
    enabled INTEGER NOT NULL
);
CREATE INDEX backup_schedules_by_project ON backup_schedules(project_id);

CREATE TABLE modules (
    id TEXT PRIMARY KEY,
    name TEXT NOT NULL UNIQUE COLLATE NOCASE,
    version TEXT NOT NULL,
    address TEXT NOT NULL,
    enabled INTEGER NOT NULL
);
CREATE TABLE configuration (
    one INTEGER PRIMARY KEY CHECK (one = 1),
    server_name TEXT NOT NULL,
    minimum_password_length INTEGER NOT NULL
);
INSERT INTO configuration VALUES (1, '', 8);
)",
    // What happens is logged where it happens, so nothing can be done without its line, and no line
    // stands for what was not done. A user's line keeps the name that he had.
    R"(
CREATE TABLE events (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    project_id TEXT NOT NULL,
    time INTEGER NOT NULL,
    user TEXT NOT NULL,
    action TEXT NOT NULL,
    size INTEGER NOT NULL DEFAULT 0,
    comment TEXT NOT NULL DEFAULT '',
    seconds INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX events_by_project ON events(project_id, time, number);
CREATE TRIGGER events_go_with_their_project AFTER DELETE ON projects
BEGIN
    DELETE FROM events WHERE project_id = OLD.id;
END;
CREATE TRIGGER members_join AFTER INSERT ON members
BEGIN
    INSERT INTO events (project_id, time, user, action)
        SELECT NEW.project_id, unixepoch(), full_name || ' (' || login || ')', 'Join'
        FROM users WHERE id = NEW.user_id;
END;
CREATE TRIGGER sessions_begin AFTER INSERT ON sessions
BEGIN
    INSERT INTO events (project_id, time, user, action)
        SELECT NEW.project_id, unixepoch(), full_name || ' (' || login || ')', 'Login'
        FROM users WHERE id = NEW.user_id;
END;
CREATE TRIGGER sessions_end AFTER DELETE ON sessions
WHEN EXISTS (SELECT 1 FROM projects WHERE id = OLD.project_id)
BEGIN
    INSERT INTO events (project_id, time, user, action, seconds)
        SELECT OLD.project_id, unixepoch(), full_name || ' (' || login || ')', 'Logout',
               max(0, unixepoch() - OLD.start_time)
        FROM users WHERE id = OLD.user_id;
END;
CREATE TRIGGER mails_are_sent AFTER INSERT ON mail_keys
BEGIN
    INSERT INTO events (project_id, time, user, action, size)
        SELECT NEW.project_id, unixepoch(), full_name || ' (' || login || ')', 'Send',
               coalesce((SELECT length(header) + length(body) FROM mails WHERE id = NEW.mail_id), 0)
        FROM users WHERE id = NEW.sender_id;
END;

CREATE TABLE performance (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    time INTEGER NOT NULL,
    key TEXT NOT NULL,
    value REAL NOT NULL
);
CREATE INDEX performance_by_time ON performance(time, number);
)",
    // The clock may go back, the times of a log may not: clients ask from the newest known second
    // on. Beyond 2038 they stay at the last second that a line can hold.
    R"(
CREATE VIEW log_times AS
    SELECT id AS project_id, min(2147483647, max(unixepoch(), coalesce(
        (SELECT max(time) FROM events WHERE events.project_id = projects.id), 0))) AS now
    FROM projects;
DROP TRIGGER members_join;
CREATE TRIGGER members_join AFTER INSERT ON members
BEGIN
    INSERT INTO events (project_id, time, user, action)
        SELECT project_id, now, full_name || ' (' || login || ')', 'Join'
        FROM users JOIN log_times ON project_id = NEW.project_id WHERE id = NEW.user_id;
END;
DROP TRIGGER sessions_begin;
CREATE TRIGGER sessions_begin AFTER INSERT ON sessions
BEGIN
    INSERT INTO events (project_id, time, user, action)
        SELECT project_id, now, full_name || ' (' || login || ')', 'Login'
        FROM users JOIN log_times ON project_id = NEW.project_id WHERE id = NEW.user_id;
END;
DROP TRIGGER sessions_end;
CREATE TRIGGER sessions_end AFTER DELETE ON sessions
BEGIN
    INSERT INTO events (project_id, time, user, action, seconds)
        SELECT project_id, now, full_name || ' (' || login || ')', 'Logout',
               max(0, now - OLD.start_time)
        FROM users JOIN log_times ON project_id = OLD.project_id WHERE id = OLD.user_id;
END;
DROP TRIGGER mails_are_sent;
CREATE TRIGGER mails_are_sent AFTER INSERT ON mail_keys
BEGIN
    INSERT INTO events (project_id, time, user, action, size)
        SELECT project_id, now, full_name || ' (' || login || ')', 'Send',
               coalesce((SELECT length(header) + length(body) FROM mails WHERE id = NEW.mail_id), 0)
        FROM users JOIN log_times ON project_id = NEW.project_id WHERE id = NEW.sender_id;
END;
)",
    // Who was switched off works in no project any more.
    R"(
CREATE TRIGGER sessions_end_with_the_account AFTER UPDATE OF enabled ON users
WHEN NOT NEW.enabled
BEGIN
    DELETE FROM sessions WHERE user_id = NEW.id;
END;
)",
    // Boxes and projects have limits, which are asked at every mail: what they hold is counted
    // where it changes. Keys know their age, for those who do not keep them for ever.
    R"(
ALTER TABLE mails ADD COLUMN size INTEGER NOT NULL DEFAULT 0;
UPDATE mails SET size = length(header) + length(body);
ALTER TABLE projects ADD COLUMN mail_bytes INTEGER NOT NULL DEFAULT 0;
UPDATE projects SET mail_bytes =
    coalesce((SELECT sum(size) FROM mails WHERE project_id = projects.id), 0);
ALTER TABLE members ADD COLUMN mails INTEGER NOT NULL DEFAULT 0;
UPDATE members SET mails = (SELECT count(*) FROM mail_entries e
    WHERE e.user_id = members.user_id AND e.project_id = members.project_id);
ALTER TABLE mail_keys ADD COLUMN time INTEGER NOT NULL DEFAULT 0;
UPDATE mail_keys SET time = unixepoch();
CREATE TRIGGER mails_are_counted AFTER INSERT ON mails
BEGIN
    UPDATE projects SET mail_bytes = mail_bytes + NEW.size WHERE id = NEW.project_id;
END;
CREATE TRIGGER mails_are_discounted AFTER DELETE ON mails
BEGIN
    UPDATE projects SET mail_bytes = mail_bytes - OLD.size WHERE id = OLD.project_id;
END;
CREATE TRIGGER entries_are_counted AFTER INSERT ON mail_entries
BEGIN
    UPDATE members SET mails = mails + 1
    WHERE project_id = NEW.project_id AND user_id = NEW.user_id;
END;
CREATE TRIGGER entries_are_discounted AFTER DELETE ON mail_entries
BEGIN
    UPDATE members SET mails = mails - 1
    WHERE project_id = OLD.project_id AND user_id = OLD.user_id;
END;
CREATE INDEX events_by_time ON events(time);
)",
    // What a table refers to is looked up by it when it goes; names that are asked for have an
    // index. The view was made whole for each question.
    R"(
DROP VIEW role_permissions;
CREATE INDEX mail_keys_by_sender ON mail_keys(sender_id);
CREATE INDEX mails_by_project ON mails(project_id);
CREATE INDEX user_groups_by_member ON user_group_members(group_name);
CREATE INDEX users_by_full_name ON users(full_name COLLATE NOCASE);
CREATE INDEX public_projects ON projects(id) WHERE is_public;
CREATE INDEX projects_by_category ON projects(category);
)",
    // Clients ask of mails that have gone whether they were ever here.
    R"(
CREATE INDEX mail_keys_by_mail ON mail_keys(mail_id);
)",
    // Clients fetch a photo when its stamp is new to them. It stands with the user: behind a photo
    // it could not be read without the photo.
    R"(
ALTER TABLE users ADD COLUMN photo TEXT NOT NULL DEFAULT '';
UPDATE users SET photo = hex(randomblob(8)) WHERE id IN (SELECT user_id FROM photos);
)",
    // Letter case is compared in the one form that every dialect of the statements has; the log
    // tells the bytes of a mail. Signals have places in the store, beyond every place that a
    // process gave before.
    R"(
DROP INDEX users_by_login;
CREATE INDEX users_by_login ON users(lower(login));
DROP INDEX users_by_full_name;
CREATE INDEX users_by_full_name ON users(lower(full_name));
DROP INDEX roles_by_name;
CREATE UNIQUE INDEX roles_by_name ON roles(lower(name));
DROP INDEX user_groups_by_name;
CREATE UNIQUE INDEX user_groups_by_name ON user_groups(lower(name));
CREATE INDEX permissions_by_name ON permissions(lower(name));
CREATE INDEX permission_sets_by_name ON permission_sets(lower(name));
CREATE INDEX custom_properties_by_name ON custom_properties(lower(name));
CREATE INDEX projects_by_name ON projects(lower(name));
CREATE INDEX project_categories_by_name ON project_categories(lower(name));
CREATE INDEX modules_by_name ON modules(lower(name));
DROP INDEX public_projects;
CREATE INDEX public_projects ON projects(id) WHERE is_public = 1;
CREATE TABLE signals (
    project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,
    sequence INTEGER NOT NULL,
    id INTEGER NOT NULL,
    audience TEXT NOT NULL,
    changed TEXT NOT NULL,
    PRIMARY KEY (project_id, sequence)
) WITHOUT ROWID;
ALTER TABLE projects ADD COLUMN last_signal INTEGER NOT NULL DEFAULT 0;
UPDATE projects SET last_signal = unixepoch();
DROP TRIGGER mails_are_sent;
CREATE TRIGGER mails_are_sent AFTER INSERT ON mail_keys
BEGIN
    INSERT INTO events (project_id, time, user, action, size)
        SELECT project_id, now, full_name || ' (' || login || ')', 'Send',
               coalesce((SELECT size FROM mails WHERE id = NEW.mail_id), 0)
        FROM users JOIN log_times ON project_id = NEW.project_id WHERE id = NEW.sender_id;
END;
)",
    // Who ended somebody's session, for the owner to learn of it.
    R"(
CREATE TABLE session_ends (
    session_id TEXT PRIMARY KEY,
    project_id TEXT NOT NULL,
    user_id TEXT NOT NULL,
    ended_by TEXT NOT NULL,
    ended_by_name TEXT NOT NULL,
    reason TEXT NOT NULL,
    time INTEGER NOT NULL,
    FOREIGN KEY (project_id, user_id) REFERENCES members(project_id, user_id) ON DELETE CASCADE
);
CREATE INDEX session_ends_by_member ON session_ends(project_id, user_id);
CREATE INDEX session_ends_by_time ON session_ends(time);
)",
    // A file has one process; what several tell each other stands in PostgreSQL alone.
    ""};

inline constexpr auto SchemaVersion = static_cast<std::int64_t>(SchemaSteps.size());

}  // namespace Nexar
