#pragma once

#include "Messaging/ClientMail.hpp"
#include "Messaging/DummyAction.hpp"
#include "Messaging/MailConversionException.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "Support/FileBytes.hpp"

#include <gtest/gtest.h>

#include <string>

namespace MailTest {

using SYC::ClientMail;
using Syncra::Protocol::Message;

inline std::string ReadGolden(const std::string& name)
{
    return ReadBytes(SYCLIENT_TEST_SOURCE_DIR "/Tests/Mail/Golden/" + name);
}

inline OV::Ref<SYC::MailAction> MakeDummy(OV::UniString data)
{
    auto action = OV::MakeRef<SYC::DummyAction>();
    action->SetData(std::move(data));
    return action;
}

inline OV::Ref<ClientMail::ActionList>
MakeActions(std::initializer_list<OV::Ref<SYC::MailAction>> actions)
{
    return OV::MakeRef<ClientMail::ActionList>(actions);
}

/// A mail with what only the server sets.
inline ClientMail MakeMail(bool copy, std::int32_t repositoryTime = 0)
{
    Message message;
    message.copy = copy;
    message.timeStamp = repositoryTime;
    // A request, or the copy would be history at once.
    message.header[u"Type"] = u"REQUEST";
    ClientMail mail(message);
    mail.SetType(SYC::MailType::None);
    mail.SetSendingTime(0);
    return mail;
}

/// The mail that the golden files named "full" hold.
inline ClientMail MakeFullMail()
{
    ClientMail mail = MakeMail(false, -1);
    mail.SetId(u"{7D444840-9DC0-11D1-B245-5FFDCE74FAD2}");
    mail.SetRead();
    mail.SetOut(true);
    mail.SetModify(true);
    mail.SetSender(u"zo\u00EB");
    mail.SetSenderFullName(u"Zo\u00EB \u0141ukasz");
    mail.SetRecipientsLoginName({u"amir", u"\u540D\u524D"});
    mail.SetRecipientsFullName(u"Amir; \u540D\u524D");
    mail.SetSendingTime(1700000000);
    mail.SetImportance(SYC::Importance::High);
    mail.SetType(SYC::MailType::RequestAccepted);
    mail.SetBodyText(u"Pillar 7 is yours.\r\n\U0001F3D7 \x01");
    mail.SetActionList(MakeActions({MakeDummy(u""), MakeDummy(u"p\u00E4ck")}));
    mail.SetHistorical();
    mail.SetParentMailId(u"{3F2504E0-4F89-11D3-9A0C-0305E82C3301}");
    return mail;
}

inline std::string WriteDisk(const ClientMail& mail)
{
    OV::MemoryOChannel channel;
    EXPECT_EQ(mail.Write(channel), OV::ChannelOk);
    return channel.TakeBytes();
}

inline std::string ActionBytes(const SYC::MailAction& action)
{
    OV::MemoryOChannel channel;
    EXPECT_EQ(action.Write(channel), OV::ChannelOk);
    return channel.TakeBytes();
}

inline std::string WriteCompact(ClientMail mail)
{
    OV::MemoryOChannelX channel;
    mail.Serialize(channel);
    return channel.TakeBytes();
}

inline OV::ChannelStatus ReadDisk(const std::string& bytes, ClientMail& mail)
{
    OV::MemoryIChannel channel(bytes);
    return mail.Read(channel);
}

inline ClientMail ReadCompact(const std::string& bytes)
{
    OV::MemoryIChannelX channel(bytes);
    return ClientMail(channel);
}

}  // namespace MailTest
