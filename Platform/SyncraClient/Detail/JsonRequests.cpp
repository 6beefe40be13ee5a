#include "SyncraClient/Detail/JsonRequests.hpp"

#include "OVRoot/Format.hpp"
#include "OVRoot/PercentCoding.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <limits>
#include <optional>

namespace Syncra::Client::Detail {

using Communication::HttpRequest;

namespace {

constexpr std::size_t MaximumTokenLength = 4096;
/// A server's message is shown to people; what is longer helps nobody.
constexpr std::size_t MaximumMessageLength = 1000;

/// The token is put into a header line, so a server must not be able to begin another one with it.
bool IsToken(const OV::String& text)
{
    return !text.empty() && text.size() <= MaximumTokenLength &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
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

PathPart::PathPart(OV::UniStringView text)
    : text_(OV::PercentEncode(OV::ToUtf8(OV::EscapeForCarrier(text))))
{}

OV::String MakePath(OV::StringView pattern, std::initializer_list<PathPart> parts)
{
    OV::String path;
    for (const PathPart& part : parts) {
        const auto place = pattern.find("{}");
        path.append(pattern.substr(0, place)).append(part.Get());
        pattern.remove_prefix(place + 2);
    }
    return path.append(pattern);
}

JsonRequests::JsonRequests(const SignInData& data, const Communication::HttpOptions& options,
                           OV::String root)
    : http_(Communication::ServerAddress::FromServerName(data.serverName, data.port), options),
      requestTimeout_(options.requestTimeoutMilliseconds), root_(std::move(root)),
      signInBody_(Protocol::WriteJson(Protocol::SignInRequest{data.userName, data.password})),
      withoutVersionCheck_(data.withoutVersionCheck)
{
    SignIn();
}

std::uint32_t JsonRequests::AskVersion(const Communication::ServerAddress& address,
                                       const Communication::HttpOptions& options)
{
    Communication::HttpClient http(address, options);
    HttpRequest request;
    request.target = "/syncra/version";
    const Unread answer = Perform(http, request);
    if (answer.Read<Protocol::SpokenProtocol>().value != Protocol::ProtocolVersion)
        ThrowIncompatible(address);
    return answer.Read<Protocol::ServerVersion>().serverVersion;
}

JsonRequests::~JsonRequests()
{
    try {
        HttpRequest request;
        request.method = Communication::HttpMethod::Post;
        request.target = "/syncra/v1/sign-out";
        request.body = "{}";
        request.token = std::move(token_);
        http_.SendLast(std::move(request));
    } catch (const std::bad_alloc&) {
        // The server takes the token back when nobody has used it for a while.
    }
}

void JsonRequests::SignIn()
{
    HttpRequest request;
    request.method = Communication::HttpMethod::Post;
    request.target = "/syncra/v1/sign-in";
    request.body = signInBody_;
    const OV::SecureWipeGuard<char> wipe(request.body);
    std::optional<Unread> answer;
    try {
        answer = Perform(http_, request);
    } catch (const Communication::ResponseContentException& refusal) {
        if (Is(refusal, Protocol::ErrorCode::IncompatibleVersion))
            ThrowIncompatible(http_.GetAddress());
        throw;
    }
    // First, since the rest of the record may look different in another version.
    if (const auto spoken = answer->Read<Protocol::SpokenProtocol>().value;
        !withoutVersionCheck_ && spoken != Protocol::ProtocolVersion)
        ThrowIncompatible(http_.GetAddress());
    auto token = answer->Read<Protocol::SignInAnswer>().token;
    if (!IsToken(token))
        ThrowMalformed(http_.GetAddress(), answer->target_, answer->response_.status,
                       Protocol::MalformedRecordException("The token is not usable."));
    token_ = std::move(token);
}

JsonRequests::Unread JsonRequests::Ask(Communication::HttpMethod method, const OV::String& path,
                                       OV::String body, std::uint32_t wait)
{
    HttpRequest request;
    request.method = method;
    request.target = root_ + path;
    request.body = std::move(body);
    return Send(request, wait);
}

JsonRequests::Unread JsonRequests::Send(HttpRequest& request, std::uint32_t wait)
{
    const OV::SecureWipeGuard<char> wipe(request.body);
    // The server may hold the request for as long as it was asked to, and then needs its time.
    constexpr std::uint64_t longest = std::numeric_limits<std::int32_t>::max();
    request.timeoutMilliseconds =
        static_cast<std::uint32_t>(std::min(std::uint64_t{wait} + requestTimeout_, longest));
    request.token = token_;
    try {
        return Perform(http_, request);
    } catch (const Communication::ResponseContentException& refusal) {
        if (!Is(refusal, Protocol::ErrorCode::TokenExpired))
            throw;
    }
    SignIn();
    request.token = token_;
    return Perform(http_, request);
}

JsonRequests::Unread JsonRequests::Perform(Communication::HttpClient& http,
                                           const HttpRequest& request)
{
    Unread answer(http.GetAddress(), request.target, http.Perform(request));
    const int status = answer.response_.status;
    if (status >= 200 && status < 300)
        return answer;
    const auto refusal = answer.Read<Protocol::RefusalBody>();
    throw Communication::ResponseContentException(refusal.code,
                                                  refusal.message.substr(0, MaximumMessageLength));
}

void JsonRequests::ThrowMalformed(const Communication::ServerAddress& address,
                                  const OV::String& target, int status, const OV::Exception& reason)
{
    const OV::String path = target.substr(0, target.find('?'));
    throw Communication::MalformedResponseException(
        OV::FormatText(u"Server %:% answered % with HTTP status % and something that is no answer "
                       u"of the protocol: "
                       u"% Check that the port is the model service's, and that the server is not "
                       u"older than this program.",
                       {address.host, address.port, path, status, reason.GetMessage()}));
}

}  // namespace Syncra::Client::Detail
