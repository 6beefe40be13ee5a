#pragma once

#include "OVRoot/LateLibrary.hpp"
#include "SYCommunication/CommunicationException.hpp"

#include <curl/curl.h>

#include <memory>

namespace Communication {

/// Of the time that a process takes to start it needs half, with the libraries that it brings.
inline constinit const OV::LateLibrary Curl{
    SYC_CURL_LIBRARY, [](OV::StringView message) { throw ConnectionException(message); }};
SYC_LATE_FUNCTION(Curl, curl_easy_cleanup);
SYC_LATE_FUNCTION(Curl, curl_easy_getinfo);
SYC_LATE_FUNCTION(Curl, curl_easy_init);
SYC_LATE_FUNCTION(Curl, curl_easy_setopt);
SYC_LATE_FUNCTION(Curl, curl_easy_strerror);
SYC_LATE_FUNCTION(Curl, curl_global_init_mem);
SYC_LATE_FUNCTION(Curl, curl_multi_add_handle);
SYC_LATE_FUNCTION(Curl, curl_multi_cleanup);
SYC_LATE_FUNCTION(Curl, curl_multi_info_read);
SYC_LATE_FUNCTION(Curl, curl_multi_init);
SYC_LATE_FUNCTION(Curl, curl_multi_perform);
SYC_LATE_FUNCTION(Curl, curl_multi_poll);
SYC_LATE_FUNCTION(Curl, curl_multi_remove_handle);
SYC_LATE_FUNCTION(Curl, curl_multi_setopt);
SYC_LATE_FUNCTION(Curl, curl_multi_wakeup);
SYC_LATE_FUNCTION(Curl, curl_slist_append);
SYC_LATE_FUNCTION(Curl, curl_slist_free_all);

namespace Detail {

struct EasyDeleter {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
struct HeaderDeleter {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using MultiHandle = std::unique_ptr<CURLM, MultiDeleter>;
using HeaderList = std::unique_ptr<curl_slist, HeaderDeleter>;

/// Sets the library up once for the process, to wipe the memory that it gives back: it copies the
/// bodies of requests, and some hold a password. A host that set it up before keeps his own memory.
/// It is never torn down again: the host may use it too.
void InitialiseCurl();

}  // namespace Detail

}  // namespace Communication
