#include "SYCommunication/Detail/TransferFailure.hpp"

#include "OVRoot/Format.hpp"

#include <algorithm>
#include <iterator>

namespace Communication::Detail {

namespace {

OV::StringView MethodName(HttpMethod method)
{
    switch (method) {
    case HttpMethod::Get:
        return "GET";
    case HttpMethod::Post:
        return "POST";
    case HttpMethod::Put:
        return "PUT";
    case HttpMethod::Delete:
        return "DELETE";
    }
    return "?";
}

bool IsTlsFailure(CURLcode code)
{
    return code == CURLE_PEER_FAILED_VERIFICATION || code == CURLE_SSL_CONNECT_ERROR ||
           code == CURLE_SSL_CACERT_BADFILE || code == CURLE_SSL_CERTPROBLEM ||
           code == CURLE_SSL_ISSUER_ERROR;
}

/// Whether OpenSSL's words say that the other end speaks something else, or TLS that is too old.
bool IsNoTls(OV::StringView detail)
{
    constexpr OV::StringView words[] = {"wrong version number", "packet length too long",
                                        "unsupported protocol", "http request", "protocol version"};
    return std::any_of(std::begin(words), std::end(words), [&](OV::StringView each) {
        return detail.find(each) != OV::StringView::npos;
    });
}

bool IsMalformedAnswer(CURLcode code)
{
    // An unsupported "protocol" here is an answer that does not begin as HTTP: ours were checked.
    return code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY ||
           code == CURLE_BAD_CONTENT_ENCODING;
}

/// "%" for the server, "%" for the request.
OV::UniString Describe(const char16_t* format, const ServerAddress& address,
                       const HttpRequest& request, OV::StringView reason)
{
    const OV::UniString server = address.host + u":" + OV::ToText(address.port);
    // The query may hold a name that belongs to the user; the path is enough to find the request.
    const OV::String line = OV::String(MethodName(request.method)) + " " +
                            request.target.substr(0, request.target.find('?'));
    return OV::FormatText(format, {server, line, reason});
}

}  // namespace

void ThrowTransferFailure(CURLcode code, const TransferNotes& notes, const ServerAddress& address,
                          const HttpRequest& request, OV::StringView tlsDetail)
{
    const OV::StringView reason = curl_easy_strerror(code);
    const auto text = [&](const char16_t* format, OV::StringView why) {
        return Describe(format, address, request, why);
    };
    if (notes.bodyTooLarge || code == CURLE_FILESIZE_EXCEEDED)
        throw MalformedResponseException(
            text(u"The answer of server % to % is larger than this client accepts.", reason));
    if (notes.headersTooLarge)
        throw MalformedResponseException(
            text(u"The header of the answer of server % to % is larger than this client accepts.",
                 reason));
    if (notes.refusedToSendAgain)
        throw ConnectionException(text(
            u"The connection to server % broke after % was sent. The server may or may not have "
            u"carried it out; look before you repeat it.",
            reason));
    if (code == CURLE_OPERATION_TIMEDOUT)
        throw TimeoutException(text(u"Server % did not answer % in time. Try again later, or check "
                                    u"that the server and the network are well.",
                                    reason));
    if (IsMalformedAnswer(code))
        throw MalformedResponseException(text(
            u"Server % answered % with something other than HTTP (%). Check the port.", reason));
    if (code == CURLE_SSL_CONNECT_ERROR && IsNoTls(tlsDetail))
        throw UntrustedServerException({address.host, address.port, {TrustProblem::NoTls}, {}, {}});
    if (code == CURLE_SSL_CIPHER)  // ours leaves a proxy alone without one
        throw ConnectionException(
            text(u"Server % is to be reached for % by a proxy that is itself reached by TLS, which "
                 u"cannot be used (%). Name one with http://.",
                 reason));
    if (IsTlsFailure(code))
        throw ConnectionException(
            text(u"No trusted TLS connection to server % for %: %. Check the server's certificate, "
                 u"or name the file of its authority.",
                 tlsDetail.empty() ? reason : tlsDetail));
    throw ConnectionException(text(u"No connection to server % for %: %. Check the server's name "
                                   u"and port, and that it is running.",
                                   reason));
}

}  // namespace Communication::Detail
