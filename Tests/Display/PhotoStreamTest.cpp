#include "DisplayTest.hpp"

#include "Display/ImageCoding.hpp"
#include "Messaging/PhotoStream.hpp"
#include "OVRoot/MemoryChannels.hpp"

namespace {

using namespace std::string_literals;

OV::String Written(const NativeImage& image)
{
    OV::MemoryOChannel channel;
    EXPECT_EQ(SYC::WritePhoto(channel, image), 0);
    return channel.TakeBytes();
}

/// Gives `rest` zero bytes and keeps the size of the largest piece asked for.
class LongChannel final : public OV::IChannel {
public:
    explicit LongChannel(std::uint64_t rest) : rest_(rest) {}
    OV::ChannelStatus ReadBytes(std::span<std::byte> target) override
    {
        if (isAtCount_)
            std::fill(target.begin(), target.end(), std::byte{0xFF});
        isAtCount_ = false;
        largest = std::max(largest, target.size());
        if (target.size() > rest_)
            return OV::ChannelFailed;
        rest_ -= target.size();
        return OV::ChannelOk;
    }
    [[nodiscard]] std::uint64_t Rest() const { return rest_; }
    std::size_t largest = 0;

private:
    bool isAtCount_ = true;
    std::uint64_t rest_;
};

}  // namespace

TEST(PhotoStreamTest, WritesACountAndAPngOrACountOfZero)
{
    const auto image = Uniform(3, 2, 0x80402010);
    const auto bytes = Written(image);
    EXPECT_EQ(Written({}), "\0\0\0\0"s);
    EXPECT_EQ(bytes.substr(4), EncodeImage(image, NewDisplay::ImageFormat(1)));
    EXPECT_EQ(bytes.substr(4, 4), "\x89PNG");
    EXPECT_EQ(bytes.substr(0, 4), OV::String(1, char(bytes.size() - 4)) + "\0\0\0"s);
    EXPECT_EQ(Written(Noise(2400, 2400)), Written({})) << "a file that no reader takes";
}

TEST(PhotoStreamTest, ReadsOneRecordAfterTheOtherWhateverTheyHold)
{
    const auto photo = Uniform(3, 2, 0x80402010);
    const auto jpeg = Golden("grey.jpg");
    const auto records = Written(photo) + Written({}) + "\x04\0\0\0junk"s + char(jpeg.size()) +
                         "\0\0\0"s + jpeg + Written(photo);
    OV::MemoryIChannel channel(records);
    for (const auto& expected : {photo, NativeImage(), NativeImage(),
                                 NewDisplay::DecodeImage(jpeg, u"image/jpeg"), photo}) {
        auto image = Uniform(1, 1, 0);
        EXPECT_EQ(SYC::ReadPhoto(channel, image), 0);
        EXPECT_EQ(image, expected);
    }
    EXPECT_TRUE(channel.Rest().empty());
}

TEST(PhotoStreamTest, GivesNoPhotoWhereTheStreamEnds)
{
    const auto record = Written(Uniform(3, 2, 0xFF00FF00));
    for (std::size_t size = 0; size < record.size(); ++size) {
        OV::MemoryIChannel channel(OV::StringView(record).substr(0, size));
        auto image = Uniform(1, 1, 0);
        EXPECT_EQ(SYC::ReadPhoto(channel, image), 0);
        EXPECT_TRUE(image.IsEmpty()) << size;
    }
}

TEST(PhotoStreamTest, PassesOverAPhotoThatClaimsFourGigabytes)
{
    for (const std::uint64_t more : {std::uint64_t{10}, std::uint64_t{0xFFFFFFFF} + 10}) {
        LongChannel channel(4 + more);
        NativeImage image;
        EXPECT_EQ(SYC::ReadPhoto(channel, image), 0);
        EXPECT_TRUE(image.IsEmpty());
        EXPECT_LE(channel.largest, 64u * 1024);
        EXPECT_EQ(channel.Rest(), 10u);
    }
}
