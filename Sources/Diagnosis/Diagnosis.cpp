#include "Diagnosis/Diagnosis.hpp"

#include "CachedProjectInfo.hpp"
#include "Diagnosis/LogFile.hpp"
#include "Failure.hpp"
#include "Files/ResourceNumbers.hpp"
#include "Files/RoamingProfile.hpp"
#include "IO/Folder.hpp"
#include "IO/LockHolder.hpp"
#include "IO/SpecialFolder.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "Messaging/Detail/MailChangeFile.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/NetworkProbe.hpp"
#include "OVRoot/Resources.hpp"
#include "OVRoot/System.hpp"
#include "OVRoot/Thread.hpp"
#include "RegisteredProjects.hpp"
#include "SYClient/Version.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "SYCommunication/Proxy.hpp"
#include "SyncraProtocol/ProductVersion.hpp"

#include <algorithm>
#include <chrono>

namespace SYC {

namespace {

using Step = Diagnosis::Step;

using Steps = OV::Array<Step>;

enum class Hint : int { Name = 1, Port, NoProjects, Proxy };

const OV::UniString& GetHint(Hint hint)
{
    return OV::GetStringListItem(TextLists::DiagnosisHints, static_cast<int>(hint));
}

/// Runs one step of the way. `work` returns what came of it in words, and throws what went wrong;
/// `advice` is for a failure that has none of its own.
template <class Work>
bool Take(Steps& steps, OV::UniStringView name, const OV::UniString& address, Work work,
          const OV::UniString& advice = {})
{
    Step step{OV::UniString(name), address, 0, true, {}, {}};
    const auto begin = std::chrono::steady_clock::now();
    try {
        step.outcome = work();
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (...) {
        step.succeeded = false;
        step.outcome = Redacted(OV::DescribeCurrentException());
        step.advice = advice.empty() ? DescribeException().advice : advice;
    }
    const auto took = std::chrono::steady_clock::now() - begin;
    step.milliseconds = static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(took).count());
    steps.push_back(std::move(step));
    return steps.back().succeeded;
}

/// Where requests go first: to the server, or to a proxy on the way to it.
struct Station {
    Communication::ServerAddress address;
    OV::UniStringView lookUp = u"name look-up";
    OV::UniStringView connect = u"connect";
    Hint nameHint = Hint::Name;
    Hint portHint = Hint::Port;
};

Station FirstStation(const Communication::ServerAddress& server)
{
    const auto proxy = Communication::FindProxy(server, Communication::DefaultHttpOptions());
    if (!proxy)
        return {server};
    return {*proxy, u"proxy look-up", u"proxy", Hint::Proxy, Hint::Proxy};
}

std::vector<OV::String> LookUp(Steps& steps, const Station& station)
{
    std::vector<OV::String> addresses;
    (void)Take(
        steps, station.lookUp, station.address.host,
        [&] {
            OV::String problem;
            addresses = OV::NetworkProbe::LookUp(OV::ToUtf8(station.address.host), problem);
            if (addresses.empty())
                throw OV::Exception(OV::FromUtf8(problem));
            OV::UniString found;
            for (const auto& each : addresses)
                found += (found.empty() ? u"" : u", ") + OV::FromUtf8(each);
            return found;
        },
        GetHint(station.nameHint));
    return addresses;
}

OV::UniString DescribeCertificate(const Communication::UntrustedServer& server)
{
    const OV::UniString certificate = u"made out to " + server.certificate.subject;
    if (!server.problems.empty())
        throw OV::Exception(server.DescribeProblems() + u" (" + certificate + u")");
    return certificate;
}

/// Each address, one that does not answer among them.
void ConnectToEach(Steps& steps, const Station& station, std::uint32_t milliseconds)
{
    const std::uint16_t port = station.address.port;
    for (const auto& each : LookUp(steps, station)) {
        OV::Thread::ThrowIfInterrupted();
        (void)Take(
            steps, station.connect, OV::FromUtf8(each + " port " + std::to_string(port)),
            [&] {
                const auto problem = OV::NetworkProbe::Connect(each, port, milliseconds);
                if (!problem.empty())
                    throw OV::Exception(OV::FromUtf8(problem));
                return OV::UniString(u"connected");
            },
            GetHint(station.portHint));
    }
}

/// Signs in and looks at what the user may do.
void SignInTo(Steps& steps, const DiagnosisRequest::Login& login, const OV::UniString& place)
{
    std::unique_ptr<Syncra::Client::SyncraClient> client;
    if (Take(steps, u"sign-in", login.userName + u" at " + place, [&] {
            client = SYCB::CreateSyncraClient(
                {login.serverName, login.port, login.userName, login.password, false});
            return OV::UniString(u"accepted");
        }))
        (void)Take(steps, u"projects", place, [&] {
            const auto count = static_cast<std::int64_t>(client->GetProjects().size());
            return OV::ToText(count) + u" can be seen" +
                   (count == 0 ? u"; " + GetHint(Hint::NoProjects) : OV::UniString());
        });
}

void LookAtMails(const IO::Location& file, Diagnosis::Cache& cache, std::uint32_t* count)
{
    try {
        const auto content = ReadMailFile(file);
        if (count != nullptr)
            *count = static_cast<std::uint32_t>(content.mails.size()) + content.unknown.count;
        if (content.outcome == MailFile::Outcome::Damaged)
            cache.damage.push_back(u"A mail in \"" + file.LastComponent() + u"\" cannot be read.");
        if (content.outcome == MailFile::Outcome::LeftOver &&
            !MailChangeFile(file).IsUnfinished(content))
            cache.damage.push_back(u"Something follows the mails in \"" + file.LastComponent() +
                                   u"\".");
    } catch (const OV::Exception& problem) {
        cache.damage.push_back(Redacted(OV::MessageWithCauses(problem)));
    }
}

void LookAtCaches(const IO::Location& folder, Diagnosis& diagnosis)
{
    OV::Array<CacheInfoRecord> records;
    registeredProjects().RefreshCaches(folder);
    registeredProjects().SearchCaches(folder, records);
    for (const auto& record : records) {
        auto& cache = diagnosis.caches.emplace_back();
        cache.folder = record.folder;
        if (record.info) {
            cache.server = record.info->GetServerName();
            cache.project = record.info->GetProjectName();
            cache.user = record.info->GetLoginName();
            cache.hasUnsentChanges = record.info->IsChanges();
        } else {
            cache.damage.push_back(Redacted(record.problem));
        }
        LookAtMails(record.folder.Appended(MailFile::MailsName), cache, nullptr);
        LookAtMails(record.folder.Appended(MailFile::OutboxName), cache, &cache.waitingMails);
    }
}

bool IsLockName(OV::UniStringView name)
{
    return (name.starts_with(u'@') && name.ends_with(u".Lock")) || name.ends_with(u".lck") ||
           name.ends_with(u".Lock");
}

void LookAtLocks(const IO::Location& folder, int depth, Diagnosis& diagnosis)
{
    if (!IO::Folder::Exists(folder))
        return;
    IO::Folder::Enumerate(folder, [&](const IO::Folder::Entry& entry) {
        const auto place = folder.Appended(entry.name);
        if (entry.isFolder && depth > 0) {
            LookAtLocks(place, depth - 1, diagnosis);
        } else if (!entry.isFolder && IsLockName(entry.name)) {
            const auto holder = IO::FindLockHolder(place).value_or(IO::LockHolder{});
            diagnosis.locks.push_back({place, holder.processId, holder.program});
        }
        return true;
    });
}

/// A part that cannot be looked at does not keep the rest from being told.
template <class Look>
void Attempt(Diagnosis& diagnosis, OV::UniStringView what, Look look)
{
    try {
        look();
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (...) {
        diagnosis.steps.push_back({OV::UniString(what),
                                   {},
                                   0,
                                   false,
                                   Redacted(OV::DescribeCurrentException()),
                                   DescribeException().advice});
    }
}

/// The passwords that this computer knows of. A text that holds one says more than it should.
std::vector<OV::Secret> KnownSecrets(const DiagnosisRequest& request)
{
    std::vector<OV::Secret> secrets;
    if (request.login)
        secrets.push_back(request.login->password);
    const Syncra::Server::ManagementTool::GUI::SyncraInfo info;
    for (const auto& user : info.GetUserList()) {
        secrets.push_back(info.GetUserDefaultPassword(user));
        for (const auto& server : info.GetServerList(user))
            if (info.IsUserInServerList(user, server))
                secrets.push_back(info.GetUserPassword(user, server));
    }
    return secrets;
}

void TakeOut(const OV::Secret& secret, OV::UniString& text)
{
    constexpr std::size_t shortest = 4;
    if (secret.size() < shortest)
        return;
    for (auto at = text.find(secret.View()); at != OV::UniString::npos;
         at = text.find(secret.View(), at))
        text.replace(at, secret.size(), u"***");
}

}  // namespace

OV::Array<Step> WalkToServer(const DiagnosisRequest::Login& login,
                             std::uint32_t connectMilliseconds)
{
    Steps steps;
    const auto address = Communication::ServerAddress::FromServerName(login.serverName, login.port);
    const OV::UniString place = OV::FromUtf8(address.BaseUrl());
    ConnectToEach(steps, FirstStation(address), connectMilliseconds);
    if (address.secure)
        (void)Take(steps, u"TLS", place, [&] {
            return DescribeCertificate(
                Communication::HttpClient(address, Communication::DefaultHttpOptions())
                    .ReadCertificate());
        });
    (void)Take(steps, u"version", place, [&] {
        const auto version = Syncra::Client::AskServerVersion(login.serverName, login.port);
        return OV::ToText(static_cast<std::int64_t>(version));
    });
    if (!login.userName.empty() && steps.back().succeeded)
        SignInTo(steps, login, place);
    return steps;
}

const Step* FindHindrance(const OV::Array<Step>& steps) noexcept
{
    const auto isOneOf = [](const Step& step, std::initializer_list<OV::UniStringView> names) {
        return std::find(names.begin(), names.end(), step.name) != names.end();
    };
    // The server, or the proxy on the way to it, by one of its addresses.
    const bool isReached = std::any_of(steps.begin(), steps.end(), [&](const Step& step) {
        return step.succeeded && !isOneOf(step, {u"name look-up", u"proxy look-up"});
    });
    const auto found = std::find_if(steps.begin(), steps.end(), [&](const Step& step) {
        return !step.succeeded && !(isReached && isOneOf(step, {u"name look-up", u"connect",
                                                                u"proxy look-up", u"proxy"}));
    });
    return found == steps.end() ? nullptr : &*found;
}

Diagnosis Diagnose(const DiagnosisRequest& request)
{
    Diagnosis diagnosis;
    diagnosis.versions = {{u"SYClient", OV::FromUtf8(GetLibraryVersion())},
                          {u"protocol", OV::ToText(Syncra::Protocol::ProductVersion)},
                          {u"system", OV::FromUtf8(OV::System::Description())}};
    if (request.login)
        Attempt(diagnosis, u"server", [&] {
            diagnosis.steps = WalkToServer(*request.login, request.connectMilliseconds);
        });
    Attempt(diagnosis, u"caches", [&] { LookAtCaches(request.dataFolder, diagnosis); });
    constexpr int deep = 2;
    Attempt(diagnosis, u"locks", [&] {
        const auto roaming =
            Syncra::Server::ManagementTool::Core::GetRoamingProfileFolderLocation();
        LookAtLocks(roaming.Appended(u"Orvant"), deep, diagnosis);
        const auto local = IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData);
        LookAtLocks(local.Appended(u"Orvant"), deep, diagnosis);
        LookAtLocks(request.dataFolder, 1, diagnosis);
    });
    Attempt(diagnosis, u"log",
            [&] { diagnosis.log = LogFile(request.logFile).ReadLast(request.logSeconds); });
    Attempt(diagnosis, u"stored passwords", [&] {
        for (const auto& secret : KnownSecrets(request)) {
            for (auto& line : diagnosis.log)
                TakeOut(secret, line);
            for (auto& step : diagnosis.steps)
                TakeOut(secret, step.outcome);
        }
    });
    return diagnosis;
}

}  // namespace SYC
