#include "OVRoot/ClassFrame.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace std::string_literals;

constexpr OV::ClassInfo Frame{u"Mail", 1, 2};

/// A record with every form a channel knows; status of the first operation that failed.
OV::ChannelStatus WriteRecord(OV::OChannel& channel)
{
    const OV::OutputClassFrame frame(channel, Frame);
    if (frame.Status() != OV::ChannelOk)
        return frame.Status();
    for (const auto status :
         {channel.Write(true), channel.Write(std::int16_t{-2}),
          channel.Write(std::uint16_t{0xFEDC}), channel.Write(std::int32_t{-3}),
          channel.Write(std::uint32_t{0x89ABCDEF}), channel.Write(OV::UniStringView(u"A\u4e2d"))})
        if (status != OV::ChannelOk)
            return status;
    return OV::ChannelOk;
}

struct Record {
    bool flag = false;
    std::int16_t small = 0;
    std::uint16_t count = 0;
    std::int32_t number = 0;
    std::uint32_t size = 0;
    OV::UniString text;
};

OV::ChannelStatus ReadRecord(OV::IChannel& channel, Record& record)
{
    OV::ChannelStatus status = OV::InputClassFrame(channel, Frame).Status();
    const auto next = [&](auto& value) {
        if (status == OV::ChannelOk)
            status = channel.Read(value);
    };
    next(record.flag);
    next(record.small);
    next(record.count);
    next(record.number);
    next(record.size);
    next(record.text);
    return status;
}

const OV::String RecordBytes = "\x08\0\0\0M\0a\0i\0l\0\x01\0\x02\0"
                               "\x01\xfe\xff\xdc\xfe\xfd\xff\xff\xff\xef\xcd\xab\x89"
                               "\x04\0\0\0A\0\x2d\x4e"s;

/// Hands out as many bytes as it was made with, without holding them.
class EndlessChannel final : public OV::IChannel {
public:
    explicit EndlessChannel(std::size_t bytes) : left_(bytes) {}
    OV::ChannelStatus ReadBytes(std::span<std::byte> target) override
    {
        largest_ = std::max(largest_, target.size());
        if (target.size() > left_)
            return -12;
        left_ -= target.size();
        std::fill(target.begin(), target.end(), std::byte{0xFF});
        return OV::ChannelOk;
    }
    [[nodiscard]] std::size_t Largest() const { return largest_; }

private:
    std::size_t left_;
    std::size_t largest_ = 0;
};

}  // namespace

TEST(ChannelTest, WritesTheDocumentedBytesAndReadsThemBack)
{
    OV::MemoryOChannel out;
    ASSERT_EQ(WriteRecord(out), OV::ChannelOk);
    EXPECT_EQ(out.Bytes(), RecordBytes);

    OV::MemoryIChannel in(RecordBytes);
    Record record;
    ASSERT_EQ(ReadRecord(in, record), OV::ChannelOk);
    EXPECT_TRUE(in.Rest().empty());
    EXPECT_TRUE(record.flag);
    EXPECT_EQ(record.small, -2);
    EXPECT_EQ(record.count, 0xFEDC);
    EXPECT_EQ(record.number, -3);
    EXPECT_EQ(record.size, 0x89ABCDEF);
    EXPECT_EQ(record.text, u"A\u4e2d");
}

TEST(ChannelTest, FailsWhereverARecordIsCutAndOnEveryImpossibleByte)
{
    Record record;
    for (std::size_t length = 0; length < RecordBytes.size(); ++length) {
        OV::MemoryIChannel in(OV::StringView(RecordBytes).substr(0, length));
        EXPECT_EQ(ReadRecord(in, record), OV::ChannelFailed) << length;
    }
    const std::pair<std::size_t, char> damages[] = {
        {0, '\x07'},   // an odd count of bytes
        {3, '\x7f'},   // a count far beyond the data
        {4, 'm'},      // another class
        {16, '\x02'},  // neither false nor true
    };
    for (const auto& [at, byte] : damages) {
        OV::String damaged = RecordBytes;
        damaged[at] = byte;
        OV::MemoryIChannel in(damaged);
        EXPECT_EQ(ReadRecord(in, record), OV::ChannelFailed) << at;
    }
}

TEST(ChannelTest, GrowsOnlyWithBytesThatArrive)
{
    constexpr std::size_t step = 64 * 1024;
    EndlessChannel blocks(2 * step);
    OV::String block;
    EXPECT_EQ(blocks.ReadBlock(block, std::numeric_limits<std::uint32_t>::max()), -12)
        << "the channel's own status is handed on";
    EXPECT_LE(blocks.Largest(), step);
    EXPECT_LE(block.capacity(), 6 * step);

    EndlessChannel texts(4 + 10);
    OV::UniString text;
    EXPECT_EQ(texts.Read(text), OV::ChannelFailed) << "0xFFFFFFFF is odd";

    // Across steps the content has no seam.
    OV::UniString large(100'001, u'\0');
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char16_t>(i * 7);
    OV::MemoryOChannel out;
    ASSERT_EQ(out.Write(OV::UniStringView(large)), OV::ChannelOk);
    OV::MemoryIChannel in(out.Bytes());
    ASSERT_EQ(in.Read(text), OV::ChannelOk);
    EXPECT_EQ(text, large);
}

TEST(ChannelTest, ChannelsWithExceptionsWriteUtf8AndThrowOnMissingData)
{
    OV::MemoryOChannelX out;
    out.WriteInt(-2);
    out.WriteUInt(0x80000001);
    OV::OBinaryChannelUtilities::WriteUniStringAsUTF8(out, u"\u4e2d");
    out.WriteBool(true);
    const auto bytes = "\xfe\xff\xff\xff\x01\0\0\x80\x03\0\0\0\xe4\xb8\xad\x01"s;
    ASSERT_EQ(out.Bytes(), bytes);

    const auto read = [](OV::StringView data) {
        OV::MemoryIChannelX in(data);
        EXPECT_EQ(in.ReadInt(), -2);
        EXPECT_EQ(in.ReadUInt(), 0x80000001);
        EXPECT_EQ(OV::IBinaryChannelUtilities::ReadUniStringFromUTF8(in), u"\u4e2d");
        return in.ReadBool();
    };
    EXPECT_TRUE(read(bytes));
    EXPECT_FALSE(read(OV::StringView(bytes).substr(0, 15))) << "a trailing flag may be left out";
    EXPECT_THROW(read(bytes.substr(0, 15) + '\x02'), OV::ChannelException);
    EXPECT_THROW(read(bytes.substr(0, 14)), OV::ChannelException);
    OV::MemoryIChannelX hostile("\xff\xff\xff\xff....");
    EXPECT_THROW((void)OV::IBinaryChannelUtilities::ReadUniStringFromUTF8(hostile),
                 OV::ChannelException);
}
