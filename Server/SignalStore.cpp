#include "SignalStore.hpp"

#include "Http.hpp"

#include <utility>

namespace Nexar {

using Syncra::Protocol::EverySignal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

constexpr std::uint64_t KeptSignals = 1000;
constexpr std::uint64_t DroppedTogether = 64;
/// In the place of a list of users: everybody.
constexpr std::string_view Anybody = "*";

std::string TextOf(const std::shared_ptr<const RaisedSignal::UserIds>& users)
{
    if (!users)
        return std::string(Anybody);
    std::string text;
    for (const auto& user : *users)
        text += user + '\n';
    return text;
}

std::shared_ptr<const RaisedSignal::UserIds> UsersOf(std::string_view text)
{
    if (text == Anybody)
        return nullptr;
    const auto users = std::make_shared<RaisedSignal::UserIds>();
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        users->insert(std::string(text.substr(0, end)));
        text.remove_prefix(end + 1);
    }
    return users;
}

bool IsAboutMembers(SignalId id)
{
    return id == SignalId::MembersChanged || id == SignalId::SessionsChanged;
}

}  // namespace

bool SignalStore::Add(RaisedSignal& raised)
{
    const auto projectId = OV::ToUtf8(raised.signal.projectId);
    {
        auto next = database_.Prepare("UPDATE projects SET last_signal = last_signal + 1 "
                                      "WHERE id = $1 RETURNING last_signal");
        if (!next.Bind(1, projectId).Step())
            return false;
        raised.signal.sequence = static_cast<std::uint64_t>(next.Number(0));
        next.Run();
    }
    const auto number = static_cast<std::int64_t>(raised.signal.sequence);
    database_
        .Prepare("INSERT INTO signals (project_id, sequence, id, audience, changed) "
                 "VALUES ($1, $2, $3, $4, $5)")
        .Bind(1, projectId)
        .Bind(2, number)
        .Bind(3, static_cast<std::int64_t>(raised.signal.id))
        .Bind(4, TextOf(raised.audience))
        .Bind(5, TextOf(raised.changed))
        .Run();
    if (raised.signal.sequence % DroppedTogether == 0)
        database_.Prepare("DELETE FROM signals WHERE project_id = $1 AND sequence <= $2")
            .Bind(1, projectId)
            .Bind(2, number - static_cast<std::int64_t>(KeptSignals))
            .Run();
    return true;
}

std::optional<SignalStore::Found> SignalStore::After(const std::string& projectId,
                                                     std::uint64_t after)
{
    Found found;
    {
        auto last = database_.Prepare("SELECT last_signal FROM projects WHERE id = $1");
        if (!last.Bind(1, projectId).Step())
            return std::nullopt;
        found.last = static_cast<std::uint64_t>(last.Number(0));
    }
    found.isIncomplete = after > found.last || found.last - after > KeptSignals;
    if (found.isIncomplete || after == found.last)
        return found;
    auto query = database_.Prepare("SELECT sequence, id, audience, changed FROM signals "
                                   "WHERE project_id = $1 AND sequence > $2 ORDER BY sequence");
    query.Bind(1, projectId).Bind(2, static_cast<std::int64_t>(after));
    while (query.Step())
        found.signals.push_back({{static_cast<std::uint64_t>(query.Number(0)),
                                  static_cast<SignalId>(query.Number(1)), OV::FromUtf8(projectId)},
                                 UsersOf(query.View(2)),
                                 UsersOf(query.View(3))});
    // Those of a former life of the store are not there.
    found.isIncomplete = found.signals.size() != found.last - after;
    return found;
}

SignalBatch SignalStore::BatchAfter(const std::string& projectId, const std::string& userId,
                                    std::uint64_t after)
{
    SignalBatch batch;
    const auto found = After(projectId, after);
    if (!found)
        return batch;
    batch.next = found->last;
    if (found->isIncomplete && after < found->last)
        for (const auto id : EverySignal)
            batch.events.push_back({found->last, id, OV::FromUtf8(projectId)});
    else
        for (const auto& raised : found->signals)
            if (raised.IsFor(userId))
                batch.events.push_back(raised.signal);
    return batch;
}

SignalStore::MembersChanged SignalStore::MembersChangedAfter(const std::string& projectId,
                                                             const std::string& place)
{
    const auto after = ReadNumber(place);
    const auto found = After(projectId, after.value_or(0));
    MembersChanged result{std::nullopt, std::to_string(found ? found->last : 0)};
    if (!after || !found || found->isIncomplete)
        return result;
    RaisedSignal::UserIds since;
    for (const auto& raised : found->signals) {
        if (!IsAboutMembers(raised.signal.id))
            continue;
        if (!raised.changed)
            return result;
        since.insert(raised.changed->begin(), raised.changed->end());
    }
    result.since = std::move(since);
    return result;
}

}  // namespace Nexar
