#pragma once

#include "Messaging/ClientMail.hpp"

namespace SYC {

/// The first mail of some bytes of a mail file, read as far as this process can.
struct MailRecord {
    enum class State {
        Complete,
        /// Whole up to its actions, of which one could not be read.
        UnreadActions,
        /// Written by a class version that this process does not know.
        UnknownVersion,
        Damaged,
    };

    [[nodiscard]] static MailRecord Read(OV::StringView bytes);
    /// Completes a mail with unread actions that takes all of `record`, the bytes it was read from.
    /// False when no mail ends there.
    [[nodiscard]] bool Finish(OV::StringView record);

    State state = State::Damaged;
    OV::ChannelStatus status = OV::ChannelOk;  ///< the error of what is not complete
    OV::Ref<ClientMail> mail;
    std::size_t size = 0;  ///< how many bytes were read
    /// Where the actions stand; the end is that of actions that were read.
    std::size_t actionsAt = 0;
    std::size_t actionsEnd = 0;
    /// The rest concerns unread actions.
    std::uint32_t actionCount = 0;
    /// The data ended before the actions did. That is damage unless there is more behind it.
    bool isCutOff = false;
};

}  // namespace SYC
