#include "Cache/CacheInfoFormat.hpp"

#include <algorithm>
#include <variant>

namespace SYC::CacheInfoFormat {

namespace {

constexpr const char* Root = "Cache";

template <class Type>
using Member = Type CacheInfoValues::*;

struct VersionOfFile {};
/// Kept as 8-bit text in the file, because hosts made it so.
struct EightBitText {
    Member<OV::UniString> member;
};
struct PermissionCount {};
/// As many elements as the count before them says.
struct Permissions {};

using Kind = std::variant<VersionOfFile, Member<OV::UniString>, EightBitText, Member<bool>,
                          Member<std::int16_t>, Member<std::int32_t>, PermissionCount, Permissions>;

struct Value {
    OV::StringView name;
    Kind kind;
    /// The first data version that has the value.
    std::uint16_t since;
};

using V = CacheInfoValues;

/// The one place that knows names, order, types and versions.
constexpr Value Layout[] = {
    {"DataVersion", VersionOfFile{}, 0},
    {"LoginName", &V::loginName, 1},
    {"UserName", &V::userName, 1},
    {"UserId", &V::userId, 1},
    {"ProjectName", &V::projectName, 1},
    {"ProjectCategoryName", &V::projectCategoryName, 3},
    {"ServerName", &V::serverName, 1},
    {"Port", &V::port, 1},
    {"SessionId", &V::sessionId, 1},
    {"LogonId", &V::logonId, 1},
    {"RoleName", &V::roleName, 1},
    {"UserColorList", EightBitText{&V::userColorList}, 2},
    {"ColorMode", &V::colorMode, 2},
    {"PermissionCount", PermissionCount{}, 1},
    {"Permission", Permissions{}, 1},
    {"ProjectId", &V::projectId, 1},
    {"UnsentChange", &V::unsentChange, 1},
    {"ProjectForcedOffline", &V::projectForcedOffline, 2},
    {"LastOpenProjectTime", &V::lastOpenProjectTime, 5},
    {"TravelPackageCreationTime", &V::travelPackageCreationTime, 5},
    {"TravelPackageCreated", &V::travelPackageCreated, 5},
    {"ExtractedFromTravelPackage", &V::extractedFromTravelPackage, 5},
    {"EnableTravelPackageWarningAtClose", &V::enableTravelPackageWarningAtClose, 5},
    {"ProjectVersion", &V::projectVersion, 6},
    {"ProjectBuild", &V::projectBuild, 6},
    {"ProjectDetached", &V::projectDetached, 6},
};

/// What the clients that wrote the old versions worked with.
constexpr std::uint16_t FirstVersionOf14 = 5;
constexpr std::uint16_t FirstVersionWithProjectVersion = 6;
constexpr OV::UniStringView ProjectVersion13 = u"13.0.0.0";
constexpr OV::UniStringView ProjectVersion14 = u"14.0.0.0 (C-107)";

/// Room made at once; a file that says more makes its set grow as it goes.
constexpr std::uint32_t MostPermissionsForeseen = 64;

struct Reader {
    OV::XMLIChannel& channel;
    Content& content;
    OV::StringView name = {};
    std::uint32_t permissionCount = 0;

    void operator()(VersionOfFile) { content.dataVersion = channel.ReadUInt16(name); }
    void operator()(Member<OV::UniString> member)
    {
        content.values.*member = channel.ReadString(name);
    }
    void operator()(EightBitText text)
    {
        content.values.*text.member = OV::FromUtf8(channel.Read8BitString(name));
    }
    void operator()(Member<bool> member) { content.values.*member = channel.ReadBool(name); }
    void operator()(Member<std::int16_t> member)
    {
        content.values.*member = channel.ReadInt16(name);
    }
    void operator()(Member<std::int32_t> member)
    {
        content.values.*member = channel.ReadInt32(name);
    }
    void operator()(PermissionCount) { permissionCount = channel.ReadUInt32(name); }
    void operator()(Permissions)
    {
        // The count is not trusted for an allocation: a false one ends at the first missing
        // element.
        auto& permissions = content.values.permissions;
        permissions.reserve(std::min(permissionCount, MostPermissionsForeseen));
        // By way of a set of its own each: to one that has few the standard library adds a text
        // after a comparison with all of them, and by its hash what another one made.
        OV::HashSet<OV::UniString> made;
        for (std::uint32_t i = 0; i < permissionCount; ++i) {
            made.insert(channel.ReadString(name));
            permissions.insert(made.extract(made.begin()));
        }
    }
};

struct Writer {
    OV::XMLOChannel& channel;
    const CacheInfoValues& values;
    std::uint16_t version;
    OV::StringView name = {};

    void operator()(VersionOfFile) { channel.WriteUInt16(name, version); }
    void operator()(Member<OV::UniString> member) { channel.WriteString(name, values.*member); }
    void operator()(EightBitText text)
    {
        channel.Write8BitString(name, OV::ToUtf8(values.*text.member));
    }
    void operator()(Member<bool> member) { channel.WriteBool(name, values.*member); }
    void operator()(Member<std::int16_t> member) { channel.WriteInt16(name, values.*member); }
    void operator()(Member<std::int32_t> member) { channel.WriteInt32(name, values.*member); }
    void operator()(PermissionCount)
    {
        channel.WriteUInt32(name, static_cast<std::uint32_t>(values.permissions.size()));
    }
    void operator()(Permissions)
    {
        for (const OV::UniString& permission : values.permissions)
            channel.WriteString(name, permission);
    }
};

struct Merger {
    const CacheInfoValues& former;
    const CacheInfoValues& own;
    CacheInfoValues& merged;

    template <class Type>
    void operator()(Member<Type> member)
    {
        if (own.*member != former.*member)
            merged.*member = own.*member;
    }
    void operator()(EightBitText text) { (*this)(text.member); }
    void operator()(Permissions) { (*this)(&V::permissions); }
    void operator()(VersionOfFile) {}
    void operator()(PermissionCount) {}
};

}  // namespace

Content Read(OV::XMLIChannel& channel)
{
    Content content;
    channel.EnterElement(Root);
    Reader reader{channel, content};
    for (const Value& value : Layout) {
        // Version 0 before the first value is read: the version itself is in every file.
        if (value.since > content.dataVersion)
            continue;
        reader.name = value.name;
        std::visit(reader, value.kind);
    }
    if (content.dataVersion < FirstVersionWithProjectVersion)
        content.values.projectVersion =
            content.dataVersion >= FirstVersionOf14 ? ProjectVersion14 : ProjectVersion13;
    // What a newer client added behind the known values is its own affair: nothing after them is
    // looked at.
    if (content.IsNewer())
        content.additions = {content.dataVersion, channel.ReadRest()};
    else
        channel.LeaveElement(Root);
    return content;
}

OV::XMLOChannel Write(const CacheInfoValues& values, const CacheInfoAdditions& additions)
{
    OV::XMLOChannel channel;
    channel.EnterElement(Root);
    Writer writer{channel, values, std::max(DataVersion, additions.dataVersion)};
    for (const Value& value : Layout) {
        writer.name = value.name;
        std::visit(writer, value.kind);
    }
    channel.WriteRest(additions.text);
    channel.LeaveElement(Root);
    return channel;
}

CacheInfoValues Merge(const CacheInfoValues& former, const CacheInfoValues& own,
                      CacheInfoValues theirs)
{
    Merger merger{former, own, theirs};
    for (const Value& value : Layout)
        std::visit(merger, value.kind);
    return theirs;
}

}  // namespace SYC::CacheInfoFormat
