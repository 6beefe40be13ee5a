#pragma once

#include "Display/NativeImage.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/Guid.hpp"

namespace SYC {

/// A member of the opened project, as its dialogs show him.
class SYC_API UserData {
public:
    /// Under which it stands in files.
    static constexpr OV::ClassInfo ClassInformation{u"UserData", 1, 0};

    UserData() = default;
    /// `color` is 0xRRGGBB.
    UserData(OV::UniString loginName, OV::UniString fullName, const OV::Guid& guid,
             NewDisplay::NativeImage image, std::uint32_t color)
        : loginName_(std::move(loginName)), fullName_(std::move(fullName)), guid_(guid),
          image_(std::move(image)), color_(color)
    {}

    /// What he signs in with.
    [[nodiscard]] const OV::UniString& GetLoginName() const noexcept { return loginName_; }
    /// For people.
    [[nodiscard]] const OV::UniString& GetFullName() const noexcept { return fullName_; }
    /// By which the server knows him.
    [[nodiscard]] const OV::Guid& GetUserGuid() const noexcept { return guid_; }
    /// The photo; may be empty.
    [[nodiscard]] const NewDisplay::NativeImage& GetImage() const noexcept { return image_; }
    /// An empty one takes the photo away.
    void SetImage(NewDisplay::NativeImage image) { image_ = std::move(image); }
    /// 0xRRGGBB.
    [[nodiscard]] std::uint32_t GetUserColor() const noexcept { return color_; }
    /// Whether he has a normal working session open.
    [[nodiscard]] bool HasNormalSession() const noexcept { return normalSession_; }
    /// See HasNormalSession.
    void SetNormalSession(bool normal) noexcept { normalSession_ = normal; }
    /// Since when he has a session, in seconds since 1970-01-01 UTC, and on which computer, as far
    /// as a server told it: 0 and empty for who has none, and after a Read.
    [[nodiscard]] std::int32_t GetWorkingSince() const noexcept { return workingSince_; }
    /// See GetWorkingSince.
    [[nodiscard]] const OV::UniString& GetComputer() const noexcept { return computer_; }
    /// What the two above tell.
    void SetWork(std::int32_t since, OV::UniString computer)
    {
        workingSince_ = since;
        computer_ = std::move(computer);
    }

    /// Everything but the photo. Return 0 or the channel's error.
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel);
    /// See Read.
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const;
    /// The photo alone, see PhotoStream.hpp. Always return 0.
    OV::ChannelStatus ReadPhoto(OV::IChannel& channel);
    /// See ReadPhoto.
    OV::ChannelStatus WritePhoto(OV::OChannel& channel) const;

private:
    template <class User, class Stream>
    static void Transfer(User& user, Stream& stream)
    {
        OV::TransferFields(stream, user.loginName_, user.fullName_, user.guid_, user.color_,
                           user.normalSession_);
    }

    OV::UniString loginName_;
    OV::UniString fullName_;
    OV::Guid guid_;
    NewDisplay::NativeImage image_;
    std::uint32_t color_ = 0;
    bool normalSession_ = false;
    std::int32_t workingSince_ = 0;
    OV::UniString computer_;
};

}  // namespace SYC
