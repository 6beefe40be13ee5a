#pragma once

#include "Messaging/MailAction.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/FieldStream.hpp"

namespace SYC {

/// An action that carries one text and offers the user nothing.
class SYC_API DummyAction final : public MailAction {
public:
    /// Of the kind, in mails.
    static constexpr OV::UniStringView Id = u"Dummy";
    /// Under which it stands in files.
    static constexpr OV::ClassInfo ClassInformation{u"DummyAction", 1, 0};

    DummyAction() : MailAction(OV::UniString(Id)) {}
    /// An empty one, for a MailActionDescriptor.
    [[nodiscard]] static OV::Ref<MailAction> Make();

    void Serialize(OV::OChannelX& channel) override;
    /// As MailAction says.
    /// @{
    void Deserialize(OV::IChannelX& channel) override;
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const override;
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel) override;
    /// @}
    /// The same without the class frame.
    [[nodiscard]] OV::ChannelStatus WriteVersion1(OV::OChannel& channel) const;
    /// See WriteVersion1.
    [[nodiscard]] OV::ChannelStatus ReadVersion1(OV::IChannel& channel);
    void GetActionItems(ClientMail& mail, OV::Array<Item>& items) override;

    /// The text that it carries.
    /// @{
    [[nodiscard]] const OV::UniString& GetData() const noexcept { return data_; }
    void SetData(OV::UniString data) { data_ = std::move(data); }
    /// @}

private:
    OV::UniString data_;
};

}  // namespace SYC
