#pragma once

#include "Support/ServerProcess.hpp"

#include <curl/curl.h>

#include <memory>
#include <stdexcept>
#include <string>

/// A user of the sample team on one curl handle with its kept connection: nothing but curl between
/// the caller and the socket.
class BareClient {
public:
    explicit BareClient(std::uint16_t port) : base_("http://127.0.0.1:" + std::to_string(port))
    {
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, &Append);
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEDATA, &answer_);
        curl_easy_setopt(handle_.get(), CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle_.get(), CURLOPT_TCP_NODELAY, 1L);
        AddHeader("Content-Type: application/json");
    }

    /// The token, which later requests carry.
    std::string SignIn(const std::string& user = "anna.novak")
    {
        Post("/syncra/v1/sign-in", R"({"password":")" + std::string(ServerProcess::Password) +
                                       R"(","protocol":1,"userName":")" + user + "\"}");
        const std::string key = "\"token\":\"";
        const auto at = answer_.find(key) + key.size();
        const auto token = answer_.substr(at, answer_.find('"', at) - at);
        AddHeader("Authorization: Bearer " + token);
        return token;
    }
    void SignOut() { Post("/syncra/v1/sign-out", "{}"); }
    const std::string& Get(const std::string& target)
    {
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPGET, 1L);
        return Perform(target);
    }
    const std::string& Post(const std::string& target, const std::string& body)
    {
        curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, body.c_str());
        return Perform(target);
    }

private:
    static std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* target)
    {
        static_cast<std::string*>(target)->append(bytes, size * count);
        return size * count;
    }

    void AddHeader(const std::string& header)
    {
        headers_.reset(curl_slist_append(headers_.release(), header.c_str()));
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers_.get());
    }

    const std::string& Perform(const std::string& target)
    {
        answer_.clear();
        curl_easy_setopt(handle_.get(), CURLOPT_URL, (base_ + target).c_str());
        long status = 0;
        if (curl_easy_perform(handle_.get()) == CURLE_OK)
            curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
        if (status != 200)
            throw std::runtime_error("a bare request failed: " + target + ": " + answer_);
        return answer_;
    }

    std::string base_;
    std::string answer_;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_{nullptr,
                                                                         &curl_slist_free_all};
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_{curl_easy_init(),
                                                                curl_easy_cleanup};
};
