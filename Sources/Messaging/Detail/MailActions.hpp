#pragma once

#include "Messaging/ClientMail.hpp"

namespace SYC {

/// The actions of a mail in its encodings: for each its id and then its own data. A null entry
/// throws OV::NullReferenceException.
struct MailActions {
    using Carried = ClientMail::CarriedActions;

    [[nodiscard]] static std::uint32_t Count(const Carried& actions);

    /// Unknown actions are written as they were read.
    [[nodiscard]] static OV::ChannelStatus Write(const Carried& actions, OV::OChannel& channel);

    struct Reading {
        OV::ChannelStatus status = OV::ChannelOk;
        /// An action failed whose data did not end too early: this process does not know its kind,
        /// or not that form of it.
        bool isUnknown = false;
    };
    /// Puts a new list of up to `count` actions in place of `actions`, an empty holder for none: a
    /// list may be shared with copies of the mail and is never changed. `count` is not trusted.
    [[nodiscard]] static Reading Read(Carried& actions, std::uint32_t count, OV::IChannel& channel);
    /// The same actions as bytes, which any thread may write. Throws OV::ChannelException for one
    /// that cannot be written.
    [[nodiscard]] static Carried Sealed(const Carried& actions);
    /// Puts `count` actions that cannot be read in place of `actions`.
    static void Keep(Carried& actions, std::uint32_t count, OV::String bytes);

    /// The compact forms; failures throw OV::ChannelException.
    static void Serialize(const Carried& actions, OV::OChannelX& channel);
    static void Deserialize(Carried& actions, std::uint32_t count, OV::IChannelX& channel);

    /// Whether both hold the same actions with the same data; an empty holder is an empty list.
    [[nodiscard]] static bool AreEqual(const Carried& left, const Carried& right);
};

}  // namespace SYC
