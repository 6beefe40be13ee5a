#include "Files/Preferences.hpp"

#include "IO/FileChannels.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Logger.hpp"

#include <map>

namespace SYC::Preferences {

namespace {

using Values = std::map<OV::String, std::int32_t, std::less<>>;
constexpr OV::StringView Root = "Preferences";

IO::Location File()
{
    return IO::GetCompanyFolder(IO::SpecialFolder::RoamingApplicationData)
        .Appended(u"Preferences.xml");
}

Values Read()
{
    Values values;
    try {
        const auto file = File();
        if (!IO::File::Exists(file))
            return values;
        auto input = IO::OpenXMLInput(file);
        input.channel.EnterElement(Root);
        for (auto key = input.channel.PeekName(); !key.empty(); key = input.channel.PeekName())
            values[key] = input.channel.ReadInt32(key);
    } catch (const OV::Exception& failure) {
        OV::Logger::Warning(OV::Logger::Library, u"The preferences cannot be read: %",
                            {failure.GetMessage()});
    }
    return values;
}

}  // namespace

std::optional<std::int32_t> GetLong(OV::StringView key)
{
    const auto values = Read();
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

void SetLong(OV::StringView key, std::int32_t value)
{
    auto values = Read();
    if (const auto found = values.find(key); found != values.end() && found->second == value)
        return;
    values[OV::String(key)] = value;
    try {
        OV::XMLOChannel document;
        document.EnterElement(Root);
        for (const auto& [name, number] : values)
            document.WriteInt32(name, number);
        document.LeaveElement(Root);
        IO::ReplaceWithXML(File(), document);
    } catch (const OV::Exception& failure) {
        OV::Logger::Warning(OV::Logger::Library, u"The preferences cannot be written: %",
                            {failure.GetMessage()});
    }
}

}  // namespace SYC::Preferences
