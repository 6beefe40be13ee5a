#pragma once

#include <cstddef>
#include <cstdint>

namespace SYC {

/// Which mails a list shows.
enum class MailView : std::int32_t {
    Waiting,  ///< open requests to the user
    Inbox,    ///< received, and no history; those that wait among them
    Sent,     ///< the user's own copies of what he sent
    History,  ///< received, and done with
    Outbox,   ///< not delivered yet
    All,      ///< received and sent
};
/// How many views there are.
inline constexpr std::size_t MailViewCount = 6;

/// What a list of mails is sorted by. Among equals the newest is shown first.
enum class MailSort : std::int32_t { Time, Sender, Importance, Subject };

/// How many mails a view has, whatever is searched.
struct MailCounts {
    std::size_t total = 0;   ///< read or not
    std::size_t unread = 0;  ///< received, and not read

    friend bool operator==(const MailCounts&, const MailCounts&) = default;
};

}  // namespace SYC
