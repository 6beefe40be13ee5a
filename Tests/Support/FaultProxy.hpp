#pragma once

#include "Support/RawHttp.hpp"
#include "Support/ScriptedServer.hpp"

/// Stands before a real server and passes every request on, but for one that meets a fault. With
/// the port of its management service it stands before both, which have the one port then.
class FaultProxy {
public:
    enum class Fault { Close, CloseInAnswer, Garbage, WrongJson, Silence, ServerError };

    explicit FaultProxy(std::uint16_t serverPort, std::uint16_t managementPort = 0)
        : serverPort_(serverPort), managementPort_(managementPort),
          server_([this](auto& peer, const auto& request) { Pass(peer, request); })
    {}

    [[nodiscard]] std::uint16_t Port() const { return server_.Port(); }
    /// The `number`th request from here on (from 0) meets `fault`; with `andAllLater`, the later
    /// ones too.
    void FailAt(int number, Fault fault, bool andAllLater = false)
    {
        fault_ = fault;
        andAllLater_ = andAllLater;
        seen_ = 0;
        failAt_ = number;
    }
    void FailNever() { failAt_ = -1; }
    /// Whether the fault met a request whose answer says nothing but its status.
    [[nodiscard]] bool HasFailedAtWrite() const { return failedAtWrite_; }
    /// Whether the fault was met.
    [[nodiscard]] bool HasFailed() const { return failAt_ >= 0 && seen_ > failAt_; }

private:
    using Peer = ScriptedServer::Peer;
    using Request = ScriptedServer::Request;

    void Pass(Peer& peer, const Request& request)
    {
        const int number = seen_++;
        const int failAt = failAt_;
        if (failAt >= 0 && (number == failAt || (andAllLater_ && number > failAt)))
            Misbehave(peer, request);
        else
            peer.Send(Ask(request));
    }

    void Misbehave(Peer& peer, const Request& request)
    {
        failedAtWrite_ = request.method == "PUT";
        switch (fault_.load()) {
        case Fault::Close:
            peer.Close();
            break;
        case Fault::CloseInAnswer:
            // The server acted; only its answer is lost.
            (void)Ask(request);
            peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"half\": ");
            peer.Close();
            break;
        case Fault::Garbage:
            peer.Send("\x01\x02 this is no HTTP \xff\xfe\r\n\r\n");
            peer.Close();
            break;
        case Fault::WrongJson:
            peer.Answer(200, R"({"projects": 7, "member": "yes", "sessions": {}, "value": []})");
            break;
        case Fault::Silence:
            peer.HoldUntilGone();
            break;
        case Fault::ServerError:
            peer.Answer(500, R"({"code": 2, "message": "broken"})");
            break;
        }
    }

    /// The server's answer, word for word.
    std::string Ask(const Request& request) const
    {
        const bool isManagement = managementPort_ != 0 && request.target.starts_with("/root/");
        RawHttp server(isManagement ? managementPort_ : serverPort_);
        (void)server.Send(request.head + request.body);
        auto answer = server.Read();
        const auto told = std::to_string(managementPort_);
        if (const auto at = answer.body.find(told);
            managementPort_ != 0 && request.target.ends_with("/ports") && at != std::string::npos)
            // Ports that the system gave are equally long.
            answer.body.replace(at, told.size(), std::to_string(Port()));
        return answer.head + answer.body;
    }

    std::uint16_t serverPort_;
    std::uint16_t managementPort_;
    std::atomic<int> failAt_ = -1;
    std::atomic<int> seen_ = 0;
    std::atomic<Fault> fault_ = Fault::Close;
    std::atomic<bool> andAllLater_ = false;
    std::atomic<bool> failedAtWrite_ = false;
    ScriptedServer server_;
};
