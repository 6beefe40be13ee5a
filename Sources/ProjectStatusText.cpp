#include "ProjectStatusText.hpp"

#include "CachedProjectInfo.hpp"
#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

namespace {

enum class Word : int {
    None = 0,
    JoinedUnsentChanges = 7,
    OfflineSuffix = 8,
    Joined = 9,
    Detached = 10,
    DeletedFromServer = 11,
    Traveling = 12,
    UnsentChanges = 13,
};

OV::UniString TextOf(Word word)
{
    if (word == Word::None)
        return {};
    return OV::GetStringListItem(TextLists::ProjectWords, static_cast<int>(word));
}

Word StateOf(const ProjectStatusFacts& facts)
{
    if (facts.deletedFromServer)
        return Word::DeletedFromServer;
    if (facts.detached)
        return Word::Detached;
    if (facts.travelPackageCreated)
        return Word::Traveling;
    return facts.joined ? Word::Joined : Word::None;
}

}  // namespace

OV::UniString GetProjectStateWord(const ProjectStatusFacts& facts)
{
    return TextOf(StateOf(facts));
}

OV::UniString GetUnsentChangesText(const ProjectStatusFacts& facts)
{
    return TextOf(facts.unsentChanges ? Word::UnsentChanges : Word::None);
}

OV::UniString GetProjectStatusText(const ProjectStatusFacts& facts)
{
    const Word state = StateOf(facts);
    if (state == Word::None)
        return {};
    const bool namesChanges = state == Word::Joined && facts.unsentChanges;
    const bool namesOffline = state != Word::DeletedFromServer && facts.offline;
    return TextOf(namesChanges ? Word::JoinedUnsentChanges : state) +
           TextOf(namesOffline ? Word::OfflineSuffix : Word::None);
}

ProjectStatusFacts GetCachedProjectFacts(const CachedProjectInfo& cache)
{
    ProjectStatusFacts facts;
    facts.joined = true;
    facts.detached = cache.IsProjectDetached();
    facts.travelPackageCreated = cache.IsTravelPackageCreated();
    facts.unsentChanges = cache.IsChanges();
    facts.offline = cache.IsProjectForcedOffline();
    return facts;
}

OV::UniString GetServerStateText(Syncra::Protocol::ProjectState state)
{
    using Syncra::Protocol::ProjectState;
    switch (state) {
    case ProjectState::Locked:
        return u"locked";
    case ProjectState::Maintenance:
        return u"under maintenance";
    case ProjectState::Active:
        return u"active";
    }
    return u"unknown";
}

}  // namespace SYC
