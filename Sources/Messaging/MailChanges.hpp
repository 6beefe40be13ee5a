#pragma once

#include "Messaging/ClientMail.hpp"

namespace SYC {

/// What became of a list of mails, for who keeps something beside it: first the one, then the next.
/// A mail may stand in several of them.
struct MailChanges {
    /// Mails in shared ownership.
    using MailList = OV::Array<OV::Ref<ClientMail>>;

    MailList added;    ///< oldest first
    MailList marked;   ///< read or history now
    MailList removed;  ///< as they were

    /// Whether nothing became of the list.
    [[nodiscard]] bool IsEmpty() const noexcept
    {
        return added.empty() && marked.empty() && removed.empty();
    }
    /// How many changes there are.
    [[nodiscard]] std::size_t Count() const noexcept
    {
        return added.size() + marked.size() + removed.size();
    }
};

}  // namespace SYC
