#include "Messaging/Detail/MailChangeFile.hpp"

#include "IO/IOException.hpp"

#include <charconv>
#include <string>

namespace SYC {

MailChangeFile::MailChangeFile(const IO::Location& mailFile)
    : file_(mailFile.Parent().Appended(mailFile.LastComponent() + u".change"))
{}

MailChangeFile::Entry MailChangeFile::Read() const
try {
    constexpr std::uint64_t most = 100;
    const OV::String text = IO::File::ReadAll(file_, most);
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto read = [&](auto& number, char behind) {
        const auto [rest, error] = std::from_chars(at, end, number);
        if (error != std::errc() || rest == end || *rest != behind)
            return false;
        at = rest + 1;
        return true;
    };
    Entry entry;
    const bool isRead = read(entry.change, ' ') && read(entry.stamp.modificationNanoseconds, ' ') &&
                        read(entry.stamp.size, ' ') && read(entry.stamp.identity, '\n');
    return isRead && at == end ? entry : Entry();
} catch (const IO::IOException&) {
    return {};
}

std::uint64_t MailChangeFile::Read(const IO::ChangeStamp& stamp) const
{
    const Entry entry = Read();
    return entry.stamp == stamp ? entry.change : 0;
}

bool MailChangeFile::Write(std::uint64_t change, const IO::ChangeStamp& stamp) const noexcept
try {
    if (change == 0)
        return false;
    OV::String text = std::to_string(change);
    text += ' ' + std::to_string(stamp.modificationNanoseconds);
    text += ' ' + std::to_string(stamp.size);
    text += ' ' + std::to_string(stamp.identity) + '\n';
    (void)IO::File::Replace(file_, text, true);
    return true;
} catch (...) {
    // The next start asks for all flags, as it does without the file.
    return false;
}

bool MailChangeFile::IsUnfinished(const MailFileContent& content) const
{
    if (content.outcome != MailFile::Outcome::LeftOver)
        return false;
    const Entry entry = Read();
    return entry.change != 0 && content.stamp->identity == entry.stamp.identity &&
           content.places->GetEnd() == entry.stamp.size;
}

}  // namespace SYC
