#include "Messaging/ClientMail.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <gtest/gtest.h>

// A linker takes from a static library only what something refers to, and to a kind of action
// nothing does: the reader finds it by the id in the data.
TEST(MailActionKindsTest, KnowsTheKindsOfActionsThatCameWithIt)
{
    OV::MemoryOChannel record;
    ASSERT_EQ(SYC::ClientMail().Write(record), OV::ChannelOk);
    OV::String bytes = record.TakeBytes();
    OV::MemoryOChannel action;
    ASSERT_EQ(action.Write(OV::UniStringView(u"Dummy")), OV::ChannelOk);
    ASSERT_EQ(action.Write(OV::UniStringView(u"DummyAction")), OV::ChannelOk);
    ASSERT_EQ(action.Write(std::uint16_t(1)), OV::ChannelOk);
    ASSERT_EQ(action.Write(std::uint16_t(0)), OV::ChannelOk);
    ASSERT_EQ(action.Write(OV::UniStringView()), OV::ChannelOk);
    // Behind the count of actions stand a flag and the length of an empty text.
    const std::size_t end = bytes.size() - 5;
    bytes[end - 4] = 1;
    bytes.insert(end, action.Bytes());
    SYC::ClientMail mail;
    OV::MemoryIChannel channel(bytes);
    ASSERT_EQ(mail.Read(channel), OV::ChannelOk);
    EXPECT_EQ((*mail.GetActionList())[0]->GetId(), u"Dummy");
}
