#include "ManagementTool/UserUtils.hpp"

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Resources.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core::UserUtils {

namespace {

struct Unit {
    std::int64_t seconds;
    int singular;  ///< in the list; the plural follows it
};

/// From the longest down.
constexpr Unit Units[] = {{7 * 86400, 19}, {86400, 17}, {3600, 15}, {60, 13}};

}  // namespace

OV::UniString GetLastActivityText(std::int32_t time)
{
    if (time == 0)
        return {};
    const auto age = std::max<std::int64_t>(0, std::int64_t(OV::Clock::Current().Now()) - time);
    const Unit* unit = std::find_if(std::begin(Units), std::end(Units) - 1,
                                    [&](const Unit& each) { return age >= each.seconds; });
    const auto count = age / unit->seconds;
    return OV::FormatText(
        OV::GetStringListItem(SYC::TextLists::ActivityLog, unit->singular + (count == 1 ? 0 : 1)),
        {count});
}

bool IsOutOfReach(const Communication::ResponseContentException& refusal) noexcept
{
    const auto code = static_cast<Protocol::ErrorCode>(refusal.GetErrorCode());
    return code == Protocol::ErrorCode::AccessDenied || code == Protocol::ErrorCode::NotFound;
}

OV::Array<OV::Pair<OV::UniString, OV::UniString>> GetMemberList(Client::SyncraClient& client,
                                                                const OV::UniString& projectId)
{
    OV::Array<OV::Pair<OV::UniString, OV::UniString>> list;
    try {
        for (const auto& member : client.GetProjectMembersEx(projectId, {}).members)
            list.emplace_back(member.loginName, member.roleName);
    } catch (const Communication::ResponseContentException& refusal) {
        if (!IsOutOfReach(refusal))
            throw;
    }
    return list;
}

}  // namespace Syncra::Server::ManagementTool::Core::UserUtils
