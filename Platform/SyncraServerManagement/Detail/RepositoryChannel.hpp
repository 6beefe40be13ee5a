#pragma once

#include "OVRoot/PercentCoding.hpp"
#include "SyncraClient/Detail/SignedInChannel.hpp"
#include "SyncraProtocol/Detail/RecordJson.hpp"
#include "SyncraServerManagement/Detail/SignInProperties.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"
#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

#include <atomic>

namespace Syncra::Server::Management::Detail {

/// A text as a component of a path or a value of a query.
[[nodiscard]] inline OV::String ToPathText(OV::UniStringView text)
{
    return OV::PercentEncode(OV::ToUtf8(OV::EscapeForCarrier(text)));
}

/// Requests below the management service's root, with the exceptions of a repository.
class RepositoryChannel {
public:
    using Method = Communication::HttpMethod;

    explicit RepositoryChannel(const Client::SignInData& data)
        : channel_(data, Communication::DefaultHttpOptions())
    {}

    /// `path` begins behind the root.
    template <class Convert>
    auto AskPlain(Method method, const OV::String& path, OV::String body, Convert&& convert)
    {
        Communication::HttpRequest request;
        request.method = method;
        request.target = RootPath + path;
        request.body = std::move(body);
        try {
            return channel_.Ask(std::move(request), std::forward<Convert>(convert));
        } catch (const Communication::ResponseContentException&) {
            throw;
        } catch (const Communication::CommunicationException&) {
            isUsable_ = false;
            throw;
        }
    }

    /// As AskPlain, with failures of UserRepositoryExceptions.hpp.
    template <class Convert>
    auto Ask(Method method, const OV::String& path, OV::String body, Convert&& convert)
    {
        try {
            return AskPlain(method, path, std::move(body), std::forward<Convert>(convert));
        } catch (const OV::Exception&) {
            RethrowAsRepositoryException();
        }
    }
    void Tell(Method method, const OV::String& path, OV::String body = {})
    {
        Ask(method, path, std::move(body), [](const nlohmann::json&) {});
    }

    [[nodiscard]] bool IsUsable() const { return isUsable_; }
    void Close()
    {
        isUsable_ = false;
        channel_.Cancel();
    }

private:
    Client::Detail::SignedInChannel channel_;
    std::atomic<bool> isUsable_ = true;
};

}  // namespace Syncra::Server::Management::Detail
