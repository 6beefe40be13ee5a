#pragma once

#include "Support/RawHttp.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Projects {
inline const std::string Prefix = "6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A100";
inline const std::string Bridge = Prefix + "1";     ///< active; Marco has a session
inline const std::string Library = Prefix + "2";    ///< active; Sofia has a session
inline const std::string Tower = Prefix + "3";      ///< locked
inline const std::string Mill = Prefix + "4";       ///< under maintenance
inline const std::string OpenHouse = Prefix + "5";  ///< public, Anna is no member
}  // namespace Projects

/// A server process with the sample team.
class ServerTest : public testing::Test {
protected:
    struct Answer {
        int status = 0;
        nlohmann::json body;

        /// The error code; 0 in a good answer.
        [[nodiscard]] int Code() const { return body.is_object() ? body.value("code", 0) : -1; }
    };

    static Answer ToAnswer(const RawHttp::Answer& raw)
    {
        return {raw.status, nlohmann::json::parse(raw.body, nullptr, false)};
    }

    [[nodiscard]] Answer Ask(std::string_view method, const std::string& path,
                             std::string_view token = {}, std::string_view body = {}) const
    {
        RawHttp connection(server_.ModelPort());
        connection.SendRequest(method, "/syncra/v1" + path, token, body);
        return ToAnswer(connection.Receive());
    }

    [[nodiscard]] Answer TrySignIn(const std::string& user, const std::string& password,
                                   int protocol = 1) const
    {
        return Ask(
            "POST", "/sign-in", {},
            nlohmann::json{{"userName", user}, {"password", password}, {"protocol", protocol}}
                .dump());
    }

    /// A token of that user.
    [[nodiscard]] std::string SignIn(const std::string& user) const
    {
        return TrySignIn(user, ServerProcess::Password).body.at("token");
    }

    [[nodiscard]] bool Works() const { return TrySignIn("admin", server_.Password).status == 200; }

    TemporaryFolder folder_;
    ServerProcess server_{folder_.Path()};
};
