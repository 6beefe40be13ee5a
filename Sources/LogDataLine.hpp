#pragma once

#include "Display/NativeImage.hpp"
#include "LogLine/LogBlock.hpp"
#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"

#include <memory>

/// One line of a server's activity log: what a user did in a project. A value, and a small one: its
/// texts stand in a block that many lines may share, and are made into strings when they are asked
/// for. Reading a line is safe on any thread; setting one leaves its copies alone.
class SYC_API LogDataLine {
public:
    /// The columns that lines are sorted by.
    enum class LogField : std::int32_t {
        Time = 1,  ///< then by the order in which the lines were made
        User = 2,
        Duration = 3,  ///< as text: "10s" before "9s"
        Size = 4,
        Operation = 5,  ///< by its display text, in the order of the user's language
        Project = 6,
    };

    /// Empty but for its sequence number, which counts the lines of this process.
    LogDataLine() noexcept;
    LogDataLine(const LogDataLine&) = default;
    /// Leaves `other` empty but for its version.
    LogDataLine(LogDataLine&& other) noexcept;
    /// Everything but the version, which stays: lines that change places leave it behind.
    LogDataLine& operator=(const LogDataLine& other) noexcept;
    /// The same; `other` gets what this line was.
    LogDataLine& operator=(LogDataLine&& other) noexcept;
    ~LogDataLine() = default;

    /// A new line of these texts. Of `record` the numbers count; the text of the time is that of
    /// its number, or stands behind the other texts.
    LogDataLine(SYC::LogBlock::Texts texts, const SYC::LogRecord& record,
                bool hasOwnTime = false) noexcept;

    /// Whether they tell different things; the sequence number tells nothing.
    friend bool operator!=(const LogDataLine& left, const LogDataLine& right)
    {
        return !(left == right);
    }
    /// Whether they tell the same; the sequence number tells nothing.
    friend bool operator==(const LogDataLine& left, const LogDataLine& right);

    /// The full name of who did it.
    [[nodiscard]] OV::UniString GetUser() const { return OV::FromUtf8(Record().user); }
    /// The login name of who did it.
    [[nodiscard]] OV::UniString GetLoginName() const { return OV::FromUtf8(Record().loginName); }
    /// Decimal seconds since 1970-01-01 UTC, as they arrived; empty while none were set.
    [[nodiscard]] OV::UniString GetTime() const;
    /// "12s".
    [[nodiscard]] OV::UniString GetDuration() const { return OV::FromUtf8(Record().duration); }
    /// "1 500 KB"; empty for 0.
    [[nodiscard]] OV::UniString GetSize() const { return FormatSize(sizeVal_); }
    /// As the server named it.
    [[nodiscard]] OV::UniString GetOperation() const { return OV::FromUtf8(Record().operation); }
    /// The name of the project.
    [[nodiscard]] OV::UniString GetProject() const { return OV::FromUtf8(Record().project); }
    /// The server's identifier of the project.
    [[nodiscard]] OV::UniString GetProjectId() const { return OV::FromUtf8(Record().projectId); }
    /// What he said about it; may be empty.
    [[nodiscard]] OV::UniString GetComment() const { return OV::FromUtf8(Record().comment); }
    /// "5 minutes ago", by the clock of now.
    [[nodiscard]] OV::UniString GetTimeInDays() const;
    /// Local date and time, "2026-11-24 13:05:09"; empty while no time was set.
    [[nodiscard]] OV::UniString GetTimeString() const;
    /// For people; the operation itself when it is not known.
    [[nodiscard]] OV::UniString GetOperationText() const;
    /// Whether the operation has a picture.
    [[nodiscard]] bool HasIcon() const { return GetIconNumber() != 0; }
    /// The number of the picture of the operation; 0: none.
    [[nodiscard]] std::int16_t GetIconNumber() const;
    /// The picture of the operation; an empty image when it has none.
    [[nodiscard]] NewDisplay::NativeImage GetIcon() const;
    /// In bytes.
    [[nodiscard]] std::uint32_t GetSizeVal() const noexcept { return sizeVal_; }
    /// Seconds since 1970-01-01 UTC.
    [[nodiscard]] std::int32_t GetTimeVal() const noexcept { return timeVal_; }
    /// Counts the lines of this process; of two equal lines it tells which one was there first.
    [[nodiscard]] std::uint64_t GetId() const noexcept { return id_; }
    /// The version of the record that the line was read from.
    [[nodiscard]] std::int16_t GetVersion() const noexcept { return version_; }

    /// See the getters.
    /// @{
    void SetUser(OV::UniStringView user);
    void SetLoginName(OV::UniStringView loginName);
    /// @}
    /// Decimal seconds; a text that begins with no number leaves the number as it was. What 32 bits
    /// cannot hold is the nearest time that they can.
    void SetTime(OV::UniStringView time);
    /// Seconds; an empty text stands for 0.
    void SetDuration(OV::UniStringView duration);
    /// The duration as it is shown.
    void SetDurationText(OV::UniStringView text);
    /// Bytes in decimal, 4 GiB - 1 at most; the text itself is not kept.
    void SetSize(OV::UniStringView size);
    /// See the getters.
    /// @{
    void SetOperation(OV::UniStringView operation);
    void SetProject(OV::UniStringView project);
    void SetProjectId(OV::UniStringView projectId);
    void SetComment(OV::UniStringView comment);
    void SetVersion(std::int16_t version) noexcept { version_ = version; }
    /// @}

    /// Whether `a` sorts before `b`; never by a field that is none of LogField.
    [[nodiscard]] static bool Compare(const LogDataLine& a, const LogDataLine& b, LogField field);
    /// Bytes as people read them.
    [[nodiscard]] static OV::UniString FormatSize(std::uint32_t bytes);

    /// The binary record. Texts are UTF-8 behind a 4-byte count of their bytes. A text that ends
    /// early stays as far as it came, and the read fails.
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const;
    /// Replaces the line by what Write wrote; 0, or OV::ChannelFailed.
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel);
    /// Appends what Write writes.
    void AppendRecord(OV::String& bytes) const { Record().AppendTo(bytes); }

    /// The texts and numbers without a copy; the texts live as long as this line is not changed.
    [[nodiscard]] SYC::LogRecord Record() const noexcept;
    /// The text of the project's id without a copy, as long as this line is not changed.
    [[nodiscard]] OV::StringView ProjectId() const noexcept
    {
        return block_ ? block_->ProjectIdAt(place_) : OV::StringView();
    }

private:
    /// What GetTime tells.
    enum class TimeText : std::uint8_t {
        None,      ///< nothing: no time was set
        OfNumber,  ///< the number
        Own,       ///< the text behind those of the record
    };

    void Set(OV::StringView SYC::LogRecord::*member, OV::UniStringView text);
    /// Makes the texts of `record`, which may be those of this line, the only ones of a block of
    /// its own; the sequence number stays.
    void Adopt(const SYC::LogRecord& record, TimeText timeText, OV::StringView ownTime = {});
    /// The time as it arrived, where it is kept.
    [[nodiscard]] OV::StringView OwnTime() const noexcept;

    /// None when all texts are empty.
    SYC::LogBlock::Keeper block_;
    std::uint64_t id_;
    std::uint32_t place_ = 0;
    std::uint32_t sizeVal_ = 0;
    std::int32_t timeVal_ = 0;
    std::int16_t version_ = 0;
    TimeText timeText_ = TimeText::None;
};
// Ten million lines are held at once: what one takes counts.
static_assert(sizeof(LogDataLine) <= 32);

namespace SYC {

/// Lines that nobody changes any more, for all who read them.
using LogLines = std::shared_ptr<const OV::PagedArray<LogDataLine>>;

}  // namespace SYC
