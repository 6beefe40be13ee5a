#pragma once

#include "SYCommunication/Detail/Curl.hpp"
#include "SYCommunication/HttpClient.hpp"

namespace Communication::Detail {

/// What the callbacks of one transfer noted; more exact than the code that curl ends with.
struct TransferNotes {
    bool bodyTooLarge = false;
    bool headersTooLarge = false;
    bool refusedToSendAgain = false;
};

/// Turns a failed transfer into its exception. `tlsDetail` is curl's own text and is shown for TLS
/// failures alone: for a bad proxy it quotes the proxy with its password.
[[noreturn]] void ThrowTransferFailure(CURLcode code, const TransferNotes& notes,
                                       const ServerAddress& address, const HttpRequest& request,
                                       OV::StringView tlsDetail);

}  // namespace Communication::Detail
