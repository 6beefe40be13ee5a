#include "Targets.hpp"

#include "Messaging/PhotoStream.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "UserInterface/UserPhoto.hpp"

using NewDisplay::NativeImage;

namespace {

OV::String Write(const NativeImage& photo)
{
    OV::MemoryOChannel channel;
    SYC::WritePhoto(channel, photo);
    return channel.TakeBytes();
}

/// What stands behind the first photo, when all of its bytes are there.
OV::StringView Behind(OV::StringView bytes, bool& isWhole)
{
    OV::MemoryIChannel channel(bytes);
    std::uint32_t count = 0;
    isWhole = channel.Read(count) == OV::ChannelOk && count <= channel.Rest().size();
    return isWhole ? channel.Rest().substr(count) : OV::StringView();
}

}  // namespace

// The bytes are a photo of a stream, and what stands behind it.
void Fuzz::PhotoStream(OV::StringView bytes)
{
    bool isWhole = false;
    const auto behind = Behind(bytes, isWhole);
    OV::MemoryIChannel channel(bytes);
    NativeImage photo;
    Promise(SYC::ReadPhoto(channel, photo) == 0, "a photo never fails a record");
    Promise(isWhole || photo.IsEmpty(), "a photo that is cut off is none");
    Promise(!isWhole || channel.Rest() == behind, "the stream goes on behind the photo");
    if (photo.IsEmpty())
        return;
    const auto shown = SYC::GetUserPhoto(photo, 50, 60, false, true);
    Promise(shown.GetWidth() == 50 && shown.GetHeight() == 60, "a photo has the size of its place");
    const auto written = Write(photo);
    OV::MemoryIChannel again(written);
    NativeImage same;
    SYC::ReadPhoto(again, same);
    Promise(same == photo, "a photo comes back as it was written");
    Promise(Write(same) == written, "equal photos are equal bytes");
}
