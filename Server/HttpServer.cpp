// The one unit that sees Beast: it takes most of the server's compile time.
#include "HttpServer.hpp"

#include "HttpConnection.hpp"
#include "ProxyHeader.hpp"
#include "Tls.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <csignal>
#include <stdexcept>
#include <thread>

namespace Nexar {

namespace {

using namespace Http;

/// Of the store, the log, the ports and of those who are turned away.
constexpr std::size_t OtherDescriptors = 64;
constexpr std::size_t MostTurnedAway = 32;
constexpr seconds LongestStop{10};
/// What a client has begun to send when the server stops may still arrive for so long.
constexpr seconds LateDelivery{1};

asio::ip::address PeerOf(const tcp::socket& socket)
{
    beast::error_code gone;
    return socket.remote_endpoint(gone).address();
}

bool HasRoom(const Shared& shared, const asio::ip::address& address)
{
    const auto found = shared.addresses.find(AddressShare(address));
    // Those of a proxy all have its address.
    return shared.limits.IsProxy(address.to_string()) || found == shared.addresses.end() ||
           found->second < shared.limits.connectionsOfAddress;
}

/// None when the proxy did not name a client.
asio::awaitable<std::optional<asio::ip::address>> ReadClient(Shared& shared, Plain& stream)
{
    const Listed listed(shared.idle, stream);
    stream.expires_after(FirstTime);
    std::string header;
    auto missing = MissingOfProxyHeader(header);
    while (missing.value_or(0) > 0) {
        const std::size_t begun = header.size();
        header.resize(begun + *missing);
        auto [error, size] =
            co_await asio::async_read(stream, asio::buffer(header.data() + begun, *missing),
                                      asio::as_tuple(asio::use_awaitable));
        if (error)
            co_return std::nullopt;
        missing = MissingOfProxyHeader(header);
    }
    const auto client = missing ? ClientOfProxyHeader(header) : std::nullopt;
    if (!client) {
        OV::Logger::Warning("nexar-server",
                            u"A connection from the proxy % does not begin with a header of the "
                            u"PROXY protocol. Let it send one, or leave --proxy-protocol out.",
                            {PeerOf(stream.socket()).to_string()});
        co_return std::nullopt;
    }
    co_return client->empty() ? PeerOf(stream.socket()) : asio::ip::make_address(*client);
}

template <class Stream>
asio::awaitable<void> ServeStream(Shared& shared, Stream stream, const Listener& listener,
                                  std::string address)
{
    Connection<Stream> connection(shared, std::move(stream), listener, std::move(address));
    co_await connection.Serve();
}

asio::awaitable<void> ServeConnection(Shared& shared, tcp::socket socket, const Listener& listener)
{
    try {
        auto address = PeerOf(socket);
        std::optional<Place> place(std::in_place, shared, AddressShare(address));
        // Renewed meanwhile, the old certificate stays with the connections that began with it.
        const auto tls = shared.tls;
        Plain plain(std::move(socket));
        if (listener.audience == HttpServer::Audience::Clients && shared.limits.readsProxyHeader &&
            shared.limits.IsNamed(address.to_string())) {
            const auto client = co_await ReadClient(shared, plain);
            if (!client || !HasRoom(shared, *client))
                co_return;
            address = *client;
            place.emplace(shared, AddressShare(address));
        }
        auto text = address.to_string();
        if (tls)
            co_await ServeStream(shared, Tls(std::move(plain), *tls), listener, std::move(text));
        else
            co_await ServeStream(shared, std::move(plain), listener, std::move(text));
    } catch (const std::exception&) {
        // A broken connection concerns its client only.
    }
}

/// A handshake costs too much to tell those who are too many anyway: protected, it just ends.
asio::awaitable<void> TurnAway(Shared& shared, tcp::socket socket, const Listener& listener)
{
    Connection<Plain> connection(shared, Plain(std::move(socket)), listener, {});
    co_await connection.TurnAway();
}

/// Something that the server waits for again and again. The wait holds the token, which goes with
/// it when it fails on its way.
class Standing {
public:
    using Token = std::shared_ptr<void>;
    explicit Standing(std::function<void(const Token&)> begin) : begin_(std::move(begin)) {}

    /// Begins it unless it is under way.
    void Ensure()
    {
        if (!token_.expired())
            return;
        const auto token = std::make_shared<char>();
        token_ = token;
        begin_(token);
    }

private:
    std::function<void(const Token&)> begin_;
    std::weak_ptr<void> token_;
};

void Accept(Shared& shared, Listener& listener, const Standing::Token& token)
{
    const auto accepted = [&shared, &listener, token](const beast::error_code& error,
                                                      tcp::socket socket) {
        if (error == asio::error::operation_aborted || shared.stopping)
            return;
        if (error) {
            // Out of descriptors, mostly: give connections time to end.
            listener.pause.expires_after(std::chrono::milliseconds(50));
            listener.pause.async_wait([&shared, &listener, token](const beast::error_code&) {
                if (!shared.stopping)
                    Accept(shared, listener, token);
            });
            return;
        }
        if (shared.connections < shared.limits.connections && HasRoom(shared, PeerOf(socket)))
            asio::co_spawn(shared.context, ServeConnection(shared, std::move(socket), listener),
                           asio::detached);
        else if (!shared.tls && shared.turnedAway < MostTurnedAway)
            asio::co_spawn(shared.context, TurnAway(shared, std::move(socket), listener),
                           asio::detached);
        Accept(shared, listener, token);
    };
    listener.acceptor.async_accept(accepted);
}

}  // namespace

struct HttpServer::State {
    Shared shared;
    std::list<Listener> listeners;
    std::list<Standing> standing;
    asio::signal_set signals{shared.context, SIGTERM, SIGINT};
    asio::signal_set renewals{shared.context, SIGHUP};
    asio::steady_timer lateDelivery{shared.context};
    asio::steady_timer stopLimit{shared.context};
    asio::steady_timer drainTime{shared.context};
    std::function<void()> beforeStop;
    std::string certificate;
    std::string key;

    void LoadCertificate()
    {
        shared.tls = std::make_shared<asio::ssl::context>(MakeTlsContext(certificate, key));
    }
    void AwaitRenewal(const Standing::Token& token)
    {
        renewals.async_wait([this, token](const beast::error_code& error, int) {
            if (error)
                return;
            RunGuarded([this] {
                if (!certificate.empty())
                    LoadCertificate();
                OV::Logger::Info("nexar-server", u"Read the certificate again.");
            });
            AwaitRenewal(token);
        });
    }
    void RunOnce()
    {
        if (!shared.stopping)
            for (auto& each : standing)
                each.Ensure();
        shared.context.run();
    }

    void AwaitEnd()
    {
        signals.async_wait([this](const beast::error_code& error, int) {
            if (error)
                return;
            if (shared.limits.drainSeconds == 0 || std::exchange(shared.draining, true))
                return Stop();
            OV::Logger::Info("nexar-server", u"Asked to end: others may take over.");
            drainTime.expires_after(seconds(shared.limits.drainSeconds));
            drainTime.async_wait([this](const beast::error_code& isCut) {
                if (!isCut)
                    Stop();
            });
            AwaitEnd();
        });
    }

    void Stop()
    {
        if (std::exchange(shared.stopping, true))
            return;
        drainTime.cancel();
        signals.cancel();
        renewals.cancel();
        for (auto& listener : listeners) {
            listener.acceptor.close();
            listener.pause.cancel();
        }
        if (beforeStop)
            RunGuarded(beforeStop);
        CancelAll(shared.idle);
        lateDelivery.expires_after(LateDelivery);
        lateDelivery.async_wait([this](const beast::error_code& error) {
            if (!error)
                CancelAll(shared.receiving);
        });
        stopLimit.expires_after(LongestStop);
        stopLimit.async_wait([this](const beast::error_code& error) {
            if (!error)
                shared.context.stop();
        });
        WaitForEnd();
    }

    /// The limits must not keep an idle server alive.
    void WaitForEnd()
    {
        if (shared.connections == 0) {
            lateDelivery.cancel();
            stopLimit.cancel();
            return;
        }
        auto timer =
            std::make_shared<asio::steady_timer>(shared.context, std::chrono::milliseconds(10));
        timer->async_wait([this, timer](const beast::error_code&) { WaitForEnd(); });
    }
};

HttpServer::HttpServer(const HttpLimits& limits) : state_(std::make_unique<State>())
{
    state_->shared.limits = limits;
    const std::size_t descriptors = OV::System::RaiseDescriptorLimit();
    const std::size_t most =
        descriptors > 2 * OtherDescriptors ? descriptors - OtherDescriptors : descriptors / 2;
    if (most < limits.connections) {
        OV::Logger::Warning("nexar-server",
                            u"The system lets this process have % descriptors: it takes % "
                            u"connections instead of %.",
                            {descriptors, most, limits.connections});
        state_->shared.limits.connections = most;
    }
}
HttpServer::~HttpServer() = default;

void HttpServer::UseCertificate(const std::string& certificate, const std::string& key)
{
    state_->certificate = certificate;
    state_->key = key;
    state_->LoadCertificate();
}

bool HttpServer::IsLoopback(const std::string& address)
{
    beast::error_code error;
    return asio::ip::make_address(address, error).is_loopback() && !error;
}

std::uint16_t HttpServer::Listen(const std::string& address, std::uint16_t port, Audience audience,
                                 HttpHandler handler, HeadCheck check)
{
    try {
        const tcp::endpoint place(asio::ip::make_address(address), port);
        auto& context = state_->shared.context;
        auto& listener = state_->listeners.emplace_back(
            Listener{tcp::acceptor(context, place), asio::steady_timer(context), audience,
                     std::move(handler), std::move(check)});
        state_->standing.emplace_back([this, &listener](const Standing::Token& token) {
            Accept(state_->shared, listener, token);
        });
        return listener.acceptor.local_endpoint().port();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("Cannot listen on " + address + ":" + std::to_string(port) + ": " +
                                 error.code().message() + ".");
    }
}

void HttpServer::Run()
{
    state_->AwaitEnd();
    state_->standing.emplace_back(
        [this](const Standing::Token& token) { state_->AwaitRenewal(token); });
    constexpr std::chrono::milliseconds pause(10);
    bool isDone = false;
    while (!isDone) {
        RunGuarded([&] {
            state_->RunOnce();
            isDone = true;
        });
        // What is missing, memory mostly, comes back as others let it go.
        if (!isDone)
            std::this_thread::sleep_for(pause);
    }
}

void HttpServer::Stop()
{
    asio::post(state_->shared.context, [this] { state_->Stop(); });
}

void HttpServer::SetBeforeStop(std::function<void()> beforeStop)
{
    state_->beforeStop = std::move(beforeStop);
}

bool HttpServer::IsEnding() const
{
    return state_->shared.draining || state_->shared.stopping;
}

HttpServer::Traffic HttpServer::TakeTraffic()
{
    return std::exchange(state_->shared.traffic, {});
}

HttpServer::Load HttpServer::GetLoad() const
{
    const Shared& shared = state_->shared;
    return {shared.connections, shared.underWay, shared.bytesInFlight};
}

void HttpServer::NoteWork(std::chrono::microseconds time)
{
    state_->shared.traffic.longest = std::max(state_->shared.traffic.longest, time);
}

void HttpServer::PostOnce(std::function<void()> work)
{
    asio::post(state_->shared.context, [work = std::move(work)] { RunGuarded(work); });
}

std::shared_ptr<void> HttpServer::HoldOpen()
{
    using Guard = asio::executor_work_guard<asio::io_context::executor_type>;
    return std::make_shared<Guard>(state_->shared.context.get_executor());
}

std::shared_ptr<void> HttpServer::After(std::chrono::milliseconds time, std::function<void()> work)
{
    // Dropping the timer cancels its wait; one that has just run out is told by the handle alone.
    auto timer = std::make_shared<asio::steady_timer>(state_->shared.context, time);
    timer->async_wait(
        [handle = std::weak_ptr(timer), work = std::move(work)](const beast::error_code& error) {
            if (!error && !handle.expired())
                RunGuarded(work);
        });
    return timer;
}

}  // namespace Nexar
