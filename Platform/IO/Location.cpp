#include "IO/Location.hpp"

#include "IO/IOException.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/PercentCoding.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

namespace IO {

namespace {

using OV::String;
using OV::StringView;
using OV::UniString;
using OV::UniStringView;

constexpr char16_t Separator = u'/';

void AppendEncoded(String& url, UniStringView text)
{
    url += OV::PercentEncode(OV::ToUtf8(text));
}

/// The message leaves the text out: it may hold a password.
[[noreturn]] void FailUrl(StringView problem)
{
    throw OV::IllegalArgumentException("Not a URL: " + String(problem) +
                                       ". One looks like scheme://user@host:port/name.");
}

UniString Decode(StringView text)
{
    const auto bytes = OV::PercentDecode(text);
    if (!bytes)
        FailUrl("a percent-encoded part is damaged or no UTF-8");
    return OV::FromUtf8(*bytes);
}

bool IsScheme(StringView text)
{
    return !text.empty() && !OV::IsDigit(text[0]) &&
           std::all_of(text.begin(), text.end(), [](char byte) {
               return OV::IsLetter(byte) || OV::IsDigit(byte) || byte == '+' || byte == '-' ||
                      byte == '.';
           });
}

std::uint16_t ParsePort(StringView text)
{
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        FailUrl("the port is no number from 0 to 65535");
    return port;
}

std::vector<UniString> SplitPath(UniStringView path)
{
    std::vector<UniString> components;
    while (!path.empty()) {
        const auto cut = std::min(path.find(Separator), path.size());
        const auto component = path.substr(0, cut);
        if (!component.empty() && component != u".")
            components.emplace_back(component);
        path.remove_prefix(std::min(cut + 1, path.size()));
    }
    return components;
}

}  // namespace

Location Location::FromPath(UniStringView path)
{
    Location location;
    if (path.empty())
        return location;
    location.model_ = NetworkModel::Local;
    location.absolute_ = path.front() == Separator;
    location.components_ = SplitPath(path);
    return location;
}

Location Location::MakeUrl(UniString scheme)
{
    Location location;
    location.model_ = NetworkModel::Url;
    location.scheme_ = std::move(scheme);
    return location;
}

namespace {

/// "user:password@host:port", all but the host optional.
void ReadAuthority(StringView authority, Location& location)
{
    if (const auto at = authority.rfind('@'); at != StringView::npos) {
        const auto login = authority.substr(0, at);
        const auto colon = std::min(login.find(':'), login.size());
        location.SetUserName(Decode(login.substr(0, colon)));
        if (colon < login.size())
            location.SetPassword(Decode(login.substr(colon + 1)));
        authority.remove_prefix(at + 1);
    }
    std::size_t hostEnd = std::min(authority.find(':'), authority.size());
    StringView host = authority.substr(0, hostEnd);
    if (!authority.empty() && authority.front() == '[') {
        const auto bracket = authority.find(']');
        if (bracket == StringView::npos)
            FailUrl("an address without its closing bracket");
        host = authority.substr(1, bracket - 1);
        hostEnd = bracket + 1;
    }
    if (host.empty())
        FailUrl("the host is missing");
    location.SetHost(Decode(host));
    const auto rest = authority.substr(hostEnd);
    if (rest.empty())
        return;
    if (rest.front() != ':')
        FailUrl("unexpected text behind the host");
    location.SetPort(rest.size() == 1 ? std::uint16_t(0) : ParsePort(rest.substr(1)));
}

}  // namespace

Location Location::FromUrlText(UniStringView text)
{
    const String url = OV::ToUtf8(text);
    const StringView whole = url;
    const auto colon = whole.find("://");
    if (colon == StringView::npos || !IsScheme(whole.substr(0, colon)))
        FailUrl("the scheme is missing");
    auto location = MakeUrl(OV::FromUtf8(whole.substr(0, colon)));
    StringView rest = whole.substr(colon + 3);
    const auto pathStart = std::min(rest.find('/'), rest.size());
    ReadAuthority(rest.substr(0, pathStart), location);
    rest.remove_prefix(pathStart);
    while (rest.size() > 1) {
        rest.remove_prefix(1);
        const auto cut = std::min(rest.find('/'), rest.size());
        location.components_.push_back(Decode(rest.substr(0, cut)));
        rest.remove_prefix(cut);
    }
    return location;
}

bool Location::IsLegal() const
{
    const auto isGood = [this](const UniString& component) {
        return !component.empty() && component.find(u'\0') == UniString::npos &&
               (model_ == NetworkModel::Url || component.find(Separator) == UniString::npos);
    };
    if (!std::all_of(components_.begin(), components_.end(), isGood))
        return false;
    if (model_ == NetworkModel::Url)
        return IsScheme(OV::ToUtf8(scheme_)) && isGood(host_);
    return model_ == NetworkModel::Local && (absolute_ || !components_.empty());
}

Location Location::Appended(UniStringView component) const
{
    Location longer = *this;
    if (longer.model_ == NetworkModel::None)
        longer.model_ = NetworkModel::Local;
    longer.components_.emplace_back(component);
    return longer;
}

Location Location::Parent() const
{
    Location parent = *this;
    if (!parent.components_.empty())
        parent.components_.pop_back();
    return parent;
}

UniString Location::LastComponent() const
{
    return components_.empty() ? UniString() : components_.back();
}

UniString Location::ToPath() const
{
    UniString path;
    if (model_ != NetworkModel::Local)
        return path;
    for (const auto& component : components_) {
        if (absolute_ || !path.empty())
            path.push_back(Separator);
        path += component;
    }
    if (path.empty())
        path = absolute_ ? u"/" : u".";
    return path;
}

String Location::ToNativePath() const
{
    String path = OV::ToUtf8(ToPath());
    // The system would take it for the end, and open or delete another file.
    if (path.find('\0') != String::npos)
        throw IOException(ErrorCode::NotFound, u"Cannot use", *this,
                          "a name holds a null character");
    return path;
}

UniString Location::ToUrlText() const
{
    if (model_ != NetworkModel::Url || !IsLegal())
        throw OV::IllegalArgumentException("The location is no URL with scheme and host.");
    String url = OV::ToUtf8(scheme_) + "://";
    AppendEncoded(url, userName_);
    if (!password_.empty()) {
        url.push_back(':');
        AppendEncoded(url, password_);
    }
    if (!userName_.empty() || !password_.empty())
        url.push_back('@');
    // Only an IPv6 address is all of these characters with a colon among them.
    const bool isAddress = host_.find(u':') != UniString::npos &&
                           host_.find_first_not_of(u"0123456789abcdefABCDEF:.") == UniString::npos;
    if (isAddress)
        url += "[" + OV::ToUtf8(host_) + "]";
    else
        AppendEncoded(url, host_);
    if (port_ != 0)
        url += ":" + std::to_string(port_);
    for (const auto& component : components_) {
        url.push_back('/');
        AppendEncoded(url, component);
    }
    return OV::FromUtf8(url);
}

UniString Location::ToDisplayText() const
{
    if (model_ != NetworkModel::Url)
        return ToPath();
    Location shown = *this;
    shown.password_.clear();
    return shown.IsLegal() ? shown.ToUrlText() : u"an incomplete URL";
}

}  // namespace IO

std::size_t std::hash<IO::Location>::operator()(const IO::Location& location) const noexcept
{
    const std::hash<OV::UniString> hashText;
    std::size_t value = hashText(location.GetScheme()) ^ location.GetPort();
    for (const auto* text : {&location.GetUserName(), &location.GetHost()})
        value = value * 31 + hashText(*text);
    for (const auto& component : location.GetComponents())
        value = value * 31 + hashText(component);
    return value;
}
