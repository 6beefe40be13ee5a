#pragma once

#include "Messaging/Importance.hpp"
#include "Messaging/MailAction.hpp"
#include "Messaging/MailType.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/FieldStream.hpp"
#include "SyncraProtocol/Message.hpp"

#include <atomic>
#include <memory>

namespace SYC {

/// One message between members of a shared project: a note, a request for ownership, or the answer
/// to one. A value type, except that copies share the action list. Times are in seconds since
/// 1970-01-01 UTC. Docs/Formats.md shows the encodings byte by byte. One thread at a time; of a
/// mail in a list, whose texts do not change any more, others may read the texts and the marks
/// meanwhile.
class SYC_API ClientMail {
public:
    /// Login names.
    using NameList = OV::Array<OV::UniString>;
    /// What the mail carries; copies of the mail share the list.
    using ActionList = OV::Array<OV::Ref<MailAction>>;

    /// Under which records stand in files.
    static constexpr OV::ClassInfo ClassInformation{u"Mail", 1, 0};

    ClientMail() = default;
    /// Reads the compact form. Throws OV::ChannelException for data that is cut off, damaged or
    /// carries an unknown kind of action.
    explicit ClientMail(OV::IChannelX& channel);
    /// Takes over a message of the older format, the one without "Version" in its header. Never
    /// refuses one: what is missing or unreadable gets a sensible value. The sender's login name
    /// stands in for his full name, the time stamp for the sending time, the body data (UTF-8) for
    /// the text; a list of recipients may lack the last comma. Actions of that format are not taken
    /// over.
    explicit ClientMail(const Syncra::Protocol::Message& message);

    /// The form of the files. Reading stops at the first error and returns it; the fields before it
    /// are then set. An action that this process cannot read is such an error here, since a record
    /// does not say where it ends; MailFile reads past it.
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel);
    /// 0, or the error at which writing stopped.
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const;
    /// The same without the class frame.
    [[nodiscard]] OV::ChannelStatus ReadVersion1(OV::IChannel& channel);
    /// See ReadVersion1.
    [[nodiscard]] OV::ChannelStatus WriteVersion1(OV::OChannel& channel) const;

    /// Writes the compact form. Marks the mail historical first when it is the sender's copy of
    /// anything but a request. Throws OV::ChannelException, for unknown actions as well: they are
    /// at hand in another form.
    void Serialize(OV::OChannelX& channel);

    /// Whether the message is of the current format; others go through the constructor.
    [[nodiscard]] static bool IsCurrentFormat(const Syncra::Protocol::Message& message);
    /// Fills this mail from a message of the current format; what it held before is gone. Returns 0
    /// or the error of an action; the mail is then whole but for its actions, and
    /// HasUnknownActions tells whether they are only unknown here. Throws
    /// OV::IllegalReferenceException for a missing header field and MailConversionException for a
    /// number that is none.
    [[nodiscard]] OV::ChannelStatus
    SyncraMessageConvertTo(const Syncra::Protocol::Message& message);
    /// Fills `message` from this mail, and marks the mail historical as Serialize does. Returns 0
    /// or the error of an action; unknown actions are one.
    [[nodiscard]] OV::ChannelStatus SyncraMessageConvertFrom(Syncra::Protocol::Message& message);
    /// The same as a new message; the error of an action is thrown as MailConversionException.
    [[nodiscard]] Syncra::Protocol::Message ConvertToSyncraMessage();

    /// All fields; action lists are equal when their actions are, absent and empty ones alike.
    friend bool operator==(const ClientMail& left, const ClientMail& right);

    /// The server's identifier of the mail; of one in the outbox the client's own.
    [[nodiscard]] const OV::UniString& GetId() const noexcept { return id_; }
    /// See GetId.
    void SetId(OV::UniString id) { id_ = std::move(id); }
    /// The mail that this one answers; empty for a first mail.
    [[nodiscard]] const OV::UniString& GetParentMailId() const noexcept { return parentMailId_; }
    /// See GetParentMailId.
    void SetParentMailId(OV::UniString id) { parentMailId_ = std::move(id); }
    /// As the sender chose it.
    /// @{
    [[nodiscard]] Importance GetImportance() const noexcept { return importance_; }
    void SetImportance(Importance importance) noexcept { importance_ = importance; }
    /// @}
    /// What kind of mail it is.
    /// @{
    [[nodiscard]] MailType GetType() const noexcept { return type_; }
    void SetType(MailType type) noexcept { type_ = type; }
    /// @}
    /// Whether the user has read it; not taken back.
    /// @{
    [[nodiscard]] bool IsRead() const noexcept { return read_; }
    void SetRead() noexcept { read_ = true; }
    /// @}
    /// Login name.
    [[nodiscard]] const OV::UniString& GetSender() const noexcept { return sender_; }
    /// A login name.
    void SetSender(OV::UniString name) { sender_ = std::move(name); }
    /// Of the sender, for people.
    /// @{
    [[nodiscard]] const OV::UniString& GetSenderFullName() const noexcept
    {
        return senderFullName_;
    }
    void SetSenderFullName(OV::UniString name) { senderFullName_ = std::move(name); }
    /// @}
    /// A comma in a login name does not survive the compact form and the way over the server.
    [[nodiscard]] const NameList& GetRecipientsLoginName() const noexcept
    {
        return recipientsLoginName_;
    }
    /// Login names, in the order in which they are shown.
    void SetRecipientsLoginName(NameList names) { recipientsLoginName_ = std::move(names); }
    /// One text that shows all recipients.
    [[nodiscard]] const OV::UniString& GetRecipientsFullName() const noexcept
    {
        return recipientsFullName_;
    }
    /// See GetRecipientsFullName.
    void SetRecipientsFullName(OV::UniString names) { recipientsFullName_ = std::move(names); }
    /// By the sender's clock.
    [[nodiscard]] std::int32_t GetSendingTime() const noexcept { return sendingTime_; }
    /// Seconds since 1970-01-01 UTC.
    void SetSendingTime(std::int32_t time) noexcept { sendingTime_ = time; }
    /// By the server's clock.
    [[nodiscard]] std::int32_t GetRepositoryTime() const noexcept { return repositoryTime_; }
    /// The time to show and to sort by: the server's, or the sending time of a mail that it does
    /// not have yet.
    [[nodiscard]] std::int32_t GetTime() const noexcept
    {
        return repositoryTime_ != 0 ? repositoryTime_ : sendingTime_;
    }
    /// All of the text, lines parted by line feeds.
    /// @{
    [[nodiscard]] const OV::UniString& GetBodyText() const noexcept { return bodyText_; }
    void SetBodyText(OV::UniString text) { bodyText_ = std::move(text); }
    /// @}
    /// The first line of the text that says something, without blanks around it. Into this mail.
    [[nodiscard]] OV::UniStringView GetSubject() const noexcept;
    /// May be an empty holder, and is one when the mail has unknown actions.
    [[nodiscard]] const OV::Ref<ActionList>& GetActionList() const noexcept
    {
        return actions_.known;
    }
    /// In place of all actions, the unknown ones too.
    void SetActionList(OV::Ref<ActionList> actions) { actions_ = {std::move(actions), {}}; }
    /// Whether the mail carries actions that this process cannot read: of a kind that nobody
    /// registered before the mail was read, or of a newer form. They stay with the mail, byte for
    /// byte, in every file that it is written to, and only a process that knows them sends it.
    [[nodiscard]] bool HasUnknownActions() const noexcept { return actions_.unknown != nullptr; }
    /// Whether this is the sender's copy of what he sent.
    [[nodiscard]] bool IsCopy() const noexcept { return copy_; }
    /// Whether the mail waits in the outbox.
    [[nodiscard]] bool IsOut() const noexcept { return out_; }
    /// See IsOut.
    void SetOut(bool out) noexcept { out_ = out; }
    /// Whether the user is done with it; not taken back.
    /// @{
    [[nodiscard]] bool IsHistorical() const noexcept { return historical_; }
    void SetHistorical() noexcept { historical_ = true; }
    /// @}
    /// Whether the server has not heard of a change of this record yet.
    [[nodiscard]] bool IsModify() const noexcept { return modify_; }
    /// See IsModify.
    void SetModify(bool modify) noexcept { modify_ = modify; }

private:
    friend struct MailActions;
    friend struct MailFields;
    friend class MailSnapshot;

    /// A mark, which is set on the mail's own thread and read on any.
    class Flag {
    public:
        Flag(bool value = false) noexcept : value_(value) {}
        Flag(const Flag& other) noexcept : value_(static_cast<bool>(other)) {}
        Flag& operator=(const Flag& other) noexcept
        {
            value_.store(other, std::memory_order_relaxed);
            return *this;
        }
        operator bool() const noexcept { return value_.load(std::memory_order_relaxed); }

    private:
        std::atomic<bool> value_;
    };

    /// So many actions in the form of the files.
    struct UnknownActions {
        std::uint32_t count = 0;
        OV::String bytes;

        friend bool operator==(const UnknownActions&, const UnknownActions&) = default;
    };
    /// Copies share both.
    struct CarriedActions {
        OV::Ref<ActionList> known;
        std::shared_ptr<const UnknownActions> unknown;  ///< then `known` is empty
    };

    /// The form of the files, with other actions than those of the mail.
    [[nodiscard]] OV::ChannelStatus WriteWith(const CarriedActions& actions,
                                              OV::OChannel& channel) const;

    /// The sender's copy is history at once, for nothing is left to do with it; only the copy of a
    /// request waits for its answer. Returns whether the mail is such a copy.
    bool MarkDoneCopyHistorical() noexcept;
    void TakeFlagsAndTime(const Syncra::Protocol::Message& message);
    void PutHeader(Syncra::Protocol::Message& message) const;

    OV::UniString id_;
    OV::UniString parentMailId_;
    Importance importance_ = Importance::Low;
    MailType type_ = MailType::None;
    Flag read_;
    OV::UniString sender_;
    OV::UniString senderFullName_;
    NameList recipientsLoginName_;
    OV::UniString recipientsFullName_;
    std::int32_t sendingTime_ = 0;
    std::int32_t repositoryTime_ = 0;
    OV::UniString bodyText_;
    CarriedActions actions_;
    bool copy_ = false;
    Flag out_;
    Flag historical_;
    Flag modify_;
};

}  // namespace SYC
