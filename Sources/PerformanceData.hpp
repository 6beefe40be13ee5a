#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"
#include "OVRoot/Ref.hpp"
#include "OVRoot/Secret.hpp"
#include "Statistics/ChartDataLine.hpp"
#include "Statistics/ProjectCache.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <map>

/// The statistics of a server: what is known of each project, and the lines of its charts. A value;
/// whoever shares one guards it.
class SYC_API PerformanceData {
public:
    /// Whether there is a record of that key.
    [[nodiscard]] bool HasProject(const OV::UniString& key) const
    {
        return projects_.contains(key);
    }
    /// Throws OV::IllegalReferenceException for an unknown project.
    [[nodiscard]] const ProjectCache& GetProject(const OV::UniString& key) const;
    /// Replaces the record of the same key, or adds it.
    void UpdateProject(ProjectCache project);
    /// In the order of their keys.
    [[nodiscard]] OV::Array<ProjectCache> GetProjectCache() const;
    /// Replaces all of them.
    void SetProjectCache(const OV::Array<ProjectCache>& projects);

    /// The name that callers know it by.
    using ChartType = ::ChartType;
    /// Whether there is a line of that type.
    [[nodiscard]] bool HasChartLine(ChartType type) const { return chartLines_.contains(type); }
    /// Throws OV::IllegalReferenceException for an unknown type.
    [[nodiscard]] const ChartDataLine& GetChartLine(ChartType type) const;
    /// Keeps the line that is there already.
    void AddChartLine(ChartDataLine line);
    /// Replaces the line of its type, or adds it.
    void SetChartLine(ChartDataLine line);
    /// In the order of their types.
    [[nodiscard]] OV::PagedArray<ChartDataLine> GetChartLines() const;
    /// Replaces all of them; of one type the last counts.
    void SetChartLines(const OV::PagedArray<ChartDataLine>& lines);

    /// Asks the server for its projects and their members, and stores project by project what it
    /// tells. Blocks for a request or two for each project, each at most as long as HttpOptions
    /// allow. False, within 100 ms, when the calling thread was interrupted; what was stored until
    /// then stays, as it does when a request fails, which throws as the requests of SyncraClient
    /// do. `port` is that of the model service, above 32767 a negative number.
    bool UpdateProjectCache(const OV::UniString& host, std::int16_t port, const OV::UniString& user,
                            const OV::Secret& password);
    /// Asks for the record's members anew, on the connection of the last UpdateProjectCache of this
    /// object; a copy has none. Throws as the requests of SyncraClient do,
    /// OV::NullReferenceException without a connection.
    void UpdateProjectMembers(ProjectCache& project)
    {
        UpdateProjectMembers(*connection_.client, project);
    }
    /// The same on another connection.
    static void UpdateProjectMembers(Syncra::Client::SyncraClient& client, ProjectCache& project);

    /// The version that Write writes and Read reads.
    static constexpr std::uint32_t StreamVersion = 3;
    /// The stream of that version. Drops what was there; another version throws OV::Exception
    /// ("Invalid cache version."), a stream that ends early gives what stands before its end and
    /// fails.
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel);
    /// The stream of that version; 0, or OV::ChannelFailed.
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const;

    friend bool operator==(const PerformanceData&, const PerformanceData&) = default;

private:
    /// It belongs to the object, not to its value.
    struct Connection {
        Connection() = default;
        Connection(const Connection&) noexcept {}
        Connection& operator=(const Connection&) noexcept { return *this; }
        ~Connection() = default;
        friend bool operator==(const Connection&, const Connection&) noexcept { return true; }

        OV::Ref<Syncra::Client::SyncraClient> client;
    };

    void Refresh(const Syncra::Client::SignInData& server);

    std::map<OV::UniString, ProjectCache> projects_;
    std::map<ChartType, ChartDataLine> chartLines_;
    Connection connection_;
};
