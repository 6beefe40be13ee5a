#include "HostAction.hpp"
#include "MailTest.hpp"
#include "Messaging/MailActionRegistry.hpp"
#include "Messaging/MailFile.hpp"

#include <atomic>
#include <thread>

using namespace MailTest;
using SYC::MailActionDescriptor;
using SYC::MailActionRegistry;

namespace {

OV::Ref<SYC::MailAction> MakeFirst()
{
    return MakeDummy(u"first");
}

OV::Ref<SYC::MailAction> MakeSecond()
{
    return MakeDummy(u"second");
}

MailActionDescriptor* Find(const OV::UniString& id)
{
    return MailActionRegistry::GetRegistry().GetActionDescriptor(id);
}

/// A kind whose data are refused with a code of its own.
class RefusingAction final : public SYC::MailAction {
public:
    static constexpr OV::ChannelStatus Code = -42;
    static OV::Ref<MailAction> Make() { return OV::MakeRef<RefusingAction>(); }

    RefusingAction() : MailAction(u"Refusing") {}
    void Serialize(OV::OChannelX&) override {}
    void Deserialize(OV::IChannelX&) override {}
    OV::ChannelStatus Write(OV::OChannel&) const override { return writeStatus; }
    OV::ChannelStatus Read(OV::IChannel&) override { return Code; }
    void GetActionItems(ClientMail&, OV::Array<Item>&) override {}

    OV::ChannelStatus writeStatus = OV::ChannelOk;
};

ClientMail MailWith(OV::Ref<SYC::MailAction> action)
{
    ClientMail mail;
    mail.SetActionList(MakeActions({std::move(action)}));
    return mail;
}

}  // namespace

TEST(MailActionTest, KeepsTheFirstOfTwoDescriptorsAndRevokesById)
{
    const OV::UniString id = u"Twice";
    MailActionDescriptor first(&MakeFirst, id);
    {
        MailActionDescriptor second(&MakeSecond, id);
        EXPECT_EQ(Find(id), &first);
    }
    EXPECT_EQ(Find(id), nullptr) << "the second took the first one's entry with it";
    MailActionRegistry::GetRegistry().RevokeAction(&first);
    MailActionRegistry::GetRegistry().RegisterAction(&first);
    EXPECT_EQ(Find(id), &first);
}

TEST(MailActionTest, RefusesDescriptorsWithoutFactoryOrId)
{
    EXPECT_THROW(MailActionDescriptor(nullptr, u"x"), OV::IllegalArgumentException);
    EXPECT_THROW(MailActionDescriptor(&MakeFirst, u""), OV::IllegalArgumentException);
    EXPECT_EQ(Find(u"x"), nullptr);
    EXPECT_EQ(Find(u""), nullptr);
}

TEST(MailActionTest, RegistersAndLooksUpOnManyThreads)
{
    constexpr int threads = 4;
    constexpr int rounds = 2000;
    std::atomic<int> wrong = 0;
    std::vector<std::jthread> workers;
    for (int worker = 0; worker < threads; ++worker)
        workers.emplace_back([&, worker] {
            const auto id = u"Worker " + OV::ToText(worker);
            for (int round = 0; round < rounds; ++round) {
                const MailActionDescriptor own(&MakeFirst, id);
                wrong += Find(id) != &own;
                const auto* dummy = Find(u"Dummy");
                wrong += !dummy || dummy->GetAction()->GetId() != u"Dummy";
            }
            wrong += Find(id) != nullptr;
        });
    workers.clear();
    EXPECT_EQ(wrong, 0);
}

TEST(MailActionTest, RefusesMailsWithUnknownKinds)
{
    ClientMail mail = MailWith(OV::MakeRef<HostAction>("data"));
    ClientMail read;
    EXPECT_EQ(ReadDisk(WriteDisk(mail), read), OV::ChannelFailed);
    EXPECT_THROW(ReadCompact(WriteCompact(mail)), OV::ChannelException);
    EXPECT_EQ(read.SyncraMessageConvertTo(mail.ConvertToSyncraMessage()), OV::ChannelFailed);
    // Of a message alone it is known where the actions end.
    EXPECT_TRUE(read.HasUnknownActions());
    EXPECT_EQ(WriteDisk(read), WriteDisk(mail));
    EXPECT_THROW(WriteCompact(read), OV::ChannelException);
    EXPECT_THROW(static_cast<void>(read.ConvertToSyncraMessage()), SYC::MailConversionException);
}

TEST(MailActionTest, HandsOnTheErrorsOfActions)
{
    const MailActionDescriptor kind(&RefusingAction::Make, u"Refusing");
    const auto action = OV::MakeRef<RefusingAction>();
    ClientMail mail = MailWith(action);
    ClientMail read;
    EXPECT_EQ(ReadDisk(WriteDisk(mail), read), RefusingAction::Code);
    EXPECT_EQ(read.SyncraMessageConvertTo(mail.ConvertToSyncraMessage()), RefusingAction::Code);
    const auto file = SYC::MailFile::Encode({OV::MakeRef<ClientMail>(mail)});
    EXPECT_TRUE(SYC::MailFile::Decode(file).mails.at(0)->HasUnknownActions());

    action->writeStatus = RefusingAction::Code;
    OV::MemoryOChannel channel;
    EXPECT_EQ(mail.Write(channel), RefusingAction::Code);
    Message message;
    EXPECT_EQ(mail.SyncraMessageConvertFrom(message), RefusingAction::Code);
    EXPECT_THROW(static_cast<void>(mail.ConvertToSyncraMessage()), SYC::MailConversionException);
}
