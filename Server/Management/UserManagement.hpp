#pragma once

#include "GroupStore.hpp"
#include "Management/RecordRoutes.hpp"
#include "OVRoot/Secret.hpp"
#include "PasswordWorker.hpp"
#include "PhotoStore.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// The management service's users and what belongs to them.
class UserManagement final : public RecordRoutes<Records::User> {
public:
    UserManagement(const ManagementContext& context, UserStore& users, GroupStore& groups,
                   PhotoStore& photos, PasswordWorker& passwords, Tokens& tokens)
        : RecordRoutes(context), users_(users), groups_(groups), photos_(photos),
          passwords_(passwords), tokens_(tokens)
    {}

    void AddRoutes(Router& router) override;

private:
    void AddInsertRoute(Router& router) override;
    [[nodiscard]] std::vector<Records::User> Chosen(const Call& call) override;
    [[nodiscard]] std::optional<Records::ItemPage<Records::User>> Part(const Call& call) override;
    [[nodiscard]] Chooser Readable(const Call& call) override;
    [[nodiscard]] std::string IdOf(const Call& call) override;
    void CheckUpdate(const Call& call, const Records::User& before,
                     const Records::User& after) override;
    void CheckDelete(const Call& call, const Records::User& user) override;
    void Updated(const Records::User& before, const Records::User& after,
                 const std::vector<std::string>& projects) override;
    void Deleted(const Records::User& user, const std::vector<std::string>& projects) override;

    /// The user of the path when he is the one who asks or `orElse`; a refusal otherwise.
    [[nodiscard]] std::string SelfOr(const Call& call, bool orElse);
    void AddPhotoRoutes(Router& router);
    void SetPhoto(const Call& call);
    void InsertWithPassword(const Router& router, Call call, const Reply& reply);
    void SetPassword(const Router& router, Call call, const Reply& reply);
    /// When what is being written is committed.
    void EndTokens(const std::string& userId, const std::string& keptToken);
    /// The password, which must be long enough.
    [[nodiscard]] std::string Checked(const OV::Secret& password);

    UserStore& users_;
    GroupStore& groups_;
    PhotoStore& photos_;
    PasswordWorker& passwords_;
    Tokens& tokens_;
};

}  // namespace Nexar
