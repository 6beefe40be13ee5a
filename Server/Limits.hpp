#pragma once

#include <cstddef>
#include <cstdint>

namespace Nexar {

/// What those who are signed in may take of the server; each is an option.
struct Limits {
    std::size_t requestsOfUser = 200;       ///< under way, held ones among them
    std::size_t requestsOfAddress = 2'000;  ///< of who has no account of his own there
    std::size_t waitingPasswords = 32;
    std::size_t tokensOfUser = 50;
    std::size_t tokensOfAddress = 500;  ///< of the built-in account
    std::size_t subscriptionsOfUser = 500;
    std::size_t idsOfRequest = 1'000;  ///< everybody who writes waits until all of them are done
    std::size_t attributesOfSession = 64;
    std::size_t openBodyBytes = std::size_t{16} << 10;  ///< of a sign-in, however it is escaped
    std::size_t bodyBytes = std::size_t{4} << 20;
    std::size_t largeBodyBytes = std::size_t{16} << 20;  ///< of mails and photos
    std::size_t jsonValues = 1'000'000;                  ///< of a body
    std::size_t waitingWork = 2'000;  ///< of the store, of each kind; of an owner a quarter
    std::size_t mailsOfBox = 200'000;
    std::uint64_t mailBytesOfProject = std::uint64_t{16} << 30;
    std::uint32_t keptLogDays = 0;  ///< of the projects' logs; 0 keeps all
    std::uint32_t keptKeyDays = 0;  ///< of mails that were delivered; 0 keeps all
};

}  // namespace Nexar
