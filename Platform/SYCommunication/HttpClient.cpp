#include "SYCommunication/HttpClient.hpp"

#include "OVRoot/System.hpp"
#include "OVRoot/Thread.hpp"
#include "SYCommunication/Detail/CertificateCheck.hpp"
#include "SYCommunication/Detail/Curl.hpp"
#include "SYCommunication/Detail/TransferDeadline.hpp"
#include "SYCommunication/Detail/TransferFailure.hpp"
#include "SYCommunication/ServerTrust.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <new>
#include <optional>

namespace Communication {

namespace {

/// curl bounds a single header line only, and keeps every line of an answer in memory.
constexpr std::size_t MaximumHeaderBytes = 64u << 10;
/// Servers and the boxes in between drop idle connections after about a minute. A connection that
/// has been idle for longer than this is not used again, so that a request rarely meets its end.
constexpr long MaximumIdleSeconds = 50;
/// How often a request is sent to a server that is busy.
constexpr int MaximumTries = 4;
/// How long one wait for the socket lasts at most; interruptions wake it.
constexpr int WaitMilliseconds = 60'000;
/// While it connects: some versions of curl, when they go on to the next address of a name, do not
/// wait for the new socket.
constexpr int ConnectingMilliseconds = 100;

/// Whether `host` can stand in a URL without becoming another part of it.
bool IsPlainHost(const OV::UniString& host)
{
    constexpr OV::UniStringView forbidden = u"/?#@\\[]<>\"^`{|}";
    const bool isAddress = host.find(u':') != OV::UniString::npos;
    return !host.empty() && std::none_of(host.begin(), host.end(), [&](char16_t unit) {
        return unit <= u' ' || unit == 0x7F || forbidden.find(unit) != OV::UniStringView::npos ||
               (unit == u'%' && !isAddress);
    });
}

OV::String AuthoritiesFile(const HttpOptions& options)
{
    return options.authoritiesFile.empty() ? OV::System::EnvironmentVariable("SYCLIENT_CA_FILE")
                                           : options.authoritiesFile;
}

}  // namespace

struct HttpClient::State {
    State(const ServerAddress& server, const HttpOptions& wanted);

    void SetUpTrust();
    void SetUpProxy();
    void Prepare(const HttpRequest& request);
    void UseToken(const OV::String& wanted);
    /// Runs the transfer that Prepare described to its end.
    CURLcode Drive(const std::stop_token& token);
    [[nodiscard]] std::uint64_t MovedBytes() const;
    /// How long to wait for the socket; nothing when the time is up.
    [[nodiscard]] std::optional<int> TimeToWait();
    void ThrowIfStopped(const std::stop_token& token) const;
    void Pause(std::chrono::seconds time, const std::stop_token& token) const;

    static std::size_t TakeBody(char* bytes, std::size_t, std::size_t count, void* self);
    static std::size_t TakeHeader(char* bytes, std::size_t, std::size_t count, void* self);
    static int BeforeSending(void* self, char*, char*, int, int);

    const HttpOptions options;
    const OV::String baseUrl;
    const bool isLoopback;
    std::atomic<bool> canceled = false;

    // The list and the check must outlive the handle points to them, and the handle the one it is
    // added to.
    Detail::HeaderList headers;
    Detail::CertificateCheck check;
    Detail::MultiHandle multi;
    Detail::EasyHandle easy;
    OV::String headerToken;

    // Of the request under way.
    OV::String url;
    OV::String body;
    std::size_t headerBytes = 0;
    bool headEnded = false;
    unsigned sends = 0;
    bool mayBeSentAgain = false;
    Detail::TransferNotes notes;
    Detail::TransferDeadline deadline{std::chrono::milliseconds(0), {}};
    std::array<char, CURL_ERROR_SIZE> errorText{};
};

HttpClient::State::State(const ServerAddress& server, const HttpOptions& wanted)
    : options(wanted), baseUrl(server.BaseUrl()), isLoopback(server.IsLoopback()), check(server)
{
    Detail::InitialiseCurl();
    multi.reset(curl_multi_init());
    easy.reset(curl_easy_init());
    if (!multi || !easy)
        throw std::bad_alloc();
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, 1L);

    CURL* const handle = easy.get();
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_TCP_NODELAY, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);  // an identifier may be ".."
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
#if LIBCURL_VERSION_NUM >= 0x075500
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
#else
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS, CURLPROTO_HTTP | CURLPROTO_HTTPS);
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);  // do not wait for a name server on Cancel
#endif
    curl_easy_setopt(handle, CURLOPT_MAXAGE_CONN, MaximumIdleSeconds);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(options.connectTimeoutMilliseconds));
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE,
                     static_cast<curl_off_t>(options.maximumAnswerBytes));
    SetUpTrust();
    SetUpProxy();

    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText.data());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &State::TakeBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &State::TakeHeader);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &State::BeforeSending);
    curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
}

void HttpClient::State::SetUpTrust()
{
    CURL* const handle = easy.get();
    check.Install(handle);
    if (const OV::String file = AuthoritiesFile(options); !file.empty()) {
        curl_easy_setopt(handle, CURLOPT_CAINFO, file.c_str());
        curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    }
    if (!options.certificateFile.empty())
        curl_easy_setopt(handle, CURLOPT_SSLCERT, options.certificateFile.c_str());
    if (!options.keyFile.empty())
        curl_easy_setopt(handle, CURLOPT_SSLKEY, options.keyFile.c_str());
}

void HttpClient::State::SetUpProxy()
{
    CURL* const handle = easy.get();
    if (isLoopback) {
        curl_easy_setopt(handle, CURLOPT_PROXY, "");  // not even the one of the environment
        return;
    }
    // The certificate of a proxy that is itself reached by TLS would be judged as if it were the
    // server's. Without a cipher for it none is reached, wherever it was named.
    curl_easy_setopt(handle, CURLOPT_PROXY_SSL_CIPHER_LIST, "none");
    if (!options.proxy.empty())
        curl_easy_setopt(handle, CURLOPT_PROXY, options.proxy.c_str());
    if (!options.noProxy.empty())
        curl_easy_setopt(handle, CURLOPT_NOPROXY, options.noProxy.c_str());
}

void HttpClient::State::UseToken(const OV::String& wanted)
{
    if (headers && headerToken == wanted)
        return;
    Detail::HeaderList list;
    const auto add = [&list](const char* line) {
        curl_slist* const longer = curl_slist_append(list.get(), line);
        if (!longer)
            throw std::bad_alloc();
        (void)list.release();
        list.reset(longer);
    };
    add("Content-Type: application/json");
    add("Expect:");  // or curl waits a second for a server's leave to send a large body
    if (!wanted.empty())
        add(("Authorization: Bearer " + wanted).c_str());
    curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, list.get());
    headers = std::move(list);
    headerToken = wanted;
}

void HttpClient::State::Prepare(const HttpRequest& request)
{
    CURL* const handle = easy.get();
    UseToken(request.token);
    url.assign(baseUrl).append(request.target);
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());

    const bool sendsBody = request.method == HttpMethod::Post || request.method == HttpMethod::Put;
    if (sendsBody) {
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.c_str());
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body.size()));
    } else {
        curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    }
    const char* const method = request.method == HttpMethod::Put      ? "PUT"
                               : request.method == HttpMethod::Delete ? "DELETE"
                                                                      : nullptr;
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, method);

    const std::uint32_t timeout = request.timeoutMilliseconds ? request.timeoutMilliseconds
                                                              : options.requestTimeoutMilliseconds;
    deadline = {std::chrono::milliseconds(timeout), std::chrono::steady_clock::now()};

    body.clear();
    headerBytes = 0;
    headEnded = false;
    sends = 0;
    mayBeSentAgain = request.method == HttpMethod::Get;
    notes = {};
    check.Begin();
    errorText[0] = '\0';
}

std::size_t HttpClient::State::TakeBody(char* bytes, std::size_t, std::size_t count, void* self)
{
    State& state = *static_cast<State*>(self);
    if (count > state.options.maximumAnswerBytes - state.body.size()) {
        state.notes.bodyTooLarge = true;
        return 0;
    }
    state.body.append(bytes, count);
    return count;
}

std::size_t HttpClient::State::TakeHeader(char* bytes, std::size_t, std::size_t count, void* self)
{
    State& state = *static_cast<State*>(self);
    const OV::StringView line(bytes, count);
    if (line.starts_with("HTTP/"))
        state.headEnded = false;  // the real answer after an interim one
    else if (line == "\r\n" || line == "\n")
        state.headEnded = true;
    state.headerBytes += count;
    state.notes.headersTooLarge = state.headerBytes > MaximumHeaderBytes;
    return state.notes.headersTooLarge ? 0 : count;
}

/// curl looks whether a kept connection is still open before it uses it, and so takes a new one for
/// every request when the server closed the old one meanwhile. When the connection breaks after the
/// request went out, without a byte of an answer, curl sends whatever it was again. The server may
/// have acted on it by then, so only a GET may pass here a second time.
int HttpClient::State::BeforeSending(void* self, char*, char*, int, int)
{
    State& state = *static_cast<State*>(self);
    if (++state.sends == 1 || state.mayBeSentAgain)
        return CURL_PREREQFUNC_OK;
    state.notes.refusedToSendAgain = true;
    return CURL_PREREQFUNC_ABORT;
}

void HttpClient::State::ThrowIfStopped(const std::stop_token& token) const
{
    if (canceled || token.stop_requested())
        throw OV::InterruptedException();
}

void HttpClient::State::Pause(std::chrono::seconds time, const std::stop_token& token) const
{
    const auto end = std::chrono::steady_clock::now() + time;
    for (auto now = std::chrono::steady_clock::now(); now < end;
         now = std::chrono::steady_clock::now()) {
        ThrowIfStopped(token);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        // Ends early when it is woken for an interruption.
        if (curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(left.count()), nullptr) !=
            CURLM_OK)
            throw std::bad_alloc();
    }
    ThrowIfStopped(token);
}

std::uint64_t HttpClient::State::MovedBytes() const
{
    curl_off_t sent = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    return headerBytes + body.size() + static_cast<std::uint64_t>(sent);
}

std::optional<int> HttpClient::State::TimeToWait()
{
    const auto now = std::chrono::steady_clock::now();
    deadline.Note(MovedBytes(), now);
    if (now >= deadline.End())
        return std::nullopt;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline.End() - now);
    const int longest = sends == 0 ? ConnectingMilliseconds : WaitMilliseconds;
    return static_cast<int>(std::min<std::int64_t>(left.count(), longest));
}

CURLcode HttpClient::State::Drive(const std::stop_token& token)
{
    for (int running = 1;;) {
        if (curl_multi_perform(multi.get(), &running) != CURLM_OK)
            return CURLE_OUT_OF_MEMORY;
        if (running == 0)
            break;
        ThrowIfStopped(token);
        const std::optional<int> wait = TimeToWait();
        if (!wait)
            return CURLE_OPERATION_TIMEDOUT;
        // A wake-up that comes before the wait ends it at once.
        if (curl_multi_poll(multi.get(), nullptr, 0, *wait, nullptr) != CURLM_OK)
            return CURLE_OUT_OF_MEMORY;
    }
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(multi.get(), &left);
    const CURLcode result = message ? message->data.result : CURLE_OUT_OF_MEMORY;
    // curl takes an answer that breaks off between two header lines for one without a body.
    return result == CURLE_OK && !headEnded ? CURLE_PARTIAL_FILE : result;
}

HttpClient::HttpClient(ServerAddress address, HttpOptions options)
    : address_(std::move(address)), state_(std::make_unique<State>(address_, options))
{}

HttpClient::~HttpClient() = default;

void HttpClient::ThrowIfUnusable() const
{
    if (!IsPlainHost(address_.host) || address_.port == 0)
        throw ConnectionException(u"\"" + address_.host + u"\" with port " +
                                  OV::ToText(address_.port) +
                                  u" is no server. Check the server's name and port.");
    // curl would ask for another name than the one whose certificate and trust are looked at.
    if (std::any_of(address_.host.begin(), address_.host.end(),
                    [](char16_t unit) { return unit > 0x7F; }))
        throw ConnectionException(u"\"" + address_.host +
                                  u"\" has letters that the names of computers do not have. Give "
                                  u"its international form, which begins with \"xn--\".");
    if (address_.secure || state_->isLoopback || state_->options.allowPlainHttp)
        return;
    const UntrustedServer server{address_.host, address_.port, {TrustProblem::ClearText}, {}, {}};
    (void)ServerTrust::GetInstance().Settle(server);
    throw UntrustedServerException(server);
}

void HttpClient::SendLast(HttpRequest request) noexcept
{
    try {
        state_->ThrowIfStopped({});
        curl_easy_setopt(
            state_->easy.get(), CURLOPT_OPENSOCKETFUNCTION,
            +[](void*, curlsocktype, curl_sockaddr*) -> curl_socket_t { return CURL_SOCKET_BAD; });
        request.timeoutMilliseconds = 1;
        (void)PerformOnce(request, {});
    } catch (const OV::Exception&) {
        // The server forgets by itself, only later.
    } catch (const std::exception&) {
    }
    curl_easy_setopt(state_->easy.get(), CURLOPT_OPENSOCKETFUNCTION, nullptr);
}

UntrustedServer HttpClient::ReadCertificate()
{
    HttpClient look({address_.host, address_.port, true}, state_->options);
    look.ThrowIfUnusable();
    HttpRequest request;
    request.target = "/";
    look.state_->check.OnlyLook();
    try {
        (void)look.PerformOnce(request, OV::Thread::CurrentToken());
    } catch (const UntrustedServerException& shown) {
        if (!shown.GetServer().certificate.fingerprint.empty())
            return shown.GetServer();
        throw;
    }
    throw ConnectionException(u"Server " + address_.host + u" shows no certificate.");
}

HttpResponse HttpClient::Perform(const HttpRequest& request)
{
    using std::chrono::seconds;
    ThrowIfUnusable();
    State& state = *state_;
    CURLM* const multi = state.multi.get();
    const std::stop_token token = OV::Thread::CurrentToken();
    state.ThrowIfStopped(token);
    const std::stop_callback wake(token, [multi] { curl_multi_wakeup(multi); });

    seconds waited{0};
    for (int tries = 1;; ++tries) {
        HttpResponse response = PerformTrusted(request, token);
        const seconds wait{response.retryAfterSeconds};
        const bool isBusy = response.status == 429 || response.status == 503;
        if (!isBusy || wait == seconds(0) || tries == MaximumTries ||
            waited + wait > std::chrono::milliseconds(state.options.requestTimeoutMilliseconds))
            return response;
        state.Pause(wait, token);
        waited += wait;
    }
}

/// Asks the user at most once: what he trusts then is what the server showed.
HttpResponse HttpClient::PerformTrusted(const HttpRequest& request, const std::stop_token& token)
{
    try {
        return PerformOnce(request, token);
    } catch (const UntrustedServerException& refusal) {
        if (!ServerTrust::GetInstance().Settle(refusal.GetServer()))
            throw;
    }
    return PerformOnce(request, token);
}

HttpResponse HttpClient::PerformOnce(const HttpRequest& request, std::stop_token token)
{
    State& state = *state_;
    CURLM* const multi = state.multi.get();
    state.Prepare(request);
    curl_multi_add_handle(multi, state.easy.get());
    // Removing the handle in the middle of a transfer closes its connection.
    const auto remove = [multi](CURL* easy) { curl_multi_remove_handle(multi, easy); };
    const std::unique_ptr<CURL, decltype(remove)> added(state.easy.get(), remove);

    if (const CURLcode code = state.Drive(token); code != CURLE_OK) {
        if (const auto& refused = state.check.GetRefused())
            throw UntrustedServerException(*refused);
        Detail::ThrowTransferFailure(code, state.notes, address_, request, state.errorText.data());
    }
    long status = 0;
    curl_easy_getinfo(state.easy.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_off_t retryAfter = 0;
    curl_easy_getinfo(state.easy.get(), CURLINFO_RETRY_AFTER, &retryAfter);
    constexpr curl_off_t longest = std::numeric_limits<std::int32_t>::max();
    return {static_cast<int>(status), std::move(state.body),
            static_cast<std::uint32_t>(std::clamp<curl_off_t>(retryAfter, 0, longest))};
}

void HttpClient::Cancel()
{
    state_->canceled = true;
    curl_multi_wakeup(state_->multi.get());
}

void PrepareTransport()
{
    Detail::InitialiseCurl();
}

}  // namespace Communication
