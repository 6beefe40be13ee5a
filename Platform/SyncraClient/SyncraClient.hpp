#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "SyncraProtocol/EventLogPage.hpp"
#include "SyncraProtocol/Member.hpp"
#include "SyncraProtocol/Message.hpp"
#include "SyncraProtocol/Project.hpp"
#include "SyncraProtocol/ServicePort.hpp"
#include "SyncraProtocol/Session.hpp"
#include "SyncraProtocol/Signal.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace Syncra::Client {

/// What the server tells of a user's box besides its mails.
struct MailBoxState {
    /// The change of flags that all of the mails show; what changed behind it, GetMailStatus and
    /// GetMailHistorical tell, or the next answer.
    std::uint64_t change = 0;
    /// How many mails the box had before they were handed over; older servers do not tell.
    std::optional<std::uint64_t> count;
    /// Ids of mails.
    struct Flags {
        OV::Array<OV::UniString> read;        ///< that became so
        OV::Array<OV::UniString> historical;  ///< the same
    };
    /// What was asked for; nothing when the server does not know that change.
    std::optional<Flags> flags;
};

/// The project server as one signed-in user sees it. Every call is a request and blocks for its
/// answer; one thread at a time, except Cancel. Failures: Communication::ResponseContentException
/// when the server refuses, the other exceptions of Communication when it cannot be asked,
/// OV::InterruptedException within 100 ms of Cancel or an interruption of the calling thread. A
/// request takes at most as long as HttpOptions allow: 10 s to connect, 30 s of silence.
class SYC_API SyncraClient {
public:
    virtual ~SyncraClient() = default;

    /// The projects that the user may see, in the server's order.
    [[nodiscard]] virtual OV::Array<Protocol::Project> GetProjects() = 0;
    /// The same with what lists show of them besides.
    [[nodiscard]] virtual OV::Array<Protocol::ProjectOverview> GetProjectOverviews() = 0;
    /// Whether the user is a member of the project.
    [[nodiscard]] virtual bool IsMember(const OV::UniString& projectId) = 0;
    /// Whether a project of that name exists at all, visible to the user or not, in any letter
    /// case.
    [[nodiscard]] virtual bool ProjectExists(const OV::UniString& projectName) = 0;
    /// What may be done with the project now.
    [[nodiscard]] virtual Protocol::ProjectState
    GetProjectState(const OV::UniString& projectId) = 0;

    /// The user's sessions in the project.
    [[nodiscard]] virtual OV::Array<Protocol::Session>
    GetSessions(const OV::UniString& projectId) = 0;
    /// Refused with code 17 when the user has one already.
    [[nodiscard]] virtual Protocol::Session StartSession(const OV::UniString& projectId) = 0;
    /// Ends one of the user's own sessions; refused with code 12 when he has no such session.
    virtual void CloseSession(const OV::UniString& sessionId) = 0;
    /// Who ended a session of the user, and why; nothing when nobody else did.
    [[nodiscard]] virtual std::optional<Protocol::SessionEnd>
    GetSessionEnd(const OV::UniString& sessionId) = 0;
    /// Empty when the attribute was never set.
    [[nodiscard]] virtual OV::UniString GetSessionAttribute(const OV::UniString& sessionId,
                                                            OV::UniStringView name) = 0;
    /// `value` is in the default code page.
    virtual void SetSessionAttribute(const OV::UniString& sessionId, OV::UniStringView name,
                                     const OV::String& value) = 0;

    /// Where the services of the server listen.
    [[nodiscard]] virtual OV::Array<Protocol::ServicePort> GetServicePortList() = 0;

    /// The members of the project; the user must be one. With the place of a former answer
    /// only who became another since then, when the server still knows; empty for all.
    [[nodiscard]] virtual Protocol::MemberChanges
    GetProjectMembersEx(const OV::UniString& projectId, const OV::UniString& after) = 0;
    /// The sessions of all members.
    [[nodiscard]] virtual OV::Array<Protocol::Session>
    GetAllSessions(const OV::UniString& projectId) = 0;

    /// What becomes of a page of mails. Both are called on some thread.
    struct MailPage {
        /// Gets the mails of the page, oldest first, each gone when it returns. Two pages are read
        /// at once, and one that is damaged may end anywhere.
        std::function<void(const Protocol::Message& mail)> take;
        /// Is called when the page was whole: for one page after the other, in their order.
        std::function<void(bool isLast)> end;
    };
    /// Is called for each page, on its thread.
    using BeginMailPage = std::function<MailPage()>;
    /// Hands over the user's mails with a time stamp of `sinceTime` or later, page by page and
    /// before it returns, each while the next one travels. Mails of that very second come again:
    /// the caller knows their ids. With the change of a former answer the new one names the flags
    /// that were set behind it; 0 asks for none.
    virtual MailBoxState GetMails(const OV::UniString& projectId, std::int32_t sinceTime,
                                  std::uint64_t after, const BeginMailPage& begin) = 0;
    /// Delivers a mail to its recipients' login names and returns its id. `key` is 1 to 64
    /// characters, one for each mail: who does not know whether his request arrived repeats it with
    /// the same key, and the mail arrives once.
    [[nodiscard]] virtual OV::UniString SendMail(const OV::UniString& projectId,
                                                 const OV::Array<OV::UniString>& recipients,
                                                 const Protocol::Message& message,
                                                 const OV::UniString& key) = 0;
    /// Deletes the user's own entries; unknown ids count as deleted.
    virtual void DeleteMails(const OV::UniString& projectId,
                             const OV::Array<OV::UniString>& ids) = 0;
    /// Of these ids those that the server once had and of which the user has no entry any more. One
    /// that it never had, or knows nothing of since it was restored from a copy, is not among them.
    [[nodiscard]] virtual OV::Array<OV::UniString>
    GetDeletedMails(const OV::UniString& projectId, const OV::Array<OV::UniString>& ids) = 0;

    /// Flags by mail id.
    using FlagTable = OV::HashTable<OV::UniString, bool>;
    /// The read flags that changed after change `after`; with 0, those of every mail. `after`
    /// becomes the newest change.
    [[nodiscard]] virtual FlagTable GetMailStatus(const OV::UniString& projectId,
                                                  std::uint64_t& after) = 0;
    /// The same for the historical flags.
    [[nodiscard]] virtual FlagTable GetMailHistorical(const OV::UniString& projectId,
                                                      std::uint64_t& after) = 0;
    /// Ids that the server does not know are passed over.
    virtual void SetMailStatus(const OV::UniString& projectId, const FlagTable& flags) = 0;
    /// The same for the historical flags.
    virtual void SetMailHistorical(const OV::UniString& projectId, const FlagTable& flags) = 0;

    /// Waits on the server for signals after `after`, at most `waitMilliseconds`.
    [[nodiscard]] virtual Protocol::SignalBatch WaitForSignals(const OV::UniString& projectId,
                                                               std::uint64_t after,
                                                               std::uint32_t waitMilliseconds) = 0;

    /// The activity log of a project behind line number `after` (0: from its beginning), of the
    /// times `from` to `to` in seconds since 1970-01-01 UTC, both included; as much as fits into an
    /// answer.
    [[nodiscard]] virtual Protocol::EventLogPage GetEvents(const OV::UniString& projectId,
                                                           std::int32_t from, std::int32_t to,
                                                           std::uint64_t after) = 0;
    /// The same of the server's own log, for administrators.
    [[nodiscard]] virtual Protocol::EventLogPage
    GetPerformanceEvents(std::int32_t from, std::int32_t to, std::uint64_t after) = 0;
    /// Adds to the log of a project what the user did in it: an action that servers know by that
    /// name, bytes, a comment, and how long it took. He needs a session.
    virtual void AddEvent(const OV::UniString& projectId, const Protocol::LoggedEvent& event) = 0;

    /// Ends the request under way and every later one. Safe on any thread.
    virtual void Cancel() = 0;
};

/// Who signs in where.
struct SignInData {
    OV::UniString serverName;  ///< as users and project URLs write it
    std::uint16_t port = 0;    ///< of the model service
    OV::UniString userName;    ///< login name
    OV::Secret password;       ///< in clear text; wiped with this
    /// Takes an answer of another version of the protocol, as long as it can be read at all. A
    /// server that itself refuses this version stays incompatible.
    bool withoutVersionCheck = false;
};

/// Connects and signs in: one request. Throws as the requests do, and ServerVersionException when
/// the server speaks another version of the protocol.
[[nodiscard]] SYC_API std::unique_ptr<SyncraClient>
Connect(const SignInData& data,
        const Communication::HttpOptions& options = Communication::DefaultHttpOptions());

/// Without signing in: the product version (major * 100 + minor) of a server that speaks the
/// protocol of this client. One request; throws as Connect does.
[[nodiscard]] SYC_API std::uint32_t
AskServerVersion(const OV::UniString& serverName, std::uint16_t port,
                 const Communication::HttpOptions& options = Communication::DefaultHttpOptions());

/// The server speaks another version of the protocol than this client.
class SYC_API ServerVersionException : public Communication::CommunicationException {
public:
    using CommunicationException::CommunicationException;
    OV_EXCEPTION_IDENTITY(ServerVersionException)
};

}  // namespace Syncra::Client
