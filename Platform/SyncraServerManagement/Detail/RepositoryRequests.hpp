#pragma once

#include "SyncraClient/Detail/JsonRequests.hpp"
#include "SyncraClient/Detail/PageReading.hpp"
#include "SyncraProtocol/Detail/ManagementRecords.hpp"
#include "SyncraServerManagement/Detail/SignInProperties.hpp"
#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

#include <atomic>
#include <functional>

namespace Syncra::Server::Management::Detail {

using Client::Detail::MakePath;
using Protocol::Empty;

/// Requests below the management service's root, with the exceptions of a repository.
class RepositoryRequests {
public:
    RepositoryRequests(const Client::SignInData& data, const Communication::HttpOptions& options)
        : requests_(data, options, RootPath)
    {}

    template <class Answer>
    [[nodiscard]] Answer Get(const OV::String& path)
    {
        return Translated([&](auto& requests) { return requests.template Get<Answer>(path); });
    }
    /// See Client::Detail::ReadPages; `pathOf` makes the path of the request with a cursor.
    template <class Page>
    void ReadPages(const std::function<OV::String(const OV::UniString& cursor)>& pathOf,
                   const std::function<void(Page, std::size_t bytes, bool isLast)>& take)
    {
        Translated([&](auto& requests) {
            Client::Detail::ReadPages<Page>(
                [&](const OV::UniString& cursor) { return requests.GetUnread(pathOf(cursor)); },
                take);
        });
    }
    template <class Answer = Empty, class Body>
    Answer Post(const OV::String& path, const Body& body)
    {
        return Translated(
            [&](auto& requests) { return requests.template Post<Answer>(path, body); });
    }
    template <class Answer = Empty, class Body>
    Answer Put(const OV::String& path, const Body& body)
    {
        return Translated(
            [&](auto& requests) { return requests.template Put<Answer>(path, body); });
    }
    void Delete(const OV::String& path);

    /// What `ask` returns, with the exceptions of the transport.
    template <class Ask>
    auto Plain(Ask&& ask)
    {
        try {
            return ask(requests_);
        } catch (const Communication::ResponseContentException&) {
            throw;
        } catch (const Communication::CommunicationException&) {
            isUsable_ = false;
            throw;
        }
    }

    [[nodiscard]] bool IsUsable() const { return isUsable_; }
    void Close()
    {
        isUsable_ = false;
        requests_.Cancel();
    }

private:
    template <class Ask>
    auto Translated(Ask&& ask)
    {
        try {
            return Plain(ask);
        } catch (const OV::Exception&) {
            RethrowAsRepositoryException();
        }
    }

    Client::Detail::JsonRequests requests_;
    std::atomic<bool> isUsable_ = true;
};

inline void RepositoryRequests::Delete(const OV::String& path)
{
    Translated([&](auto& requests) { requests.Delete(path); });
}

}  // namespace Syncra::Server::Management::Detail
