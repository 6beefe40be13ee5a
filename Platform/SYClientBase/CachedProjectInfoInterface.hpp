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

    /// Where the cache stands.
    [[nodiscard]] IO::Location GetCacheFolderLocation() const
    {
        return _GetCacheFolderLocation({});
    }
    /// The names of what stands in the cache folder.
    [[nodiscard]] OV::Array<OV::UniString> GetCacheEntryList() const
    {
        return _GetCacheEntryList({});
    }
    /// When "CacheInfo.xml" was written last, in seconds since 1970-01-01 UTC.
    [[nodiscard]] std::int32_t GetLastModificationTime() const
    {
        return _GetLastModificationTime({});
    }
    /// The name that the user signs in with.
    [[nodiscard]] OV::UniString GetLoginName() const { return _GetLoginName({}); }
    /// The short number of the user in this project, 1 to 32767; 0 when it is not known.
    [[nodiscard]] std::int32_t GetLogonId() const { return _GetLogonId({}); }
    /// The names of what the user may do in the project.
    [[nodiscard]] OV::HashSet<OV::UniString> GetPermissions() const { return _GetPermissions({}); }
    /// Of the model service; above 32767 it appears as a negative number.
    [[nodiscard]] std::int16_t GetPort() const { return _GetPort({}); }
    /// The server's identifier of the project.
    [[nodiscard]] OV::UniString GetProjectId() const { return _GetProjectId({}); }
    /// The name of the project, in its own letter case.
    [[nodiscard]] OV::UniString GetProjectName() const { return _GetProjectName({}); }
    /// The name of the user's role in the project.
    [[nodiscard]] OV::UniString GetRoleName() const { return _GetRoleName({}); }
    /// The name or address of the server, as the user wrote it.
    [[nodiscard]] OV::UniString GetServerName() const { return _GetServerName({}); }
    /// The session that the cache belongs to; empty when there is none.
    [[nodiscard]] OV::UniString GetSessionId() const { return _GetSessionId({}); }
    /// The server's identifier of the user.
    [[nodiscard]] OV::UniString GetUserId() const { return _GetUserId({}); }
    /// The user's name for people.
    [[nodiscard]] OV::UniString GetUserName() const { return _GetUserName_({}); }
    /// Whether changes were not sent to the server yet.
    [[nodiscard]] bool IsChanges() const { return _IsChanges({}); }
    /// Whether the user chose to work on the project offline.
    [[nodiscard]] bool IsProjectForcedOffline() const { return _IsProjectForcedOffline({}); }
    /// Whether he holds anything of the project reserved.
    [[nodiscard]] bool IsReservation() const { return _IsReservation({}); }
    /// Writes the cache at once, see SYC::CachedProjectInfo.
    /// @{
    void SetChanges(bool changes) { _SetChanges(changes, {}); }
    void SetProjectForcedOffline(bool forced) { _SetProjectForcedOffline(forced, {}); }
    void SetSessionId(const OV::UniString& sessionId) { _SetSessionId(sessionId, {}); }
    /// @}

protected:
    /// Makes the signature of an override exact.
    enum class Dummy {};

    /// In clear text, in memory only; empty when it is not known. Who copies it wipes it.
    [[nodiscard]] OV::UniString GetPassword() const { return _GetPassword({}); }

    /// What stands behind the query or the change of that name.
    /// @{
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
    /// @}
};

}  // namespace SYCB
