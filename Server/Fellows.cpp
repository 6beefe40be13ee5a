#include "Fellows.hpp"

#include "OVRoot/Guid.hpp"

#include <utility>

namespace Nexar {

namespace {

/// What changes within that time is written together.
constexpr std::chrono::milliseconds Gathering{20};
constexpr std::chrono::milliseconds RetryPause{500};
/// A lease is renewed so many times before it would be over.
constexpr int RenewalsOfLease = 3;

const std::string Owner = "@fellows";

}  // namespace

Fellows::Fellows(HttpServer& server, StoreWorkers& workers, Database& database,
                 PresenceBoard& board, Tokens& tokens, std::chrono::seconds lease,
                 std::chrono::milliseconds grace)
    : server_(server), workers_(workers), database_(database), board_(board),
      tokens_(dynamic_cast<TokenStore*>(&tokens)), refused_(database), lease_(lease), grace_(grace),
      id_(OV::ToUtf8(OV::Guid::Generate().ToText()))
{
    if (!database.IsShared())
        return;
    board_.SetChange(
        [this](const std::string& projectId, const std::string& login, bool isPresent) {
            changes_[{projectId, login}] = isPresent;
            WriteSoon();
        });
    news_ = database.MakeNews("presence", [this](const std::vector<std::string>& projectIds) {
        server_.Post([this, projectIds] {
            isAllUnread_ = isAllUnread_ || projectIds.empty();
            unread_.insert(projectIds.begin(), projectIds.end());
            ReadSoon();
        });
    });
    RenewLater(std::chrono::milliseconds(0));
}

Fellows::~Fellows() = default;

void Fellows::RenewLater(std::chrono::milliseconds wait)
{
    renewing_ = server_.After(wait, [this] {
        WithMemory([this] { RenewLater(lease_ / RenewalsOfLease); }, FewAttempts);
        isDue_ = true;
        Write();
        // What no news told of, since their teller died or a lease was over.
        isAllUnread_ = true;
        ReadSoon();
    });
}

void Fellows::WriteSoon()
{
    if (!gathering_ && !stopping_)
        gathering_ = server_.After(Gathering, [this] {
            gathering_.reset();
            Write();
        });
}

void Fellows::Write()
{
    if (isWriting_ || (changes_.empty() && !isDue_))
        return;
    isWriting_ = true;
    const auto changes = std::make_shared<const Changes>(std::exchange(changes_, {}));
    const auto isNew = std::make_shared<bool>(false);
    const bool cleansUp = std::exchange(isDue_, false);
    try {
        workers_.Write(
            Owner,
            [this, changes, isNew, cleansUp] {
                *isNew = Renew(lease_.count());
                Put(*changes);
                if (!cleansUp)
                    return;
                database_.Prepare("DELETE FROM processes WHERE lives_until < unixepoch() /* all */")
                    .Run();
                tokens_->CleanUp();
                refused_.CleanUp();
            },
            [this, changes, isNew](const std::exception_ptr& error) {
                Written(error, *changes, *isNew);
            });
    } catch (...) {
        Written(std::current_exception(), *changes, false);
    }
}

void Fellows::Written(const std::exception_ptr& error, const Changes& changes, bool isNew)
{
    isWriting_ = false;
    if (error) {
        // What changed meanwhile is newer.
        changes_.insert(changes.begin(), changes.end());
        if (!stopping_)
            gathering_ = server_.After(RetryPause, [this] {
                gathering_.reset();
                Write();
            });
        return;
    }
    for (const auto& [change, isPresent] : changes)
        news_->Tell(change.first);
    // The others gave up what this process held while it did not run: it holds it again.
    if (isNew)
        for (const auto& [projectId, logins] : board_.Here())
            for (const auto& login : logins)
                changes_.try_emplace({projectId, login}, true);
    if (!changes_.empty())
        WriteSoon();
}

bool Fellows::Renew(std::int64_t seconds)
{
    auto renew =
        database_.Prepare("UPDATE processes SET lives_until = unixepoch() + $2 WHERE id = $1");
    if (renew.Bind(1, id_).Bind(2, seconds).Run() != 0)
        return false;
    database_.Prepare("INSERT INTO processes (id, lives_until) VALUES ($1, unixepoch() + $2)")
        .Bind(1, id_)
        .Bind(2, seconds)
        .Run();
    return true;
}

void Fellows::Put(const Changes& changes)
{
    auto come = database_.Prepare("INSERT INTO presence (process_id, project_id, login) "
                                  "VALUES ($1, $2, $3) ON CONFLICT DO NOTHING");
    auto go = database_.Prepare(
        "DELETE FROM presence WHERE process_id = $1 AND project_id = $2 AND login = $3");
    for (const auto& [change, isPresent] : changes)
        (isPresent ? come : go)
            .Bind(1, id_)
            .Bind(2, change.first)
            .Bind(3, change.second)
            .RunLater();
}

void Fellows::ReadSoon()
{
    if (!isReading_ && !stopping_)
        Read();
}

void Fellows::Read()
{
    isReading_ = true;
    const bool isAll = std::exchange(isAllUnread_, false);
    const auto projects = std::make_shared<std::set<std::string>>(std::exchange(unread_, {}));
    if (isAll)
        projects->clear();
    const auto found = std::make_shared<PresenceBoard::Present>();
    const auto then = [this, isAll, projects, found](const std::exception_ptr& error) {
        isReading_ = false;
        if (error)
            isAllUnread_ = true;  // read when the lease is renewed
        else if (isAll)
            board_.SetElsewhere(std::move(*found));
        else
            for (const auto& projectId : *projects)
                board_.SetElsewhere(projectId, std::move((*found)[projectId]));
        if (!error && (isAllUnread_ || !unread_.empty()))
            ReadSoon();
    };
    try {
        workers_.Read(
            Owner, [this, projects, found] { *found = PresentElsewhere(*projects); }, then);
    } catch (...) {
        then(std::current_exception());
    }
}

/// In these projects, or in all when there are none of them.
PresenceBoard::Present Fellows::PresentElsewhere(const std::set<std::string>& projects)
{
    PresenceBoard::Present present;
    const auto add = [&](Statement& query) {
        query.Bind(1, id_);
        while (query.Step())
            present[query.Text(0)].insert(query.Text(1));
    };
    if (projects.empty()) {
        auto query = database_.Prepare(
            "SELECT h.project_id, h.login FROM presence h JOIN processes p ON p.id = h.process_id "
            "WHERE p.id <> $1 AND p.lives_until >= unixepoch()");
        add(query);
    }
    for (const auto& projectId : projects) {
        auto query = database_.Prepare(
            "SELECT h.project_id, h.login FROM presence h JOIN processes p ON p.id = h.process_id "
            "WHERE p.id <> $1 AND p.lives_until >= unixepoch() AND h.project_id = $2");
        query.Bind(2, projectId);
        add(query);
    }
    return present;
}

void Fellows::Stop()
{
    stopping_ = true;
    renewing_.reset();
    gathering_.reset();
    if (!news_)
        return;
    const auto left = std::chrono::ceil<std::chrono::seconds>(grace_).count();
    RunGuarded([&] {
        workers_.Write(
            Owner, [this, left] { (void)Renew(left); }, [](const std::exception_ptr&) {});
    });
}

}  // namespace Nexar
