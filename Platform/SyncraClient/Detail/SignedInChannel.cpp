#include "SyncraClient/Detail/SignedInChannel.hpp"

#include "OVRoot/Format.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>

namespace Syncra::Client::Detail {

using Communication::HttpRequest;
using Communication::HttpResponse;

namespace {

constexpr std::size_t MaximumTokenLength = 4096;
/// A server's message is shown to people; what is longer helps nobody.
constexpr std::size_t MaximumMessageLength = 1000;

OV::String SignInBody(const SignInData& data)
{
    nlohmann::json json = Protocol::ToJson(Protocol::SignInRequest{data.userName, data.password});
    OV::String body = Protocol::DumpJson(json);
    OV::SecureWipe(json.at("password").get_ref<std::string&>());
    return body;
}

/// The token is put into a header line, so a server must not be able to begin another one with it.
bool IsToken(const OV::String& text)
{
    return !text.empty() && text.size() <= MaximumTokenLength &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

struct Refusal {
    std::int32_t code = 0;
    OV::UniString message;
};

Refusal ReadRefusal(const nlohmann::json& body)
{
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    const auto code = static_cast<std::int32_t>(Protocol::ReadInteger(body, "code", 1, highest));
    return {code, Protocol::ReadText(body, "message").substr(0, MaximumMessageLength)};
}

bool Is(const Communication::ResponseContentException& refusal, Protocol::ErrorCode code)
{
    return refusal.GetErrorCode() == static_cast<std::int32_t>(code);
}

[[noreturn]] void ThrowIncompatible(const Communication::ServerAddress& address)
{
    throw ServerVersionException(
        OV::FormatText(u"Server %:% speaks another version of the protocol than this client (%). "
                       u"Bring both to the same version.",
                       {address.host, address.port, Protocol::ProtocolVersion}));
}

}  // namespace

SignedInChannel::SignedInChannel(const SignInData& data, const Communication::HttpOptions& options)
    : http_(Communication::ServerAddress::FromServerName(data.serverName, data.port), options),
      signInBody_(SignInBody(data)), withoutVersionCheck_(data.withoutVersionCheck)
{
    SignIn();
}

void SignedInChannel::SignIn()
{
    HttpRequest request;
    request.method = Communication::HttpMethod::Post;
    request.target = "/syncra/v1/sign-in";
    request.body = signInBody_;
    const OV::SecureWipeGuard<char> wipe(request.body);
    const HttpResponse response = http_.Perform(request);
    try {
        ThrowIfRefused(request, response);
    } catch (const Communication::ResponseContentException& refusal) {
        if (Is(refusal, Protocol::ErrorCode::IncompatibleVersion))
            ThrowIncompatible(http_.GetAddress());
        throw;
    }
    token_ = Read(request, response, [this](const nlohmann::json& json) {
        // First, since the rest of the record may look different in another version.
        if (!withoutVersionCheck_ &&
            Protocol::ReadInteger(json, "protocol", 0, 0xFFFF'FFFF) != Protocol::ProtocolVersion)
            ThrowIncompatible(http_.GetAddress());
        const auto answer = Protocol::FromJson<Protocol::SignInAnswer>(json);
        if (!IsToken(answer.token))
            throw Protocol::MalformedRecordException(OV::StringView("the token is not usable"));
        return answer.token;
    });
}

HttpResponse SignedInChannel::Send(HttpRequest& request)
{
    request.token = token_;
    HttpResponse response = http_.Perform(request);
    try {
        ThrowIfRefused(request, response);
        return response;
    } catch (const Communication::ResponseContentException& refusal) {
        if (!Is(refusal, Protocol::ErrorCode::TokenExpired))
            throw;
    }
    SignIn();
    request.token = token_;
    response = http_.Perform(request);
    ThrowIfRefused(request, response);
    return response;
}

void SignedInChannel::ThrowIfRefused(const HttpRequest& request, const HttpResponse& response) const
{
    if (response.status >= 200 && response.status < 300)
        return;
    Refusal refusal = Read(request, response, ReadRefusal);
    throw Communication::ResponseContentException(refusal.code, std::move(refusal.message));
}

void SignedInChannel::ThrowMalformed(const HttpRequest& request, const HttpResponse& response,
                                     const OV::Exception& reason) const
{
    const Communication::ServerAddress& address = http_.GetAddress();
    const OV::String path = request.target.substr(0, request.target.find('?'));
    throw Communication::MalformedResponseException(
        OV::FormatText(u"Server %:% answered % with HTTP status % and something that is no answer "
                       u"of the protocol: "
                       u"%. Check that the port is the model service's.",
                       {address.host, address.port, path, response.status, reason.GetMessage()}));
}

}  // namespace Syncra::Client::Detail
