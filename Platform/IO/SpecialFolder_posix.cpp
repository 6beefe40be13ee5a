#include "IO/SpecialFolder.hpp"

#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/System.hpp"

namespace IO {

namespace {

constexpr OV::UniStringView CompanyName = u"Orvant";

/// The environment's folder when it names an absolute one (others are to be ignored), else
/// `fallback`. No Location leads to a name that is no UTF-8, and another folder with a similar name
/// would hide all that the user has.
Location FromEnvironment(OV::StringView variable, const OV::String& fallback)
{
    const OV::String value = OV::System::EnvironmentVariable(variable);
    const bool isAbsolute = !value.empty() && value.front() == '/';
    const OV::String& path = isAbsolute ? value : fallback;
    const auto location = Location::FromPath(OV::FromUtf8(path));
    if (!OV::IsWellFormedUtf8(path))
        throw IOException(ErrorCode::Other, u"Cannot use the folder", location,
                          "its name is no UTF-8; rename it, or let " + OV::String(variable) +
                              " name another one");
    return location;
}

}  // namespace

Location GetSpecialFolder(SpecialFolder folder)
{
    switch (folder) {
    case SpecialFolder::ApplicationData:
        return FromEnvironment("XDG_DATA_HOME", OV::System::HomeFolder() + "/.local/share");
    case SpecialFolder::RoamingApplicationData:
        return FromEnvironment("XDG_CONFIG_HOME", OV::System::HomeFolder() + "/.config");
    case SpecialFolder::Temporary:
        break;
    }
    return FromEnvironment("TMPDIR", "/tmp");
}

Location GetCompanyFolder(SpecialFolder folder)
{
    auto company = GetSpecialFolder(folder).Appended(CompanyName);
    Folder::CreateTree(company);
    return company;
}

}  // namespace IO
