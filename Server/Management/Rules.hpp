#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"

#include <string>

/// What every record must keep to, whoever writes it. A function that finds a rule broken throws
/// Refusal with code 20; `what` names the field for its message.
namespace Nexar::Rules {

[[noreturn]] void Break(const std::string& message);

/// 1 to 128 UTF-16 code units, no blanks at an end, no control characters.
void CheckName(OV::UniStringView text, const std::string& what);
/// At most 1024 UTF-16 code units.
void CheckText(OV::UniStringView text, const std::string& what);
/// A name that cannot be taken for an id, for two names in a list, or for the server's own account.
void CheckLoginName(OV::UniStringView text);
/// A new password: as long as the configuration asks, at most 1024 UTF-16 code units.
void CheckPassword(Database& database, OV::UniStringView text);
void CheckEmail(OV::UniStringView text);
/// "host:port", or empty.
void CheckAddress(OV::UniStringView text);

void CheckDefinition(const Syncra::Server::Management::CustomPropertyDefinition& definition);
[[nodiscard]] bool IsValueOf(const Syncra::Server::Management::CustomPropertyDefinition& definition,
                             OV::UniStringView value);

/// Each id must give `query` (with $1) a row.
template <class Ids>
void CheckReferences(Database& database, const char* query, const Ids& ids, const std::string& what)
{
    for (const auto& id : ids)
        if (!database.Prepare(query).Bind(1, OV::ToUtf8(id)).Step())
            Break("There is no " + what + " \"" + OV::ToUtf8(id) + "\".");
}

}  // namespace Nexar::Rules
