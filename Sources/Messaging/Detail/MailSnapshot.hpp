#pragma once

#include "Messaging/Detail/MailActions.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <memory>
#include <vector>

namespace SYC {

class MailPlaces;

/// A list of mails as it is at one moment, to be written on any thread. Marks that are set later
/// may be written or not. Mails are destroyed with their last holder, so a copy of the list goes
/// back to where they belong.
class MailSnapshot {
public:
    using List = std::shared_ptr<const MailFile::MailList>;

    /// On the thread of the mails: actions are the host's own code. Throws OV::ChannelException for
    /// one that cannot be written.
    /// `change`: of the server's changes of flags the last that the mails show; 0 for none.
    explicit MailSnapshot(const MailFile::MailList& mails, std::uint64_t change = 0);

    [[nodiscard]] const List& GetList() const noexcept { return mails_; }
    [[nodiscard]] std::uint64_t GetChange() const noexcept { return change_; }
    /// A mail file: the mails, and behind them what is unknown; `places` are then those of the
    /// mails in it. Throws OV::ChannelException.
    [[nodiscard]] OV::String Encode(const MailFile::UnknownRecords& unknown,
                                    MailPlaces& places) const;
    /// The mails from that one on as they stand in a file, behind what `places` know already.
    /// Throws OV::ChannelException.
    [[nodiscard]] OV::String EncodeFrom(std::size_t first, MailPlaces& places) const;

    /// What a mail carries.
    struct Actions {
        std::size_t place;  ///< of their mail in the list
        MailActions::Carried sealed;
    };
    /// Of those mails that carry some, in their order.
    [[nodiscard]] const std::vector<Actions>& GetActions() const noexcept { return actions_; }

private:
    template <class Channel, class Written>
    void Write(std::size_t first, Channel& channel, Written written) const;
    void Write(std::size_t first, OV::MemoryOChannel& channel, MailPlaces& places) const;

    List mails_;
    std::uint64_t change_;
    std::vector<Actions> actions_;
};

}  // namespace SYC
