#pragma once

#include "SyncraProtocol/Detail/JsonText.hpp"
#include "SyncraProtocol/EventLogPage.hpp"
#include "SyncraProtocol/Member.hpp"
#include "SyncraProtocol/Message.hpp"
#include "SyncraProtocol/Project.hpp"
#include "SyncraProtocol/ServicePort.hpp"
#include "SyncraProtocol/Session.hpp"
#include "SyncraProtocol/SignIn.hpp"
#include "SyncraProtocol/Signal.hpp"

/// What travels to and from the model service and the messaging service, described once for both
/// ends. Docs/Protocol.md says which request carries what.
namespace Syncra::Protocol {

// Records

/// Of whatever type the texts are.
template <class Visitor, class AnyProject>
void DescribeProject(Visitor& v, AnyProject& project)
{
    v("id", project.id);
    v("name", project.name);
    v("location", project.location);
    v("category", project.category);
    v("state", project.state, Between{1, 3});
    v("version", project.version);
    v("build", project.build);
}

template <class Visitor>
void Describe(Visitor& v, Project& project)
{
    DescribeProject(v, project);
}

template <class Visitor>
void Describe(Visitor& v, ProjectOverview& project)
{
    DescribeProject(v, project);
    v("members", project.members);
    v("atWork", project.atWork);
    v("member", project.isMember);
}

template <class Visitor>
void Describe(Visitor& v, Session& session)
{
    v("id", session.id);
    v("projectId", session.projectId);
    v("userId", session.userId);
    v("loginName", session.loginName);
    v("userName", session.userName);
    v("logonId", session.logonId, Between{1, 32767});
    v("roleName", session.roleName);
    v("permissions", session.permissions);
    v("startTime", session.startTime);
}

template <class Visitor>
void Describe(Visitor& v, SessionAtWork& session)
{
    v("id", session.id);
    v("projectId", session.projectId);
    v("projectName", session.projectName);
    v("loginName", session.loginName);
    v("userName", session.userName);
    v("roleName", session.roleName);
    v("startTime", session.startTime);
    v("computer", session.computer);
    v("type", session.type);
}

template <class Visitor>
void Describe(Visitor& v, SessionEnd& end)
{
    v("by", end.endedBy);
    v("byName", end.endedByName);
    v("reason", end.reason);
    v("time", end.time);
}

template <class Visitor>
void DescribeMember(Visitor& v, Member& member)
{
    v("id", member.id, Between{1, 32767});
    v("loginName", member.loginName);
    v("fullName", member.fullName);
    v("guid", member.guid);
    v("color", member.color, Between{0, 0xFFFFFF});
    v("roleName", member.roleName);
}

template <class Visitor>
void Describe(Visitor& v, Member& member)
{
    DescribeMember(v, member);
    v("permissions", member.permissions);
}

/// The rights stand with the roles of the answer.
template <class Visitor>
void Describe(Visitor& v, MemberAtWork& member)
{
    DescribeMember(v, member);
    v("photo", member.photo);
    v("session", member.session);
    v("since", member.workingSince);
    v("computer", member.computer);
}

template <class Visitor>
void Describe(Visitor& v, Photo& photo)
{
    v("type", photo.type);
    v("data", photo.data, AsBase64{Photo::MaximumSize});
}

template <class Visitor>
void Describe(Visitor& v, ServicePort& port)
{
    v("service", port.service);
    v("port", port.port);
}

template <class Visitor>
void Describe(Visitor& v, Signal& signal)
{
    v("sequence", signal.sequence);
    v("id", signal.id);
    v("projectId", signal.projectId);
}

template <class Visitor>
void Describe(Visitor& v, SignalBatch& batch)
{
    v("signals", batch.events);
    v("next", batch.next);
}

template <class Visitor>
void Describe(Visitor& v, EventLogPage& page)
{
    // As it is: a log has no need to carry every string of ours.
    v("text", page.text);
    v("separator", page.separator, NotEmpty{});
    v("next", page.next);
    v("left", page.left);
}

template <class Visitor>
void Describe(Visitor& v, LoggedEvent& event)
{
    v("action", event.action);
    v("size", event.size);
    v("comment", event.comment);
    v("seconds", event.seconds);
}

/// What a sender writes of a mail, or of whatever has these fields of one.
template <class Visitor, class Mail>
void DescribeContents(Visitor& v, Mail& mail)
{
    v("header", mail.header);
    v("body", mail.bodyData, AsBase64{Message::MaximumBodySize});
}

/// A mail, or whatever has the fields of one.
template <class Visitor, class Mail>
void DescribeMail(Visitor& v, Mail& mail)
{
    v.ByServer("id", mail.mailId);
    v.ByServer("read", mail.read);
    v.ByServer("copy", mail.copy);
    v.ByServer("historical", mail.historical);
    // A server with longer times goes on beyond 2038; its mails do not get lost for that.
    v.ByServer("timeStamp", mail.timeStamp, Clamped{});
    DescribeContents(v, mail);
}

template <class Visitor>
void Describe(Visitor& v, Message& message)
{
    DescribeMail(v, message);
}

// Signing in, and refusals of any request

template <class Visitor>
void Describe(Visitor& v, SignInRequest& request)
{
    v("userName", request.userName);
    v("password", request.password);
    v("protocol", request.protocol);
}

template <class Visitor>
void Describe(Visitor& v, SignInAnswer& answer)
{
    v("token", answer.token);
    v("userId", answer.userId);
    v("userName", answer.userName);
    v("protocol", answer.protocol);
    v("serverVersion", answer.serverVersion);
}

/// All that can be read of a sign-in in another version of the protocol.
using SpokenProtocol = Single<"protocol", std::uint32_t>;

struct ServerVersion {
    std::uint32_t protocol = ProtocolVersion;
    std::uint32_t serverVersion = 0;
};

template <class Visitor>
void Describe(Visitor& v, ServerVersion& version)
{
    v("protocol", version.protocol);
    v("serverVersion", version.serverVersion);
}

struct RefusalBody {
    std::int32_t code = 0;
    OV::UniString message;
};

template <class Visitor>
void Describe(Visitor& v, RefusalBody& refusal)
{
    v("code", refusal.code, Between{1, std::numeric_limits<std::int32_t>::max()});
    v("message", refusal.message);
}

// Bodies around the records

using PortList = Single<"ports", OV::Array<ServicePort>>;
using ProjectList = Single<"projects", OV::Array<Project>>;
using ProjectOverviewList = Single<"projects", OV::Array<ProjectOverview>>;
using ProjectExistence = Single<"exists", bool>;
using ProjectMembership = Single<"member", bool>;
using SessionList = Single<"sessions", OV::Array<Session>>;
using SessionsAtWork = Single<"sessions", OV::Array<SessionAtWork>>;
using ReasonOfEnd = Single<"reason", OV::UniString>;
using MemberList = Single<"members", OV::Array<Member>>;

struct RightsOfRole {
    OV::UniString name;
    OV::HashSet<OV::UniString> permissions;
};

template <class Visitor>
void Describe(Visitor& v, RightsOfRole& role)
{
    v("name", role.name);
    v("permissions", role.permissions);
}

/// What changed among the members, and once each what those of a role may do.
struct MemberChangesBody {
    MemberChanges changes;
    OV::Array<RightsOfRole> roles;
};

template <class Visitor>
void Describe(Visitor& v, MemberChangesBody& body)
{
    v("members", body.changes.members);
    v("roles", body.roles);
    v("gone", body.changes.gone);
    v("whole", body.changes.isWhole);
    v("place", body.changes.place);
}

using AttributeValue = Single<"value", OV::UniString>;

struct StateOfProject {
    ProjectState state = ProjectState::Active;
};

template <class Visitor>
void Describe(Visitor& v, StateOfProject& body)
{
    v("state", body.state, Between{1, 3});
}

struct FlaggedMails {
    OV::Array<OV::UniString> read;
    OV::Array<OV::UniString> historical;
};

template <class Visitor>
void Describe(Visitor& v, FlaggedMails& mails)
{
    v("read", mails.read);
    v("historical", mails.historical);
}

struct MailPage {
    OV::UniString cursor;      ///< of the next page; empty behind the last one
    std::uint64_t change = 0;  ///< the newest change of flags that the page shows
    std::optional<std::uint64_t>
        count;  ///< how many mails the box had before; older servers tell none
    /// In the last page, which got a flag behind the change that was asked for; nothing when the
    /// server does not know that one.
    std::optional<FlaggedMails> flags;
    Each<Message> mails;
};
/// Of any page. The server writes it first, so that the next page can be asked for before this one
/// is read; absent from a list that has no pages.
using PageCursor = Single<"cursor", std::optional<OV::UniString>>;

template <class Visitor>
void Describe(Visitor& v, MailPage& page)
{
    v("cursor", page.cursor);
    v("change", page.change);
    v("count", page.count);
    v("flags", page.flags);
    v("mails", page.mails);
}

template <class Mail>
struct MailDelivery {
    OV::UniString key;
    OV::Array<OV::UniString> recipients;
    Mail message;
};

template <class Visitor, class Mail>
void Describe(Visitor& v, MailDelivery<Mail>& delivery)
{
    v("key", delivery.key);
    v("recipients", delivery.recipients);
    v("message", delivery.message);
}

struct MailReceipt {
    OV::UniString id;
    std::optional<bool> isDuplicate;  ///< clients need none
};

template <class Visitor>
void Describe(Visitor& v, MailReceipt& receipt)
{
    v("id", receipt.id);
    v("duplicate", receipt.isDuplicate);
}

using MailIds = Single<"ids", OV::Array<OV::UniString>>;
/// Mails, each with a flag. Their ids hold nothing that either end escapes, so each has them as the
/// kind of text that it likes.
template <class Id>
using FlagUpdateOf = Single<"entries", OV::Array<OV::Pair<Id, bool>>>;

template <class Id>
struct FlagPageOf {
    OV::Array<OV::Pair<Id, bool>> entries;
    std::uint64_t change = 0;
};

template <class Visitor, class Id>
void Describe(Visitor& v, FlagPageOf<Id>& page)
{
    v("entries", page.entries);
    v("change", page.change);
}

using PresenceProjects = Single<"projects", OV::Array<OV::UniString>>;
using PresenceSubscription = Single<"subscription", OV::UniString>;

struct PresentUsers {
    OV::HashSet<OV::UniString> present;
    std::uint64_t next = 0;
};

template <class Visitor>
void Describe(Visitor& v, PresentUsers& users)
{
    v("present", users.present);
    v("next", users.next);
}

}  // namespace Syncra::Protocol
