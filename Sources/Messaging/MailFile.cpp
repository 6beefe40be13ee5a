#include "Messaging/MailFile.hpp"

#include "Messaging/Detail/MailFileReader.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <limits>

namespace SYC::MailFile {

namespace {

void RequireOk(OV::ChannelStatus status)
{
    if (status != OV::ChannelOk)
        throw OV::ChannelException("A mail cannot be written.");
}

/// Takes bytes and keeps their number alone.
class ByteCounter final : public OV::OChannel {
public:
    [[nodiscard]] OV::ChannelStatus WriteBytes(std::span<const std::byte> source) override
    {
        count_ += source.size();
        return OV::ChannelOk;
    }
    [[nodiscard]] std::size_t Count() const noexcept { return count_; }

private:
    std::size_t count_ = 0;
};

void WriteMails(const MailList& mails, const UnknownRecords& unknown, OV::OChannel& channel)
{
    RequireOk(channel.Write(static_cast<std::uint32_t>(mails.size() + unknown.count)));
    for (const auto& mail : mails)
        RequireOk(mail->Write(channel));
    RequireOk(channel.WriteBytes(std::as_bytes(std::span(unknown.bytes))));
}

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

Content Decode(OV::StringView bytes)
{
    return MailFileReader(bytes).Read();
}

Content Read(const IO::Location& file)
{
    try {
        const IO::File::Content read = IO::File::Read(file, IO::File::MostOfMailFile);
        Content content = Decode(read.bytes);
        content.stamp = read.stamp;
        return content;
    } catch (const IO::IOException& error) {
        if (error.GetCode() != IO::ErrorCode::NotFound)
            throw;
        Content absent;
        absent.outcome = Outcome::Absent;
        return absent;
    }
}

Content ReadKeepingDamage(const IO::Location& file)
{
    Content content = Read(file);
    if (content.outcome != Outcome::Damaged && content.outcome != Outcome::LeftOver)
        return content;
    const IO::Location kept = FreeNameBeside(file);
    IO::File::Replace(kept, IO::File::ReadAll(file, IO::File::MostOfMailFile), true);
    content.stamp = Write(file, content.mails, content.unknown);
    content.notice = OV::FormatText(
        u"The mail file % is damaged (status %). % mails of it could be read and are "
        u"used; the whole file is kept as %.",
        {file.ToDisplayText(), content.status, content.mails.size(), kept.ToDisplayText()});
    return content;
}

void LogNotice(const OV::UniString& notice)
{
    if (!notice.empty())
        OV::Logger::Warning(OV::Logger::Library, u"%", {notice});
}

OV::String Encode(const MailList& mails, const UnknownRecords& unknown)
{
    if (mails.size() > std::numeric_limits<std::uint32_t>::max() - unknown.count)
        throw OV::ChannelException("The mails are too many for one file.");
    // A box of many megabytes that grows by doubling is copied and held twice on the way.
    ByteCounter counter;
    WriteMails(mails, unknown, counter);
    OV::MemoryOChannel channel;
    channel.Reserve(counter.Count());
    WriteMails(mails, unknown, channel);
    return channel.TakeBytes();
}

IO::ChangeStamp Write(const IO::Location& file, const MailList& mails,
                      const UnknownRecords& unknown)
{
    return IO::File::Replace(file, Encode(mails, unknown), true);
}

}  // namespace SYC::MailFile
