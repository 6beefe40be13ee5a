#include "Messaging/MailFile.hpp"

#include "Messaging/Detail/MailFileReader.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

namespace {

/// "Mails.dat.damaged-1" and so on.
IO::Location FreeNameBeside(const IO::Location& file)
{
    for (int number = 1;; ++number) {
        const IO::Location candidate = file.Parent().Appended(file.LastComponent() + u".damaged-" +
                                                              OV::FromUtf8(std::to_string(number)));
        if (!IO::File::Exists(candidate))
            return candidate;
    }
}

}  // namespace

MailFileContent ReadMailFile(const IO::Location& file)
{
    try {
        const IO::File::Content read = IO::File::Read(file, IO::File::MostOfMailFile);
        MailFileContent content = MailFileReader(read.bytes).Read();
        content.stamp = read.stamp;
        return content;
    } catch (const IO::IOException& error) {
        if (error.GetCode() != IO::ErrorCode::NotFound)
            throw;
        MailFileContent absent;
        absent.outcome = MailFile::Outcome::Absent;
        return absent;
    }
}

void KeepDamage(const IO::Location& file, MailFile::Content& content)
{
    if (content.outcome != MailFile::Outcome::Damaged &&
        content.outcome != MailFile::Outcome::LeftOver)
        return;
    const IO::Location kept = FreeNameBeside(file);
    IO::File::Replace(kept, IO::File::ReadAll(file, IO::File::MostOfMailFile), true);
    content.stamp = MailFile::Write(file, content.mails, content.unknown);
    content.notice = OV::FormatText(
        u"The mail file % is damaged (status %). % mails of it could be read and are "
        u"used; the whole file is kept as %.",
        {file.ToDisplayText(), content.status, content.mails.size(), kept.ToDisplayText()});
}

}  // namespace SYC

namespace SYC::MailFile {

Content Decode(OV::StringView bytes)
{
    return MailFileReader(bytes).Read();
}

Content Read(const IO::Location& file)
{
    return ReadMailFile(file);
}

Content ReadKeepingDamage(const IO::Location& file)
{
    Content content = Read(file);
    KeepDamage(file, content);
    return content;
}

void LogNotice(const OV::UniString& notice)
{
    if (!notice.empty())
        OV::Logger::Warning(OV::Logger::Library, u"%", {notice});
}

OV::String Encode(const MailList& mails, const UnknownRecords& unknown)
{
    MailPlaces unneeded;
    return MailSnapshot(mails).Encode(unknown, unneeded);
}

IO::ChangeStamp Write(const IO::Location& file, const MailList& mails,
                      const UnknownRecords& unknown)
{
    return IO::File::Replace(file, Encode(mails, unknown), true);
}

}  // namespace SYC::MailFile
