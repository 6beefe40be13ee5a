#include "PresenceBoard.hpp"

#include "Guarded.hpp"

#include <utility>

namespace Nexar {

std::shared_ptr<void> PresenceBoard::Enter(const std::string& projectId, const std::string& login)
{
    const auto [place, isNew] = projects_[projectId].try_emplace(login);
    auto leave = [projectId = projectId, login = login](PresenceBoard* board) {
        board->Leave(projectId, login);
    };
    ++place->second.requests;
    // The pointer is only there to be dropped.
    std::shared_ptr<void> here(this, std::move(leave));
    place->second.leaving.reset();
    if (isNew)
        Tell(projectId, login, true);
    return here;
}

void PresenceBoard::Leave(const std::string& projectId, const std::string& login)
{
    Presence& presence = projects_[projectId][login];
    if (--presence.requests > 0 || stopping_)
        return;
    try {
        presence.leaving =
            server_.After(grace_, [this, projectId, login] { TakeOff(projectId, login); });
    } catch (const std::bad_alloc&) {
        RunGuarded([&] { TakeOff(projectId, login); });  // at once, or he would stay here for ever
    }
}

void PresenceBoard::TakeOff(const std::string& projectId, const std::string& login)
{
    projects_[projectId].erase(login);
    Tell(projectId, login, false);
}

void PresenceBoard::Tell(const std::string& projectId, const std::string& login, bool isPresent)
{
    if (change_)
        change_(projectId, login, isPresent);
    if (observer_)
        observer_(projectId);
}

PresenceBoard::Present PresenceBoard::Here() const
{
    Present present;
    for (const auto& [projectId, project] : projects_)
        for (const auto& [login, presence] : project)
            present[projectId].insert(login);
    return present;
}

void PresenceBoard::SetElsewhere(const std::string& projectId, Logins logins)
{
    if (std::exchange(elsewhere_[projectId], std::move(logins)) != elsewhere_[projectId] &&
        observer_)
        observer_(projectId);
}

void PresenceBoard::SetElsewhere(Present present)
{
    for (const auto& [projectId, logins] : elsewhere_)
        present.try_emplace(projectId);
    for (auto& [projectId, logins] : present)
        SetElsewhere(projectId, std::move(logins));
    std::erase_if(elsewhere_, [](const auto& each) { return each.second.empty(); });
}

void PresenceBoard::Collect(const std::string& projectId, std::set<std::string>& logins) const
{
    if (const auto project = projects_.find(projectId); project != projects_.end())
        for (const auto& [login, presence] : project->second)
            logins.insert(login);
    if (const auto others = elsewhere_.find(projectId); others != elsewhere_.end())
        logins.insert(others->second.begin(), others->second.end());
}

std::map<std::string, std::uint32_t> PresenceBoard::Counts() const
{
    std::map<std::string, std::uint32_t> counts;
    for (const auto& [projectId, present] : projects_)
        if (!present.empty())
            counts.emplace(projectId, static_cast<std::uint32_t>(present.size()));
    return counts;
}

void PresenceBoard::SetObserver(std::function<void(const std::string& projectId)> observer)
{
    observer_ = std::move(observer);
}

void PresenceBoard::Stop()
{
    stopping_ = true;
    for (auto& [id, project] : projects_)
        for (auto& [login, presence] : project)
            presence.leaving.reset();
}

}  // namespace Nexar
