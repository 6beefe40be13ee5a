#pragma once

#include "Messaging/MailClient.hpp"

namespace SYC {

struct MailClient::Mark {
    bool (ClientMail::*isSet)() const noexcept;
    void (ClientMail::*set)() noexcept;
    void (Syncra::Client::SyncraClient::*send)(const OV::UniString& projectId,
                                               const FlagTable& flags);

    [[nodiscard]] bool IsSet(const ClientMail& mail) const { return (mail.*isSet)(); }
    /// False when it was set already.
    [[nodiscard]] bool Set(ClientMail& mail) const
    {
        const bool isNew = !IsSet(mail);
        if (isNew)
            (mail.*set)();
        return isNew;
    }

    static const Mark Read;
    static const Mark Historical;
};

inline const MailClient::Mark MailClient::Mark::Read{&ClientMail::IsRead, &ClientMail::SetRead,
                                                     &Syncra::Client::SyncraClient::SetMailStatus};
inline const MailClient::Mark MailClient::Mark::Historical{
    &ClientMail::IsHistorical, &ClientMail::SetHistorical,
    &Syncra::Client::SyncraClient::SetMailHistorical};

/// Runs on the client's own thread.
class MailClient::RefreshEnd {
public:
    RefreshEnd(MailClient& client, const RequestUnderWay::Token& token) noexcept : client_(client)
    {
        token.End();
    }
    ~RefreshEnd();
    RefreshEnd(const RefreshEnd&) = delete;
    RefreshEnd& operator=(const RefreshEnd&) = delete;

private:
    MailClient& client_;
};

struct MailClient::Refreshed {
    std::uint64_t generation = 0;
    MailList mails;
    // Where the list stands that takes them.
    std::size_t next = 0;
    OV::Ref<MailList> added = OV::MakeRef<MailList>();
    std::uint64_t removedBefore = 0;
    bool isMarkChanged = false;
    // What the server tells besides.
    FlagTable read;
    FlagTable historical;
    IdList deleted;
    std::uint64_t change = 0;  ///< that the mails show then
};

}  // namespace SYC
