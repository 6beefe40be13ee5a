#include "ProjectInterface.hpp"

#include <gtest/gtest.h>

namespace {

using SYC::ProjectInterface;
using Version = ProjectInterface::Version;
using Status = ProjectInterface::Status;

TEST(ProjectInterfaceTest, AnswersNeutrallyWithoutALiveRecord)
{
    ProjectInterface project(static_cast<Version>(3));
    EXPECT_EQ(project.GetVersionString(), u"???");
    project.SetId(u"id");
    project.SetStatus(Status::Locked);
    project.SetMembers({{u"u1", u"r1"}});
    project.SetBackupSchedules({{u"s1"}});
    project.SetMaxBackupCounter(7);
    project.SetProjectCategory(u"category");
    project.SetProjectVersion(u"14");

    EXPECT_EQ(project, ProjectInterface(static_cast<Version>(3)));
    EXPECT_EQ(project.GetStatus(), Status::Active);
    ProjectInterface::ProjectMember member{u"kept", u"kept"};
    ProjectInterface::ProjectBackupSchedule schedule{u"kept"};
    EXPECT_FALSE(project.HasMember(u"u1") || project.IsMember(u"u1"));
    EXPECT_FALSE(project.GetMember(u"u1", member));
    EXPECT_FALSE(project.IsBackupSchedule(u"s1"));
    EXPECT_FALSE(project.GetBackupSchedule(u"s1", schedule));
    EXPECT_FALSE(project.IsContentEqual(project));
    EXPECT_EQ(member.id, u"kept");
    EXPECT_EQ(schedule.id, u"kept");
    // One shared empty text, so that a reference never dangles.
    EXPECT_EQ(&project.GetId(), &project.GetName());
    EXPECT_EQ(&project.GetProjectCategory(), &project.GetProjectVersion());
    EXPECT_EQ(&project.GetId(), &project.GetProjectVersion());
}

TEST(ProjectInterfaceTest, MapsStatusCodesAndKeepsUnknownOnes)
{
    const std::pair<std::int32_t, int> stored[] = {{1, 0}, {2, 1}, {3, 2}, {7, 2}, {0, 2}, {-1, 2}};
    for (const auto& [code, status] : stored) {
        ProjectInterface::V1Project record;
        record.status.state = code;
        ProjectInterface project(record);
        EXPECT_EQ(static_cast<int>(project.GetStatus()), status) << code;
        for (const int unknown : {5, 3, -1})
            project.SetStatus(static_cast<Status>(unknown));
        EXPECT_EQ(project.GetV1Project().status.state, code);
    }
    ProjectInterface project(Version::V2);
    for (const int status : {0, 1, 2}) {
        project.SetStatus(static_cast<Status>(status));
        EXPECT_EQ(project.GetProject().status.state, status + 1);
    }
}

TEST(ProjectInterfaceTest, ReachesTheLiveRecordAlone)
{
    for (const Version version : {Version::V1, Version::V2}) {
        ProjectInterface project(version);
        project.SetName(u"Bridge");
        project.SetProjectCategory(u"Civil");
        project.SetMembers({{u"u1", u"r1"}, {u"u2", u"r2"}});
        project.SetProjectVersion(u"14.0");
        const bool isV1 = version == Version::V1;
        EXPECT_EQ(project.GetVersionString(), isV1 ? u"v13" : u"v14");
        EXPECT_EQ(project.GetV1Project().name, isV1 ? u"Bridge" : u"");
        EXPECT_EQ(project.GetV2Project().name, isV1 ? u"" : u"Bridge");
        EXPECT_EQ(project.GetProjectVersion(), isV1 ? u"" : u"14.0");
        ProjectInterface::ProjectMember member;
        EXPECT_TRUE(project.GetMember(u"u2", member));
        EXPECT_EQ(member.roleId, u"r2");
        EXPECT_FALSE(project.HasMember(u"r1"));
    }
}

TEST(ProjectInterfaceTest, ComparesRecordsAndVersions)
{
    ProjectInterface::V2Project record;
    record.id = u"1";
    record.backupSchedules = {{u"s1", {}, 10}, {u"s2", {}, 20}};
    const ProjectInterface project(record);

    record.id = u"2";
    record.backupSchedules = {{u"s3", {}, 20}, {u"s4", {}, 10}};
    const ProjectInterface renumbered(record);
    EXPECT_NE(project, renumbered);
    EXPECT_TRUE(project.IsContentEqual(renumbered));

    record.backupSchedules = {{u"s3", {}, 20}, {u"s4", {}, 20}};
    EXPECT_FALSE(project.IsContentEqual(ProjectInterface(record)));
    record.version = u"14";
    EXPECT_NE(renumbered, ProjectInterface(record));

    // The V2 record is the same, and empty, in both.
    EXPECT_NE(ProjectInterface(Version::V1), ProjectInterface(Version::V2));
    ProjectInterface assigned(Version::V1);
    assigned = project;
    EXPECT_EQ(assigned, project);
}

}  // namespace
