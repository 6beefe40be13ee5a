#include "Http.hpp"

#include "Guarded.hpp"

#include "OVRoot/PercentCoding.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Nexar {

namespace {

std::string_view TakeUntil(std::string_view& rest, char separator)
{
    const auto cut = std::min(rest.find(separator), rest.size());
    const auto piece = rest.substr(0, cut);
    rest.remove_prefix(std::min(cut + 1, rest.size()));
    return piece;
}

bool ParseQuery(std::string_view query, HttpRequest& request)
{
    while (!query.empty()) {
        std::string_view value = TakeUntil(query, '&');
        const auto key = OV::PercentDecode(TakeUntil(value, '='));
        auto decoded = OV::PercentDecode(value);
        if (!key || !decoded)
            return false;
        request.query[*key] = *std::move(decoded);
    }
    return true;
}

}  // namespace

Reply::State::~State()
{
    if (completion)
        RunGuarded([this] {
            Complete(ErrorResponse(500,
                                   static_cast<int>(Syncra::Protocol::ErrorCode::InternalError),
                                   "The server failed to answer this request."));
        });
    // Without memory for the words the number says it.
    if (completion)
        RunGuarded([this] { Complete({500, {}}); });
}

void Reply::State::Complete(HttpResponse response)
{
    if (auto complete = std::exchange(completion, nullptr)) {
        gone = nullptr;
        complete(std::move(response));
    }
}

void Reply::State::Abandon()
{
    completion = nullptr;
    if (auto run = std::exchange(gone, nullptr))
        run();
}

std::function<void()> Reply::MakeAbandon() const
{
    return [state = std::weak_ptr(state_)] {
        if (const auto alive = state.lock())
            alive->Abandon();
    };
}

HttpResponse ErrorResponse(int status, std::int32_t code, std::string_view message)
{
    using namespace Syncra::Protocol;
    return {status, WriteJson(RefusalBody{code, OV::FromUtf8(message)})};
}

std::optional<std::uint64_t> ReadNumber(std::string_view text)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

bool ParseTarget(std::string_view target, HttpRequest& request)
{
    std::string_view path = TakeUntil(target, '?');
    if (path.empty() || path.front() != '/')
        return false;
    path.remove_prefix(1);
    constexpr std::size_t usualDepth = 8;
    request.path.reserve(usualDepth);
    while (!path.empty()) {
        auto component = OV::PercentDecode(TakeUntil(path, '/'));
        if (!component || component->empty())
            return false;
        request.path.push_back(*std::move(component));
    }
    return ParseQuery(target, request);
}

}  // namespace Nexar
