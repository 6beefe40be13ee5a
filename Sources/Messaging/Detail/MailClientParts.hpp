#pragma once

#include "Messaging/MailClient.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

struct MailClient::Mark {
    bool (ClientMail::*isSet)() const noexcept;
    void (ClientMail::*set)() noexcept;
    void (Syncra::Client::SyncraClient::*send)(const OV::UniString& projectId,
                                               const FlagTable& flags);

    static const Mark Read;
    static const Mark Historical;
};

struct MailClient::Refreshed {
    MailList mails;
    FlagTable read;
    FlagTable historical;
    FlagChanges changes;
};

/// What a failure says to people.
[[nodiscard]] OV::UniString MessageOf(const std::exception& error);

/// Runs a request and gives its MailResult; a failure is logged as one of `what`.
template <class Request>
[[nodiscard]] int ResultOf(OV::UniStringView what, const Request& request)
{
    try {
        request();
        return MailResult::Succeeded;
    } catch (const std::exception& error) {
        OV::Logger::Warning("SYClient", u"SYC::MailClient: % failed: %", {what, MessageOf(error)});
        const auto* refusal = dynamic_cast<const Communication::ResponseContentException*>(&error);
        return refusal != nullptr ? refusal->GetErrorCode() : MailResult::NotReached;
    }
}

}  // namespace SYC
