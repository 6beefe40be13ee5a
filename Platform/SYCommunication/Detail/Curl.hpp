#pragma once

#include <curl/curl.h>

#include <memory>

namespace Communication::Detail {

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

}  // namespace Communication::Detail
