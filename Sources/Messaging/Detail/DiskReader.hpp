#pragma once

#include "Messaging/Detail/MailFields.hpp"
#include "Messaging/Detail/MailWords.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <functional>

namespace SYC {

/// Reads the form that mails have in files.
class DiskReader : public OV::FieldReader {
public:
    using FieldReader::FieldReader;
    /// Opens a record, and notes where its actions stand as well.
    DiskReader(OV::MemoryIChannel& channel, const OV::ClassInfo& expected)
        : FieldReader(channel, expected), memory_(&channel)
    {}

    using FieldReader::operator();
    void operator()(MailFields::Flag& flag) { ReadAs<bool>(flag, std::identity()); }
    void operator()(Importance& value) { ReadAs<std::int32_t>(value, ImportanceFromNumber); }
    void operator()(MailType& value) { ReadAs<std::int32_t>(value, MailTypeFromNumber); }
    void operator()(ClientMail::NameList& names) { Elements(names, OV::TransferFields); }
    void operator()(MailFields::CarriedActions& actions)
    {
        (*this)(actionCount_);
        Then([&](OV::IChannel& channel) {
            if (memory_ != nullptr)
                restAtActions_ = memory_->Rest();
            actions_ = MailActions::Read(actions, actionCount_, channel);
            if (memory_ != nullptr)
                restBehindActions_ = memory_->Rest();
            return actions_.status;
        });
    }
    template <class Field>
    void Optional(Field& field)
    {
        (*this)(field);
    }
    void Trailing(OV::UniString& text) { (*this)(text); }

    [[nodiscard]] std::uint32_t ActionCount() const noexcept { return actionCount_; }
    [[nodiscard]] const MailActions::Reading& Actions() const noexcept { return actions_; }
    /// What stood behind the count of actions when they were read, and behind them.
    /// @{
    [[nodiscard]] OV::StringView RestAtActions() const noexcept { return restAtActions_; }
    [[nodiscard]] OV::StringView RestBehindActions() const noexcept { return restBehindActions_; }
    /// @}

private:
    const OV::MemoryIChannel* memory_ = nullptr;
    std::uint32_t actionCount_ = 0;
    OV::StringView restAtActions_;
    OV::StringView restBehindActions_;
    MailActions::Reading actions_;
};

}  // namespace SYC
