#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"

#include <cstdint>

namespace SYCB {

/// What the client base asks of a project's cache. The protected queries take a dummy value whose
/// only job is to make an override exact: a signature that differs does not compile instead of
/// hiding one.
class SYC_API CachedProjectInfo {
public:
    virtual ~CachedProjectInfo() = default;

    [[nodiscard]] IO::Location GetCacheFolderLocation() const
    {
        return _GetCacheFolderLocation({});
    }
    [[nodiscard]] OV::Array<OV::UniString> GetCacheEntryList() const
    {
        return _GetCacheEntryList({});
    }
    [[nodiscard]] std::int32_t GetLastModificationTime() const
    {
        return _GetLastModificationTime({});
    }
    [[nodiscard]] OV::UniString GetLoginName() const { return _GetLoginName({}); }
    [[nodiscard]] std::int32_t GetLogonId() const { return _GetLogonId({}); }
    [[nodiscard]] OV::HashSet<OV::UniString> GetPermissions() const { return _GetPermissions({}); }
    [[nodiscard]] std::int16_t GetPort() const { return _GetPort({}); }
    [[nodiscard]] OV::UniString GetProjectId() const { return _GetProjectId({}); }
    [[nodiscard]] OV::UniString GetProjectName() const { return _GetProjectName({}); }
    [[nodiscard]] OV::UniString GetRoleName() const { return _GetRoleName({}); }
    [[nodiscard]] OV::UniString GetServerName() const { return _GetServerName({}); }
    [[nodiscard]] OV::UniString GetSessionId() const { return _GetSessionId({}); }
    [[nodiscard]] OV::UniString GetUserId() const { return _GetUserId({}); }
    [[nodiscard]] OV::UniString GetUserName() const { return _GetUserName_({}); }
    [[nodiscard]] bool IsChanges() const { return _IsChanges({}); }
    [[nodiscard]] bool IsProjectForcedOffline() const { return _IsProjectForcedOffline({}); }
    [[nodiscard]] bool IsReservation() const { return _IsReservation({}); }
    void SetChanges(bool changes) { _SetChanges(changes, {}); }
    void SetProjectForcedOffline(bool forced) { _SetProjectForcedOffline(forced, {}); }
    void SetSessionId(const OV::UniString& sessionId) { _SetSessionId(sessionId, {}); }

protected:
    enum class Dummy {};

    [[nodiscard]] OV::UniString GetPassword() const { return _GetPassword({}); }

    virtual IO::Location _GetCacheFolderLocation(Dummy) const = 0;
    virtual OV::Array<OV::UniString> _GetCacheEntryList(Dummy) const = 0;
    virtual std::int32_t _GetLastModificationTime(Dummy) const = 0;
    virtual OV::UniString _GetLoginName(Dummy) const = 0;
    virtual std::int32_t _GetLogonId(Dummy) const = 0;
    virtual OV::UniString _GetPassword(Dummy) const = 0;
    virtual OV::HashSet<OV::UniString> _GetPermissions(Dummy) const = 0;
    virtual std::int16_t _GetPort(Dummy) const = 0;
    virtual OV::UniString _GetProjectId(Dummy) const = 0;
    virtual OV::UniString _GetProjectName(Dummy) const = 0;
    virtual OV::UniString _GetRoleName(Dummy) const = 0;
    virtual OV::UniString _GetServerName(Dummy) const = 0;
    virtual OV::UniString _GetSessionId(Dummy) const = 0;
    virtual OV::UniString _GetUserId(Dummy) const = 0;
    virtual OV::UniString _GetUserName_(Dummy) const = 0;
    virtual bool _IsChanges(Dummy) const = 0;
    virtual bool _IsProjectForcedOffline(Dummy) const = 0;
    virtual bool _IsReservation(Dummy) const = 0;
    virtual void _SetChanges(bool changes, Dummy) = 0;
    virtual void _SetProjectForcedOffline(bool forced, Dummy) = 0;
    virtual void _SetSessionId(const OV::UniString& sessionId, Dummy) = 0;
};

}  // namespace SYCB
