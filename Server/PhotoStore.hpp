#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Member.hpp"

#include <string>

namespace Nexar {

/// One picture a user, as he gave it.
class PhotoStore {
public:
    explicit PhotoStore(Database& database) : database_(database) {}

    /// An empty one when the user has none.
    [[nodiscard]] Syncra::Protocol::Photo Get(const std::string& userId);
    /// An empty one takes the user's away.
    void Set(const std::string& userId, const Syncra::Protocol::Photo& photo);

private:
    Database& database_;
};

}  // namespace Nexar
