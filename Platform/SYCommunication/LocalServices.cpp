#include "SYCommunication/LocalServices.hpp"

#ifdef SYC_AVAHI_LIBRARY

#include "OVRoot/Exception.hpp"
#include "OVRoot/LateLibrary.hpp"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/simple-watch.h>
#include <avahi-common/strlst.h>

#include <map>
#include <memory>

namespace Communication {

namespace {

/// Most processes look for no server, and it brings the message bus of the desktop.
constinit const OV::LateLibrary Avahi{SYC_AVAHI_LIBRARY,
                                      [](OV::StringView message) { throw OV::Exception(message); }};
SYC_LATE_FUNCTION(Avahi, avahi_address_snprint);
SYC_LATE_FUNCTION(Avahi, avahi_alternative_service_name);
SYC_LATE_FUNCTION(Avahi, avahi_client_free);
SYC_LATE_FUNCTION(Avahi, avahi_client_new);
SYC_LATE_FUNCTION(Avahi, avahi_entry_group_add_service_strlst);
SYC_LATE_FUNCTION(Avahi, avahi_entry_group_commit);
SYC_LATE_FUNCTION(Avahi, avahi_entry_group_free);
SYC_LATE_FUNCTION(Avahi, avahi_entry_group_new);
SYC_LATE_FUNCTION(Avahi, avahi_entry_group_reset);
SYC_LATE_FUNCTION(Avahi, avahi_free);
SYC_LATE_FUNCTION(Avahi, avahi_service_browser_free);
SYC_LATE_FUNCTION(Avahi, avahi_service_browser_get_client);
SYC_LATE_FUNCTION(Avahi, avahi_service_browser_new);
SYC_LATE_FUNCTION(Avahi, avahi_service_resolver_free);
SYC_LATE_FUNCTION(Avahi, avahi_service_resolver_new);
SYC_LATE_FUNCTION(Avahi, avahi_simple_poll_free);
SYC_LATE_FUNCTION(Avahi, avahi_simple_poll_get);
SYC_LATE_FUNCTION(Avahi, avahi_simple_poll_iterate);
SYC_LATE_FUNCTION(Avahi, avahi_simple_poll_new);
SYC_LATE_FUNCTION(Avahi, avahi_simple_poll_wakeup);
SYC_LATE_FUNCTION(Avahi, avahi_string_list_find);
SYC_LATE_FUNCTION(Avahi, avahi_string_list_free);
SYC_LATE_FUNCTION(Avahi, avahi_string_list_add);

constexpr const char* ServiceKind = "_nexar-server._tcp";
constexpr const char* SecureKey = "tls";
/// Between two looks for a daemon that is not there.
constexpr std::uint32_t PauseMilliseconds = 10'000;

template <const auto& Free>
struct Freeing {
    template <class Thing>
    void operator()(Thing* thing) const
    {
        Free(thing);
    }
};
using Poll = std::unique_ptr<AvahiSimplePoll, Freeing<avahi_simple_poll_free>>;
using Client = std::unique_ptr<AvahiClient, Freeing<avahi_client_free>>;

/// A conversation with the daemon, on one thread: until the daemon goes, or the thread is asked to
/// stop. What a derived class holds of the client goes before the client does.
class Talk {
public:
    Talk() : poll_(avahi_simple_poll_new()) {}
    virtual ~Talk() = default;
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;

    void Run()
    {
        if (!poll_)
            return;
        AvahiSimplePoll* const poll = poll_.get();
        client_.reset(avahi_client_new(avahi_simple_poll_get(poll), AvahiClientFlags(0),
                                       &Talk::StateChanged, this, nullptr));
        const std::stop_callback wake(OV::Thread::CurrentToken(),
                                      [poll] { avahi_simple_poll_wakeup(poll); });
        while (client_ && !hasEnded_ && !OV::Thread::IsInterrupted() &&
               avahi_simple_poll_iterate(poll, -1) == 0) {
        }
    }

protected:
    /// The daemon is there and knows its names.
    virtual void Begin(AvahiClient& client) = 0;
    void End() { hasEnded_ = true; }
    void CloseClient() { client_.reset(); }

private:
    static void StateChanged(AvahiClient* client, AvahiClientState state, void* self)
    {
        auto& talk = *static_cast<Talk*>(self);
        if (state == AVAHI_CLIENT_S_RUNNING)
            talk.Begin(*client);
        else if (state == AVAHI_CLIENT_FAILURE)
            talk.End();
    }

    Poll poll_;
    Client client_;
    bool hasEnded_ = false;
};

/// Talks to one daemon after the other.
template <class MakeTalk>
OV::Thread Keep(const char* name, MakeTalk makeTalk)
{
    return OV::Thread(name, [makeTalk] {
        try {
            for (;; OV::Thread::Sleep(PauseMilliseconds))
                makeTalk()->Run();
        } catch (const OV::InterruptedException&) {
            // The end that was asked for.
        }
    });
}

class Browsing final : public Talk {
public:
    explicit Browsing(LocalServerBrowser::Heard heard) : heard_(std::move(heard)) {}
    ~Browsing() override
    {
        browser_.reset();
        CloseClient();
        if (!servers_.empty()) {
            servers_.clear();
            Tell();
        }
    }

private:
    void Begin(AvahiClient& client) override
    {
        browser_.reset(avahi_service_browser_new(&client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                                 ServiceKind, nullptr, AvahiLookupFlags(0),
                                                 &Browsing::Changed, this));
    }
    static void Changed(AvahiServiceBrowser* browser, AvahiIfIndex interface,
                        AvahiProtocol protocol, AvahiBrowserEvent event, const char* name,
                        const char* kind, const char* domain, AvahiLookupResultFlags, void* self)
    {
        auto& browsing = *static_cast<Browsing*>(self);
        if (event == AVAHI_BROWSER_NEW) {
            // Ends by itself: its answer frees it.
            (void)avahi_service_resolver_new(avahi_service_browser_get_client(browser), interface,
                                             protocol, name, kind, domain, AVAHI_PROTO_UNSPEC,
                                             AvahiLookupFlags(0), &Browsing::Resolved, self);
        } else if (event == AVAHI_BROWSER_REMOVE) {
            if (browsing.servers_.erase(name) != 0)
                browsing.Tell();
        } else if (event == AVAHI_BROWSER_FAILURE) {
            browsing.End();
        }
    }
    static void Resolved(AvahiServiceResolver* resolver, AvahiIfIndex, AvahiProtocol,
                         AvahiResolverEvent event, const char* name, const char*, const char*,
                         const char*, const AvahiAddress* address, std::uint16_t port,
                         AvahiStringList* texts, AvahiLookupResultFlags, void* self)
    {
        if (event == AVAHI_RESOLVER_FOUND && address != nullptr) {
            char text[AVAHI_ADDRESS_STR_MAX];
            avahi_address_snprint(text, sizeof text, address);
            const OV::String scheme = avahi_string_list_find(texts, SecureKey) ? "https://" : "";
            static_cast<Browsing*>(self)->Take(name, scheme, text, port);
        }
        avahi_service_resolver_free(resolver);
    }
    /// One that is heard of on several ways counts once. A link-local address says nothing without
    /// its interface.
    void Take(const char* name, const OV::String& scheme, const OV::String& address,
              std::uint16_t port)
    {
        if (port != 0 && !address.starts_with("fe80:") &&
            servers_
                .try_emplace(name,
                             LocalServer{OV::FromUtf8(name), OV::FromUtf8(scheme + address), port})
                .second)
            Tell();
    }
    void Tell() const
    {
        OV::Array<LocalServer> all;
        for (const auto& [name, server] : servers_)
            all.push_back(server);
        heard_(all);
    }

    LocalServerBrowser::Heard heard_;
    std::map<OV::String, LocalServer> servers_;
    std::unique_ptr<AvahiServiceBrowser, Freeing<avahi_service_browser_free>> browser_;
};

class Announcing final : public Talk {
public:
    Announcing(OV::String title, std::uint16_t port, bool isSecure)
        : title_(std::move(title)), port_(port),
          texts_(isSecure ? avahi_string_list_add(nullptr, SecureKey) : nullptr)
    {}
    ~Announcing() override { group_.reset(); }

private:
    void Begin(AvahiClient& client) override
    {
        if (!group_)
            group_.reset(avahi_entry_group_new(&client, &Announcing::Changed, this));
        Publish();
    }
    void Publish()
    {
        if (!group_)
            return End();
        int outcome = AVAHI_ERR_COLLISION;
        while ((outcome = avahi_entry_group_add_service_strlst(
                    group_.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0),
                    title_.c_str(), ServiceKind, nullptr, nullptr, port_, texts_.get())) ==
               AVAHI_ERR_COLLISION)
            TakeAnotherTitle();
        if (outcome != 0 || avahi_entry_group_commit(group_.get()) != 0)
            End();
    }
    static void Changed(AvahiEntryGroup* group, AvahiEntryGroupState state, void* self)
    {
        auto& announcing = *static_cast<Announcing*>(self);
        if (state == AVAHI_ENTRY_GROUP_COLLISION) {
            announcing.TakeAnotherTitle();
            avahi_entry_group_reset(group);
            announcing.Publish();
        } else if (state == AVAHI_ENTRY_GROUP_FAILURE) {
            announcing.End();
        }
    }
    void TakeAnotherTitle()
    {
        char* const other = avahi_alternative_service_name(title_.c_str());
        title_ = other;
        avahi_free(other);
    }

    OV::String title_;
    std::uint16_t port_;
    std::unique_ptr<AvahiStringList, Freeing<avahi_string_list_free>> texts_;
    std::unique_ptr<AvahiEntryGroup, Freeing<avahi_entry_group_free>> group_;
};

}  // namespace

LocalServerBrowser::LocalServerBrowser(Heard heard)
    : thread_(Keep("local servers",
                   [heard = std::move(heard)] { return std::make_unique<Browsing>(heard); }))
{}

LocalServerAnnouncement::LocalServerAnnouncement(OV::UniString title, std::uint16_t port,
                                                 bool isSecure)
    : thread_(Keep("announcement", [title = OV::ToUtf8(title), port, isSecure] {
          return std::make_unique<Announcing>(title, port, isSecure);
      }))
{}

}  // namespace Communication

#else

namespace Communication {

LocalServerBrowser::LocalServerBrowser(Heard) : thread_("local servers", [] {}) {}

LocalServerAnnouncement::LocalServerAnnouncement(OV::UniString, std::uint16_t, bool)
    : thread_("announcement", [] {})
{}

}  // namespace Communication

#endif
