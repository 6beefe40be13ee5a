#include "Management/Rules.hpp"

#include "Management/ConfigurationStore.hpp"
#include "OVRoot/Ascii.hpp"
#include "Refusal.hpp"
#include "SignInService.hpp"

#include "OVRoot/Guid.hpp"

#include <algorithm>

namespace Nexar::Rules {

using Definition = Syncra::Server::Management::CustomPropertyDefinition;

namespace {

constexpr std::size_t MaximumName = 128;
constexpr std::size_t MaximumText = 1024;
constexpr std::size_t MaximumEmail = 254;
/// More than this cannot sign in.
constexpr std::size_t MaximumPassword = 1024;
constexpr std::size_t MaximumDigits = 18;

bool IsControl(char16_t c)
{
    return c < u' ' || (c >= 0x7F && c < 0xA0) || OV::IsDirectionMark(c) || OV::IsInvisibleMark(c);
}

bool IsLetterOrDigit(char16_t c)
{
    return OV::IsDigit(c) || OV::IsLetter(c);
}

bool HasFormOfId(OV::UniStringView text)
{
    try {
        (void)OV::Guid::Parse(OV::UniString(text));
        return true;
    } catch (const OV::IllegalArgumentException&) {
        return false;
    }
}

bool IsHost(OV::UniStringView text)
{
    return !text.empty() && text.front() != u'.' && text.back() != u'.' &&
           text.find(u"..") == text.npos && std::all_of(text.begin(), text.end(), [](char16_t c) {
               return IsLetterOrDigit(c) || c == u'.' || c == u'-';
           });
}

/// What may stand before the "@", as mail programs take it without quotes.
bool IsMailbox(OV::UniStringView text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char16_t c) {
        return IsLetterOrDigit(c) ||
               OV::UniStringView(u".!#$%&'*+-/=?^_`{|}~").find(c) != OV::UniStringView::npos;
    });
}

bool IsNumber(OV::UniStringView text)
{
    if (text.starts_with(u'-'))
        text.remove_prefix(1);
    return !text.empty() && text.size() <= MaximumDigits &&
           std::all_of(text.begin(), text.end(), OV::IsDigit<char16_t>);
}

bool IsPort(OV::UniStringView text)
{
    if (!IsNumber(text) || text.size() > 5)
        return false;
    const int number = std::stoi(OV::ToUtf8(text));
    return number >= 1 && number <= 0xFFFF;
}

}  // namespace

void Break(const std::string& message)
{
    throw Refusal(Syncra::Protocol::ErrorCode::RuleBroken, message);
}

void CheckName(OV::UniStringView text, const std::string& what)
{
    if (text.empty() || text.size() > MaximumName)
        Break("The " + what + " must have 1 to 128 characters.");
    if (text.front() == u' ' || text.back() == u' ' ||
        std::any_of(text.begin(), text.end(), IsControl))
        Break("The " + what + " must not begin or end with a blank or hold control characters.");
}

void CheckText(OV::UniStringView text, const std::string& what)
{
    if (text.size() > MaximumText)
        Break("The " + what + " must have at most 1024 characters.");
}

void CheckLoginName(OV::UniStringView text)
{
    CheckName(text, "login name");
    if (text.find(u',') != text.npos)
        Break("The login name must not hold a comma: lists of recipients do.");
    if (HasFormOfId(text))
        Break("The login name must not look like an id.");
    if (OV::EqualsIgnoreCase(text, OV::FromUtf8(SignInService::BuiltInLogin)))
        Break("\"" + OV::ToUtf8(text) + "\" is the server's own account.");
}

void CheckPassword(Database& database, OV::UniStringView text)
{
    const auto least = ConfigurationStore(database).Get().minimumPasswordLength;
    if (text.size() < static_cast<std::size_t>(least))
        Break("The password must have at least " + std::to_string(least) + " characters.");
    if (text.size() > MaximumPassword)
        Break("The password must have at most 1024 characters.");
}

void CheckEmail(OV::UniStringView text)
{
    const auto at = text.rfind(u'@');
    const bool isAddress = text.size() <= MaximumEmail && at != text.npos &&
                           IsMailbox(text.substr(0, at)) && IsHost(text.substr(at + 1));
    if (!text.empty() && !isAddress)
        Break("The e-mail address is none. One looks like name@example.com.");
}

void CheckAddress(OV::UniStringView text)
{
    const auto colon = text.rfind(u':');
    const bool isAddress = colon != text.npos && colon <= MaximumName &&
                           IsHost(text.substr(0, colon)) && IsPort(text.substr(colon + 1));
    if (!text.empty() && !isAddress)
        Break("The address is none. One looks like host:port.");
}

void CheckDefinition(const Definition& definition)
{
    CheckName(definition.name, "name of the custom property");
    CheckText(definition.description, "description");
    if (definition.choices.empty() != (definition.type != Definition::Type::Choice))
        Break("A custom property has choices when its type is choice, and only then.");
    OV::HashSet<OV::UniString> seen;
    for (const auto& choice : definition.choices) {
        CheckName(choice, "choice");
        if (!seen.insert(choice).second)
            Break("The choice \"" + OV::ToUtf8(choice) + "\" comes twice.");
    }
}

bool IsValueOf(const Definition& definition, OV::UniStringView value)
{
    switch (definition.type) {
    case Definition::Type::Text:
        return value.size() <= MaximumText;
    case Definition::Type::Number:
        return IsNumber(value);
    case Definition::Type::YesNo:
        return value == u"yes" || value == u"no";
    case Definition::Type::Choice:
        break;
    }
    const auto& choices = definition.choices;
    return std::find(choices.begin(), choices.end(), value) != choices.end();
}

}  // namespace Nexar::Rules
