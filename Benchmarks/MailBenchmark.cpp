#include "Beside.hpp"
#include "IO/File.hpp"
#include "Messaging/DummyAction.hpp"
#include "Messaging/MailBox.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "Support/TemporaryFolder.hpp"

#include <functional>
#include <malloc.h>

namespace {

using SYC::ClientMail;
using SYC::MailFile::MailList;

constexpr std::size_t MailCount = 100000;

/// A note of a few lines to three members; every tenth mail carries an action.
OV::Ref<ClientMail> MakeMail(std::size_t number)
{
    auto mail = OV::MakeRef<ClientMail>();
    mail->SetId(u"{7D444840-9DC0-11D1-B245-" + OV::ToText(static_cast<std::int64_t>(number)) +
                u"}");
    mail->SetSender(u"anna.novak");
    mail->SetSenderFullName(u"Anna Nov\u00E1k");
    mail->SetRecipientsLoginName({u"amir", u"joanna.nowak", u"zoe"});
    mail->SetRecipientsFullName(u"Amir; Joanna Nowak; Zo\u00EB");
    mail->SetSendingTime(1700000000);
    mail->SetType(SYC::MailType::Normal);
    OV::UniString text;
    for (int line = 0; line < 4; ++line)
        text += u"The north wall moves by two bricks, please look at the drain below it.\n";
    mail->SetBodyText(std::move(text));
    if (number % 10 == 0)
        mail->SetActionList(
            OV::MakeRef<ClientMail::ActionList>(ClientMail::ActionList{SYC::DummyAction::Make()}));
    return mail;
}

const MailList& Mails()
{
    static const MailList mails = [] {
        MailList list;
        for (std::size_t i = 0; i < MailCount; ++i)
            list.push_back(MakeMail(i));
        return list;
    }();
    return mails;
}

/// How many bytes a second; nothing else does the same work.
void Rate(benchmark::State& state, OV::StringView bytes, const std::function<void()>& work)
{
    for (auto _ : state)
        state.SetIterationTime(Beside::Microseconds(Beside::Time(work)) / 1e6);
    state.counters["bytes_each"] = static_cast<double>(bytes.size()) / MailCount;
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void Require(bool isFine)
{
    if (!isFine)
        throw std::runtime_error("the mails cannot be coded");
}

void EncodeDisk(benchmark::State& state)
{
    const auto bytes = SYC::MailFile::Encode(Mails());
    Rate(state, bytes, [] { benchmark::DoNotOptimize(SYC::MailFile::Encode(Mails())); });
}
BENCHMARK(EncodeDisk)->UseManualTime()->Unit(benchmark::kMillisecond);

void DecodeDisk(benchmark::State& state)
{
    const auto bytes = SYC::MailFile::Encode(Mails());
    Rate(state, bytes, [&] {
        Require(SYC::MailFile::Decode(bytes).outcome == SYC::MailFile::Outcome::Complete);
    });
}
BENCHMARK(DecodeDisk)->UseManualTime()->Unit(benchmark::kMillisecond);

OV::String EncodeAllCompact(std::vector<std::size_t>* ends = nullptr)
{
    OV::MemoryOChannelX channel;
    for (const auto& mail : Mails()) {
        mail->Serialize(channel);
        if (ends)
            ends->push_back(channel.Bytes().size());
    }
    return channel.TakeBytes();
}

void EncodeCompact(benchmark::State& state)
{
    const auto bytes = EncodeAllCompact();
    Rate(state, bytes, [] { benchmark::DoNotOptimize(EncodeAllCompact()); });
}
BENCHMARK(EncodeCompact)->UseManualTime()->Unit(benchmark::kMillisecond);

void DecodeCompact(benchmark::State& state)
{
    std::vector<std::size_t> ends;
    const auto bytes = EncodeAllCompact(&ends);
    Rate(state, bytes, [&] {
        MailList mails;
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            OV::MemoryIChannelX channel(OV::StringView(bytes).substr(begin, end - begin));
            mails.push_back(OV::MakeRef<ClientMail>(channel));
            begin = end;
        }
    });
}
BENCHMARK(DecodeCompact)->UseManualTime()->Unit(benchmark::kMillisecond);

std::vector<Syncra::Protocol::Message> MakeMessages()
{
    std::vector<Syncra::Protocol::Message> messages;
    for (const auto& mail : Mails())
        messages.push_back(mail->ConvertToSyncraMessage());
    return messages;
}

/// The bytes of the header tables and bodies, one behind the other.
OV::String TextOf(const std::vector<Syncra::Protocol::Message>& messages)
{
    OV::MemoryOChannel channel;
    for (const auto& message : messages) {
        for (const auto& [key, value] : message.header)
            Require(channel.Write(key) == OV::ChannelOk && channel.Write(value) == OV::ChannelOk);
        Require(channel.WriteBytes(std::as_bytes(std::span(message.bodyData))) == OV::ChannelOk);
    }
    return channel.TakeBytes();
}

void ToMessages(benchmark::State& state)
{
    Rate(state, TextOf(MakeMessages()), [] { benchmark::DoNotOptimize(MakeMessages()); });
}
BENCHMARK(ToMessages)->UseManualTime()->Unit(benchmark::kMillisecond);

void FromMessages(benchmark::State& state)
{
    const auto messages = MakeMessages();
    Rate(state, TextOf(messages), [&] {
        MailList mails;
        for (const auto& message : messages) {
            mails.push_back(OV::MakeRef<ClientMail>());
            Require(mails.back()->SyncraMessageConvertTo(message) == OV::ChannelOk);
        }
    });
}
BENCHMARK(FromMessages)->UseManualTime()->Unit(benchmark::kMillisecond);

/// A box beside a file of the same bytes, written with the same safety.
void SaveBox(benchmark::State& state)
{
    const TemporaryFolder folder;
    const auto bytes = SYC::MailFile::Encode(Mails());
    Beside(state, "saving a box of 100,000 mails", "writing the same bytes as safely")
        .Run([&] { SYC::MailFile::Write(folder.GetLocation().Appended(u"Mails.dat"), Mails()); },
             [&] { IO::File::Replace(folder.GetLocation().Appended(u"bare"), bytes); });
}
BENCHMARK(SaveBox)->UseManualTime()->Unit(benchmark::kMillisecond);

/// A mark and a mail more, as a refresh leaves them.
void SaveChange(benchmark::State& state)
{
    const TemporaryFolder folder;
    SYC::MailBox box(folder.GetLocation());
    for (const auto& mail : Mails())
        box.Add(OV::MakeRef<ClientMail>(*mail));
    std::size_t number = MailCount;
    box.SetKnownChange(number);
    box.Write();
    const OV::String bytes(512, 'x');
    Beside(state, "saving a mark and a new mail in a box of 100,000",
           "writing two files of 512 bytes as safely")
        .Run(
            [&] {
                box.GetMails()[number % 1000]->SetRead();
                box.Add(MakeMail(number));
                box.SetKnownChange(++number);
                box.Write();
            },
            [&] {
                for (const auto* name : {u"one", u"two"})
                    IO::File::Replace(folder.GetLocation().Appended(name), bytes);
            });
    Require(IO::File::ReadAll(folder.GetLocation().Appended(u"Mails.dat"),
                              IO::File::MostOfMailFile) == SYC::MailFile::Encode(box.GetMails()));
}
BENCHMARK(SaveChange)->UseManualTime()->Unit(benchmark::kMillisecond);

void LoadBox(benchmark::State& state)
{
    const TemporaryFolder folder;
    const auto file = folder.GetLocation().Appended(u"Mails.dat");
    SYC::MailFile::Write(file, Mails());
    double memory = 0;
    Beside beside(state, "loading a box of 100,000 mails", "reading the same file");
    for (auto _ : state) {
        const auto before = mallinfo2();
        SYC::MailFile::Content content;
        const auto ours = Beside::Time([&] { content = SYC::MailFile::Read(file); });
        Require(content.mails.size() == MailCount);
        const auto after = mallinfo2();
        memory = static_cast<double>(after.uordblks + after.hblkhd) -
                 static_cast<double>(before.uordblks + before.hblkhd);
        beside.Add(ours, Beside::Time([&] {
                       benchmark::DoNotOptimize(IO::File::ReadAll(file, IO::File::MostOfMailFile));
                   }));
    }
    state.counters["memory_each"] = memory / MailCount;
}
BENCHMARK(LoadBox)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
