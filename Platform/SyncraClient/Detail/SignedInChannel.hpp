#pragma once

#include "OVRoot/SecureWipe.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Detail/Json.hpp"

#include <nlohmann/json.hpp>

#include <functional>

namespace Syncra::Client::Detail {

/// Requests of one signed-in user to one service: carries the token, renews it once when the server
/// no longer knows it, turns refusals into ResponseContentException and answers into records.
class SignedInChannel {
public:
    /// Signs in; throws as Connect does. Never signs out: that would cost every client a request,
    /// and hold up whoever closes a project whose server is gone. An unused token dies on the
    /// server.
    SignedInChannel(const SignInData& data, const Communication::HttpOptions& options);
    SignedInChannel(const SignedInChannel&) = delete;
    SignedInChannel& operator=(const SignedInChannel&) = delete;

    /// The answer's JSON, turned into a record by `convert`. An answer that is none, or that
    /// `convert` refuses, throws Communication::MalformedResponseException.
    template <class Convert>
    [[nodiscard]] auto Ask(Communication::HttpRequest request, Convert&& convert)
    {
        // Some bodies carry a password.
        const OV::SecureWipeGuard<char> wipe(request.body);
        const Communication::HttpResponse response = Send(request);
        answerBytes_ = response.body.size();
        return Read(request, response, std::forward<Convert>(convert));
    }

    /// The size of the last answer, for who adds answers up.
    [[nodiscard]] std::size_t GetAnswerBytes() const noexcept { return answerBytes_; }

    void Cancel() { http_.Cancel(); }

private:
    void SignIn();
    Communication::HttpResponse Send(Communication::HttpRequest& request);

    template <class Convert>
    auto Read(const Communication::HttpRequest& request,
              const Communication::HttpResponse& response, Convert&& convert) const
    {
        try {
            return std::invoke(std::forward<Convert>(convert), Protocol::ParseJson(response.body));
        } catch (const Protocol::MalformedRecordException& malformed) {
            ThrowMalformed(request, response, malformed);
        }
    }

    void ThrowIfRefused(const Communication::HttpRequest& request,
                        const Communication::HttpResponse& response) const;
    [[noreturn]] void ThrowMalformed(const Communication::HttpRequest& request,
                                     const Communication::HttpResponse& response,
                                     const OV::Exception& reason) const;

    Communication::HttpClient http_;
    /// The whole body of the sign-in, password included, kept to renew the token.
    OV::String signInBody_;
    OV::SecureWipeGuard<char> signInBodyWipe_{signInBody_};
    OV::String token_;
    std::size_t answerBytes_ = 0;
    bool withoutVersionCheck_;
};

}  // namespace Syncra::Client::Detail
