#include "SYCommunication/ServerAddress.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/System.hpp"

namespace Communication {

namespace {

/// Cuts `prefix` off in any letter case; tells whether it was there.
bool CutPrefix(OV::UniStringView& text, OV::UniStringView prefix)
{
    if (!OV::EqualsIgnoreCase(text.substr(0, prefix.size()), prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

OV::UniStringView Trimmed(OV::UniStringView text)
{
    constexpr OV::UniStringView blanks = u" \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == OV::UniStringView::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

ServerAddress ServerAddress::FromServerName(OV::UniStringView serverName, std::uint16_t port)
{
    OV::UniStringView host = Trimmed(serverName);
    ServerAddress address;
    address.port = port;
    address.secure = CutPrefix(host, u"https://");
    if (!address.secure)
        CutPrefix(host, u"http://");
    while (!host.empty() && host.back() == u'/')
        host.remove_suffix(1);
    if (host.size() >= 2 && host.front() == u'[' && host.back() == u']')
        host = host.substr(1, host.size() - 2);
    address.host = host;
    return address;
}

bool ServerAddress::IsLoopback() const
{
    return OV::EqualsIgnoreCase(host, u"localhost") ||
           OV::System::IsLoopbackAddress(OV::ToUtf8(host));
}

OV::String ServerAddress::BaseUrl() const
{
    OV::String name = OV::ToUtf8(host);
    if (name.find(':') != OV::String::npos) {
        // A zone ("fe80::1%eth0") is written with a coded percent sign in a URL.
        if (const std::size_t zone = name.find('%'); zone != OV::String::npos)
            name.replace(zone, 1, "%25");
        name = "[" + name + "]";
    }
    return (secure ? "https://" : "http://") + name + ":" + std::to_string(port);
}

}  // namespace Communication
