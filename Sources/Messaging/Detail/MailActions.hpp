#pragma once

#include "Messaging/ClientMail.hpp"

/// The actions of a mail in its encodings: for each its id and then its own data. A null entry
/// throws OV::NullReferenceException.
namespace SYC::MailActions {

[[nodiscard]] std::uint32_t Count(const OV::Ref<ClientMail::ActionList>& actions);

[[nodiscard]] OV::ChannelStatus Write(const OV::Ref<ClientMail::ActionList>& actions,
                                      OV::OChannel& channel);
/// Puts a new list of up to `count` actions in place of `actions`, an empty holder for none: a list
/// may be shared with copies of the mail and is never changed. `count` is not trusted.
[[nodiscard]] OV::ChannelStatus Read(OV::Ref<ClientMail::ActionList>& actions, std::uint32_t count,
                                     OV::IChannel& channel);

/// The compact forms; failures throw OV::ChannelException.
void Serialize(const OV::Ref<ClientMail::ActionList>& actions, OV::OChannelX& channel);
void Deserialize(OV::Ref<ClientMail::ActionList>& actions, std::uint32_t count,
                 OV::IChannelX& channel);

/// Whether both hold the same actions with the same data; an empty holder is an empty list.
[[nodiscard]] bool AreEqual(const OV::Ref<ClientMail::ActionList>& left,
                            const OV::Ref<ClientMail::ActionList>& right);

}  // namespace SYC::MailActions
