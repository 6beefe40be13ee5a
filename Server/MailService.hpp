#pragma once

#include "MailStore.hpp"
#include "ProjectStore.hpp"
#include "Router.hpp"
#include "SignalHub.hpp"

namespace Nexar {

/// Mail between the members of a project, part of the model service.
class MailService {
public:
    MailService(const Limits& limits, UserStore& users, ProjectStore& projects, MailStore& mails,
                SignalHub& signals)
        : limits_(limits), users_(users), projects_(projects), mails_(mails), signals_(signals)
    {}

    void AddRoutes(Router& router);

private:
    void AddFlagRoutes(Router& router, const std::string& name, MailFlag flag);
    /// The box of the user in the project of the path. Throws Refusal when he is no member.
    [[nodiscard]] MailBox BoxOf(const Call& call);
    void RequireFew(std::size_t count) const;
    [[nodiscard]] StoredUser SenderOf(const Call& call);
    [[nodiscard]] Syncra::Protocol::MailReceipt Send(const Call& call);

    const Limits& limits_;
    UserStore& users_;
    ProjectStore& projects_;
    MailStore& mails_;
    SignalHub& signals_;
};

}  // namespace Nexar
