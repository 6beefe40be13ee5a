#include "Messaging/MailFile.hpp"

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
        throw OV::ChannelException(OV::StringView("A mail cannot be written."));
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

void WriteMails(const MailList& mails, OV::OChannel& channel)
{
    RequireOk(channel.Write(static_cast<std::uint32_t>(mails.size())));
    for (const auto& mail : mails)
        RequireOk(mail->Write(channel));
}

OV::ChannelStatus ReadMails(MailList& mails, OV::IChannel& channel)
{
    std::uint32_t count = 0;
    auto status = channel.Read(count);
    for (; count > 0 && status == OV::ChannelOk; --count) {
        auto mail = OV::MakeRef<ClientMail>();
        status = mail->Read(channel);
        if (status == OV::ChannelOk)
            mails.push_back(std::move(mail));
    }
    return status;
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
    Content content;
    OV::MemoryIChannel channel(bytes);
    content.status = ReadMails(content.mails, channel);
    if (content.status != OV::ChannelOk)
        content.outcome = Outcome::Damaged;
    else if (!channel.Rest().empty())
        content.outcome = Outcome::LeftOver;
    return content;
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
        return {{}, Outcome::Absent, OV::ChannelOk, {}};
    }
}

Content ReadKeepingDamage(const IO::Location& file)
{
    Content content = Read(file);
    if (content.outcome != Outcome::Damaged && content.outcome != Outcome::LeftOver)
        return content;
    const IO::Location kept = FreeNameBeside(file);
    IO::File::Replace(kept, IO::File::ReadAll(file, IO::File::MostOfMailFile), true);
    OV::Logger::Warning(
        "SYClient",
        u"The mail file % is damaged (status %). % mails of it could be read and are "
        u"used; the whole file is kept as %.",
        {file.ToDisplayText(), content.status, content.mails.size(), kept.ToDisplayText()});
    content.stamp = Write(file, content.mails);
    return content;
}

OV::String Encode(const MailList& mails)
{
    if (mails.size() > std::numeric_limits<std::uint32_t>::max())
        throw OV::ChannelException(OV::StringView("The mails are too many for one file."));
    // A box of many megabytes that grows by doubling is copied and held twice on the way.
    ByteCounter counter;
    WriteMails(mails, counter);
    OV::MemoryOChannel channel;
    channel.Reserve(counter.Count());
    WriteMails(mails, channel);
    return channel.TakeBytes();
}

IO::ChangeStamp Write(const IO::Location& file, const MailList& mails)
{
    return IO::File::Replace(file, Encode(mails), true);
}

}  // namespace SYC::MailFile
