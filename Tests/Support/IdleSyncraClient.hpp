#pragma once

#include "SyncraClient/SyncraClient.hpp"

/// A project server with nothing in it. A test derives from it and answers what it is about.
class IdleSyncraClient : public Syncra::Client::SyncraClient {
public:
    OV::Array<Syncra::Protocol::Project> GetProjects() override { return {}; }
    bool IsMember(const OV::UniString&) override { return false; }
    bool ProjectExists(const OV::UniString&) override { return false; }
    Syncra::Protocol::ProjectState GetProjectState(const OV::UniString&) override { return {}; }
    OV::Array<Syncra::Protocol::Session> GetSessions(const OV::UniString&) override { return {}; }
    Syncra::Protocol::Session StartSession(const OV::UniString&) override { return {}; }
    void CloseSession(const OV::UniString&) override {}
    OV::UniString GetSessionAttribute(const OV::UniString&, OV::UniStringView) override
    {
        return {};
    }
    void SetSessionAttribute(const OV::UniString&, OV::UniStringView, const OV::String&) override {}
    OV::Array<Syncra::Protocol::ServicePort> GetServicePortList() override { return {}; }
    Syncra::Protocol::MemberChanges GetProjectMembersEx(const OV::UniString&,
                                                        const OV::UniString&) override
    {
        return {};
    }
    OV::Array<Syncra::Protocol::Session> GetAllSessions(const OV::UniString&) override
    {
        return {};
    }
    std::uint64_t GetMails(const OV::UniString&, std::int32_t, const TakePage&) override
    {
        return 0;
    }
    OV::UniString SendMail(const OV::UniString&, const OV::Array<OV::UniString>&,
                           const Syncra::Protocol::Message&, const OV::UniString&) override
    {
        return {};
    }
    Syncra::Protocol::EventLogPage GetEvents(const OV::UniString&, std::int32_t, std::int32_t,
                                             std::uint64_t) override
    {
        return {};
    }
    Syncra::Protocol::EventLogPage GetPerformanceEvents(std::int32_t, std::int32_t,
                                                        std::uint64_t) override
    {
        return {};
    }
    void AddEvent(const OV::UniString&, const Syncra::Protocol::LoggedEvent&) override {}
    void DeleteMails(const OV::UniString&, const OV::Array<OV::UniString>&) override {}
    OV::Array<OV::UniString> GetDeletedMails(const OV::UniString&,
                                             const OV::Array<OV::UniString>&) override
    {
        return {};
    }
    FlagTable GetMailStatus(const OV::UniString&, std::uint64_t&) override { return {}; }
    FlagTable GetMailHistorical(const OV::UniString&, std::uint64_t&) override { return {}; }
    void SetMailStatus(const OV::UniString&, const FlagTable&) override {}
    void SetMailHistorical(const OV::UniString&, const FlagTable&) override {}
    Syncra::Protocol::SignalBatch WaitForSignals(const OV::UniString&, std::uint64_t,
                                                 std::uint32_t) override
    {
        return {};
    }
    void Cancel() override {}
};
