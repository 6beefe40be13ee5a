#include "PerformanceData.hpp"

#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <algorithm>

namespace {

constexpr auto TransferMember = [](auto& stream, auto& member) {
    stream.Utf8(member.first);
    stream.Utf8(member.second);
};

constexpr auto TransferPoint = [](auto& stream, auto& point) {
    OV::TransferFields(stream, point.first, point.second);
};

/// The two counts stand in the other order than in the record.
constexpr auto TransferProject = [](auto& stream, auto& project) {
    stream.Utf8(project.title);
    stream.Utf8(project.key);
    OV::TransferFields(stream, project.flag, project.countB, project.countA);
    stream.Elements(project.members, TransferMember);
};

constexpr auto TransferChartLine = [](auto& stream, auto& line) {
    stream(line.type);
    stream.Utf8(line.name);
    stream.Utf8(line.unit);
    for (auto& flag : line.flags)
        stream(flag);
    for (auto& value : line.values)
        stream(value);
    stream.Elements(line.points, TransferPoint);
};

template <class Table, class Key>
const auto& Require(const Table& table, const Key& key)
{
    const auto found = table.find(key);
    if (found == table.end())
        throw OV::IllegalReferenceException("The statistics hold no such record.");
    return found->second;
}

template <class List>
std::int16_t Count(const List& list)
{
    return static_cast<std::int16_t>(std::min<std::size_t>(list.size(), 0x7FFF));
}

template <class List, class Table>
List Values(const Table& table)
{
    List values;
    for (const auto& [key, value] : table)
        values.push_back(value);
    return values;
}

}  // namespace

const ProjectCache& PerformanceData::GetProject(const OV::UniString& key) const
{
    return Require(projects_, key);
}

void PerformanceData::UpdateProject(ProjectCache project)
{
    auto& place = projects_[project.key];
    place = std::move(project);
}

OV::Array<ProjectCache> PerformanceData::GetProjectCache() const
{
    return Values<OV::Array<ProjectCache>>(projects_);
}

void PerformanceData::SetProjectCache(const OV::Array<ProjectCache>& projects)
{
    projects_.clear();
    for (const auto& project : projects)
        UpdateProject(project);
}

const ChartDataLine& PerformanceData::GetChartLine(ChartType type) const
{
    return Require(chartLines_, type);
}

void PerformanceData::AddChartLine(ChartDataLine line)
{
    const ChartType type = line.type;
    chartLines_.try_emplace(type, std::move(line));
}

void PerformanceData::SetChartLine(ChartDataLine line)
{
    const ChartType type = line.type;
    chartLines_.insert_or_assign(type, std::move(line));
}

OV::PagedArray<ChartDataLine> PerformanceData::GetChartLines() const
{
    return Values<OV::PagedArray<ChartDataLine>>(chartLines_);
}

void PerformanceData::SetChartLines(const OV::PagedArray<ChartDataLine>& lines)
{
    chartLines_.clear();
    for (const auto& line : lines)
        SetChartLine(line);
}

void PerformanceData::UpdateProjectMembers(Syncra::Client::SyncraClient& client,
                                           ProjectCache& project)
{
    project.members =
        Syncra::Server::ManagementTool::Core::UserUtils::GetMemberList(client, project.key);
    project.countA = Count(project.members);
}

bool PerformanceData::UpdateProjectCache(const OV::UniString& host, std::int16_t port,
                                         const OV::UniString& user, const OV::Secret& password)
{
    const auto number = static_cast<std::uint16_t>(port);
    try {
        Refresh({SYCB::ConnectionValidator::GetInstance().GetWorkingHost(host, number), number,
                 user, password});
        return true;
    } catch (const OV::InterruptedException&) {
        return false;
    }
}

void PerformanceData::Refresh(const Syncra::Client::SignInData& server)
{
    OV::Thread::ThrowIfInterrupted();
    connection_.client = SYCB::CreateSyncraClient(server);
    auto& client = *connection_.client;
    OV::Thread::ThrowIfInterrupted();
    for (const auto& known : client.GetProjects()) {
        OV::Thread::ThrowIfInterrupted();
        ProjectCache project = HasProject(known.id) ? GetProject(known.id) : ProjectCache();
        project.title = known.name;
        project.key = known.id;
        project.flag = known.state == Syncra::Protocol::ProjectState::Active ? 1 : 0;
        UpdateProjectMembers(client, project);
        OV::Thread::ThrowIfInterrupted();
        project.countB =
            project.members.empty() ? std::int16_t(0) : Count(client.GetAllSessions(known.id));
        UpdateProject(std::move(project));
    }
}

OV::ChannelStatus PerformanceData::Read(OV::IChannel& channel)
{
    projects_.clear();
    chartLines_.clear();
    OV::FieldReader stream(channel);
    std::uint32_t version = 0;
    stream(version);
    if (stream.Status() != OV::ChannelOk)
        return stream.Status();
    if (version != StreamVersion)
        throw OV::Exception("Invalid cache version.");
    OV::Array<ProjectCache> projects;
    stream.Elements(projects, TransferProject);
    for (auto& project : projects)
        UpdateProject(std::move(project));
    OV::Array<ChartDataLine> lines;
    stream.Elements(lines, TransferChartLine);
    for (auto& line : lines)
        SetChartLine(std::move(line));
    return stream.Status();
}

OV::ChannelStatus PerformanceData::Write(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel);
    stream(StreamVersion);
    stream.Elements(projects_,
                    [](auto& each, const auto& entry) { TransferProject(each, entry.second); });
    stream.Elements(chartLines_,
                    [](auto& each, const auto& entry) { TransferChartLine(each, entry.second); });
    return stream.Status();
}
