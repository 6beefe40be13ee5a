#pragma once

#include "OVRoot/SecureWipe.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Detail/JsonText.hpp"

#include <concepts>
#include <initializer_list>

namespace Syncra::Client::Detail {

/// What stands in a path or a query.
class PathPart {
public:
    PathPart(OV::UniStringView text);
    PathPart(const OV::UniString& text) : PathPart(OV::UniStringView(text)) {}
    template <std::integral Number>
    PathPart(Number number) : text_(std::to_string(number))
    {}
    [[nodiscard]] const OV::String& Get() const noexcept { return text_; }

private:
    OV::String text_;
};

/// `pattern` with a part for each "{}", coded as a URL asks for it.
[[nodiscard]] OV::String MakePath(OV::StringView pattern, std::initializer_list<PathPart> parts);

/// Requests of one signed-in user to one service, whose bodies are records both ways: carries the
/// token, renews it once when the server no longer knows it, turns refusals into
/// ResponseContentException and answers into records. An answer that is not the record asked for
/// throws Communication::MalformedResponseException. Every call blocks for its answer; one thread
/// at a time, except Cancel.
class JsonRequests {
public:
    /// An answer as it came, to be read on any thread.
    class Unread {
    public:
        /// The whole record.
        template <class Answer>
        [[nodiscard]] Answer Read() const
        {
            return Try([&] { return Protocol::ReadAnswer<Answer>(response_.body); });
        }
        /// See Protocol::ReadAnswer.
        template <class Answer>
        void Read(Answer& answer) const
        {
            Try([&] { Protocol::ReadAnswer(response_.body, answer); });
        }
        /// One field, without a look at what follows it.
        template <class Answer>
        [[nodiscard]] Answer ReadHead() const
        {
            return Try([&] { return Protocol::ReadHead<Answer>(response_.body); });
        }
        [[nodiscard]] std::size_t GetBytes() const noexcept { return response_.body.size(); }

    private:
        friend JsonRequests;
        Unread(const Communication::ServerAddress& address, OV::String target,
               Communication::HttpResponse response)
            : address_(&address), target_(std::move(target)), response_(std::move(response))
        {}
        template <class Reading>
        auto Try(Reading&& reading) const
        {
            try {
                return reading();
            } catch (const Protocol::MalformedRecordException& malformed) {
                ThrowMalformed(*address_, target_, response_.status, malformed);
            }
        }

        /// Of the requests, which live longer.
        const Communication::ServerAddress* address_;
        OV::String target_;
        Communication::HttpResponse response_;
    };

    /// Signs in; throws as Connect does. Paths begin behind `root`.
    JsonRequests(const SignInData& data, const Communication::HttpOptions& options,
                 OV::String root = "/syncra/v1");
    /// Signs out when the connection still stands, and waits for nobody: an unused token dies on
    /// the server anyway.
    ~JsonRequests();
    JsonRequests(const JsonRequests&) = delete;
    JsonRequests& operator=(const JsonRequests&) = delete;

    /// Without signing in: the product version of a server that speaks the protocol of this client;
    /// throws as Connect does.
    [[nodiscard]] static std::uint32_t AskVersion(const Communication::ServerAddress& address,
                                                  const Communication::HttpOptions& options);

    template <class Answer>
    [[nodiscard]] Answer Get(const OV::String& path)
    {
        return GetUnread(path).template Read<Answer>();
    }
    /// To be read while the next request is under way.
    [[nodiscard]] Unread GetUnread(const OV::String& path)
    {
        return Ask(Communication::HttpMethod::Get, path, {}, 0);
    }
    /// Of a request that the server may hold for so many milliseconds before it answers.
    template <class Answer>
    [[nodiscard]] Answer GetHeld(const OV::String& path, std::uint32_t wait)
    {
        return Ask(Communication::HttpMethod::Get, path, {}, wait).template Read<Answer>();
    }
    template <class Answer = Protocol::Empty, class Body>
    Answer Post(const OV::String& path, const Body& body)
    {
        return Ask(Communication::HttpMethod::Post, path, Protocol::WriteJson(body), 0)
            .template Read<Answer>();
    }
    template <class Answer = Protocol::Empty, class Body>
    Answer Put(const OV::String& path, const Body& body)
    {
        return Ask(Communication::HttpMethod::Put, path, Protocol::WriteJson(body), 0)
            .template Read<Answer>();
    }
    void Delete(const OV::String& path)
    {
        (void)Ask(Communication::HttpMethod::Delete, path, {}, 0).Read<Protocol::Empty>();
    }

    [[nodiscard]] const Communication::ServerAddress& GetAddress() const noexcept
    {
        return http_.GetAddress();
    }
    /// Ends the request under way and every later one. Safe on any thread.
    void Cancel() { http_.Cancel(); }

private:
    Unread Ask(Communication::HttpMethod method, const OV::String& path, OV::String body,
               std::uint32_t wait);

    void SignIn();
    /// Wipes the body: some carry a password.
    [[nodiscard]] Unread Send(Communication::HttpRequest& request, std::uint32_t wait);
    /// Throws what a refusal says.
    [[nodiscard]] static Unread Perform(Communication::HttpClient& http,
                                        const Communication::HttpRequest& request);
    [[noreturn]] static void ThrowMalformed(const Communication::ServerAddress& address,
                                            const OV::String& target, int status,
                                            const OV::Exception& reason);

    Communication::HttpClient http_;
    std::uint32_t requestTimeout_;
    OV::String root_;
    /// The whole body of the sign-in, password included, kept to renew the token.
    OV::String signInBody_;
    OV::SecureWipeGuard<char> signInBodyWipe_{signInBody_};
    OV::String token_;
    bool withoutVersionCheck_;
};

}  // namespace Syncra::Client::Detail
