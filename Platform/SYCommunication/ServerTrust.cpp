#include "SYCommunication/ServerTrust.hpp"

#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/PercentCoding.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

#include <algorithm>
#include <tuple>

namespace Communication {

namespace {

constexpr std::int32_t Version = 1;
constexpr OV::UniStringView FileEnd = u".xml";
/// A file of these holds far less.
constexpr std::uint64_t MostBytes = 64 << 10;

thread_local int silences = 0;

OV::UniString KeyOf(OV::UniStringView host, std::uint16_t port)
{
    return OV::Folded(host) + u":" + OV::ToText(port);
}

IO::Location FolderOfTrust()
{
    return IO::GetSpecialFolder(IO::SpecialFolder::RoamingApplicationData)
        .Appended(u"Orvant")
        .Appended(u"TrustedServers");
}

IO::Location FileOf(OV::UniStringView host, std::uint16_t port)
{
    return FolderOfTrust().Appended(OV::FromUtf8(OV::PercentEncode(OV::ToUtf8(KeyOf(host, port)))) +
                                    OV::UniString(FileEnd));
}

/// Throws IO::IOException and OV::XMLChannelException.
TrustedServer ReadTrusted(const IO::Location& file)
{
    OV::XMLIChannel channel(IO::File::ReadAll(file, MostBytes), file.ToPath());
    TrustedServer server;
    channel.EnterElement("TrustedServer");
    (void)channel.ReadInt32("DataVersion");
    server.host = channel.ReadString("Host");
    server.port = channel.ReadUInt16("Port");
    server.fingerprint = channel.ReadString("Fingerprint");
    return server;
}

/// Nothing when the file cannot be read, which the log tells.
std::optional<TrustedServer> TryReadTrusted(const IO::Location& file)
{
    try {
        return ReadTrusted(file);
    } catch (const OV::Exception& error) {
        OV::Logger::Warning("SYClient", u"A trusted server is passed over: %",
                            {error.GetMessage()});
        return std::nullopt;
    }
}

void WriteTrusted(const TrustedServer& server)
{
    OV::XMLOChannel channel;
    channel.EnterElement("TrustedServer");
    channel.WriteInt32("DataVersion", Version);
    channel.WriteString("Host", OV::Folded(server.host));
    channel.WriteUInt16("Port", server.port);
    channel.WriteString("Fingerprint", server.fingerprint);
    channel.LeaveElement("TrustedServer");
    IO::Folder::CreateTree(FolderOfTrust());
    IO::File::Replace(FileOf(server.host, server.port), channel.Text(), true);
}

}  // namespace

ServerTrust& ServerTrust::GetInstance()
{
    static auto& instance = *new ServerTrust;
    return instance;
}

TrustQuestion* ServerTrust::SetQuestion(TrustQuestion* question)
{
    const OV::LockGuard guard(lock_);
    return std::exchange(question_, question);
}

std::optional<OV::UniString> ServerTrust::FindAt(OV::UniStringView host, std::uint16_t port) const
{
    {
        const OV::LockGuard guard(lock_);
        if (const auto found = once_.find(KeyOf(host, port)); found != once_.end())
            return found->second;
    }
    const IO::Location file = FileOf(host, port);
    if (!IO::File::Exists(file))
        return std::nullopt;
    const auto server = TryReadTrusted(file);
    // A file that was copied to another name trusts nobody there.
    const bool isOfThere = server && server->port == port && server->host == OV::Folded(host);
    return isOfThere ? std::optional(server->fingerprint) : std::nullopt;
}

std::optional<OV::UniString> ServerTrust::Find(OV::UniStringView host, std::uint16_t port) const
{
    if (auto own = FindAt(host, port))
        return own;
    std::uint16_t modelPort = 0;
    {
        const OV::LockGuard guard(lock_);
        if (const auto found = services_.find(KeyOf(host, port)); found != services_.end())
            modelPort = found->second;
    }
    return modelPort == 0 ? std::nullopt : FindAt(host, modelPort);
}

void ServerTrust::Trust(const TrustedServer& server, bool always)
{
    {
        const OV::LockGuard guard(lock_);
        once_[KeyOf(server.host, server.port)] = server.fingerprint;
    }
    if (!always)
        return;
    WriteTrusted(server);
    // From now on the file counts, which other processes may change.
    const OV::LockGuard guard(lock_);
    once_.erase(KeyOf(server.host, server.port));
}

bool ServerTrust::Distrust(OV::UniStringView host, std::uint16_t port)
{
    bool wasTrusted = false;
    {
        const OV::LockGuard guard(lock_);
        wasTrusted = once_.erase(KeyOf(host, port)) > 0;
    }
    const IO::Location file = FileOf(host, port);
    wasTrusted = IO::File::Exists(file) || wasTrusted;
    IO::File::Delete(file);
    return wasTrusted;
}

OV::Array<TrustedServer> ServerTrust::List() const
{
    OV::Array<TrustedServer> servers;
    const IO::Location folder = FolderOfTrust();
    if (!IO::Folder::Exists(folder))
        return servers;
    IO::Folder::Enumerate(folder, [&](const IO::Folder::Entry& entry) {
        if (!entry.isFolder && entry.name.ends_with(FileEnd))
            if (auto server = TryReadTrusted(folder.Appended(entry.name)))
                servers.push_back(*std::move(server));
        return true;
    });
    std::sort(servers.begin(), servers.end(), [](const auto& left, const auto& right) {
        return std::tie(left.host, left.port) < std::tie(right.host, right.port);
    });
    return servers;
}

void ServerTrust::AddService(OV::UniStringView host, std::uint16_t port, std::uint16_t servicePort)
{
    const OV::LockGuard guard(lock_);
    services_[KeyOf(host, servicePort)] = port;
}

bool ServerTrust::Settle(const UntrustedServer& server)
{
    TrustQuestion* question = nullptr;
    {
        const OV::LockGuard guard(lock_);
        question = question_;
    }
    if (question == nullptr || silences > 0)
        return false;
    OV::AssertNoLockHeld("TrustQuestion");
    if (!server.MayBeTrusted()) {
        question->Tell(server);
        return false;
    }
    const TrustAnswer answer = question->Ask(server);
    if (answer == TrustAnswer::Refuse)
        return false;
    try {
        Trust({server.host, server.port, server.certificate.fingerprint},
              answer == TrustAnswer::TrustAlways);
    } catch (const IO::IOException& error) {
        OV::Logger::Error("SYClient", u"The server is trusted until this program ends only: %",
                          {error.GetMessage()});
    }
    return true;
}

ServerTrust::WithoutQuestion::WithoutQuestion() noexcept
{
    ++silences;
}

ServerTrust::WithoutQuestion::~WithoutQuestion()
{
    --silences;
}

}  // namespace Communication
