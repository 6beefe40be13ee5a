#include "Messaging/Detail/MailRecord.hpp"

#include "Messaging/Detail/DiskReader.hpp"

#include <optional>

namespace SYC {

namespace {

/// The historical flag and the parent mail's id, which end a mail.
struct Tail {
    std::size_t at = 0;
    bool historical = false;
    OV::UniString parentMailId;
};

/// Ids are shorter than this, in bytes.
constexpr std::size_t MaximumTailText = 4096;

/// The shortest tail that `bytes` can end with; nothing when it ends with none.
std::optional<Tail> FindTail(OV::StringView bytes)
{
    constexpr std::size_t fixed = sizeof(char) + sizeof(std::uint32_t);
    for (std::size_t text = 0; text <= MaximumTailText && text + fixed <= bytes.size(); text += 2) {
        Tail tail{bytes.size() - text - fixed, false, {}};
        OV::MemoryIChannel channel(bytes.substr(tail.at));
        std::uint32_t count = 0;
        OV::FieldReader stream(channel);
        OV::TransferFields(stream, tail.historical, count);
        if (!stream.IsGood() || count != text)
            continue;
        OV::MemoryIChannel last(bytes.substr(tail.at + sizeof(char)));
        if (last.Read(tail.parentMailId) == OV::ChannelOk)
            return tail;
    }
    return std::nullopt;
}

}  // namespace

MailRecord MailRecord::Read(OV::StringView bytes)
{
    MailRecord record;
    OV::MemoryIChannel channel(bytes);
    DiskReader reader(channel, ClientMail::ClassInformation);
    if (reader.MainVersion() > ClientMail::ClassInformation.mainVersion) {
        record.state = State::UnknownVersion;
    } else if (reader.IsGood()) {
        record.mail = OV::MakeRef<ClientMail>();
        MailFields::Transfer(*record.mail, reader);
        record.actionsAt = bytes.size() - reader.RestAtActions().size();
        record.actionsEnd = bytes.size() - reader.RestBehindActions().size();
        record.actionCount = reader.ActionCount();
        record.isCutOff = !reader.Actions().isUnknown;
        if (reader.IsGood())
            record.state = State::Complete;
        else if (reader.Actions().status != OV::ChannelOk)
            record.state = State::UnreadActions;
    }
    record.status = reader.Status();
    record.size = bytes.size() - channel.Rest().size();
    return record;
}

bool MailRecord::Finish(OV::StringView record)
{
    if (record.size() < actionsAt)
        return false;
    const auto behindCount = record.substr(actionsAt);
    auto tail = FindTail(behindCount);
    if (!tail)
        return false;
    MailFields::SetBehindText(*mail, actionCount, OV::String(behindCount.substr(0, tail->at)),
                              tail->historical, std::move(tail->parentMailId));
    return true;
}

}  // namespace SYC
