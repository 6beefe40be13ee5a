#pragma once

#include "LogIndex/LogParser.hpp"
#include "LogLine/LogText.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/EventLogPage.hpp"

/// Where a log is fetched from.
struct SYC_API LogSource {
    OV::UniString host;       ///< of the server, as users write it
    std::uint16_t port = 0;   ///< of the model service
    OV::UniString userName;   ///< login name
    OV::Secret password;      ///< in clear text; wiped with this
    OV::UniString projectId;  ///< empty for the log of the server

    /// The name under which the server's logs are cached: a folder's.
    [[nodiscard]] OV::UniString GetCacheName() const;
};

/// Which log it is; the numbers are those of the protocol.
enum class LogType : std::int32_t {
    Project = 1,
    Server = 2,
};

/// Reads a log that is fetched from a server as text: a line for each row, its fields between
/// separators.
class SYC_API TextParser : public LogParser {
public:
    /// Fetches nothing before GetLatestEvents.
    TextParser(LogSource source, LogType type) : source_(std::move(source)), type_(type) {}

    /// Fetches the lines of the time from `from` to `to`, in seconds since 1970-01-01 UTC, both
    /// included, in place of those there were. `withoutVersionCheck` takes a server of another
    /// version of the protocol. 0; otherwise the code with which the server refused, or
    /// OV::ChannelFailed, and the lines stay as they were. Blocks for a sign-in and a request a
    /// page, each at most as long as HttpOptions allow. Ends within 100 ms, as failed, when the
    /// calling thread is interrupted.
    int GetLatestEvents(std::int32_t from, std::int32_t to, bool withoutVersionCheck);
    /// The same with a text that is there already.
    void SetText(OV::String text, OV::String separator);

    void ParseLog() override;
    int ParseLine(OV::Array<OV::Ref<OV::Object>>& fields,
                  const OV::StableArray<std::uint32_t>* rows) override;
    void SetStartLine(const std::uint32_t& line) override;
    /// Of the text that was fetched or set last.
    [[nodiscard]] std::uint32_t GetLineCount() const override { return text_.GetLineCount(); }
    /// Only rows whose line holds this text count for the indexes; an empty one is no filter.
    void SetFilter(OV::UniString filter) override;
    /// All rows count again for the indexes.
    void ResetFilter() override;
    /// The filter is laid upon the indexes.
    void FilterChangedNotification();

    /// The fields of the next line without a copy of their own; as long as the lines stay.
    int NextLine(OV::Array<OV::StringView>& fields);
    /// The number of the line that was read last.
    [[nodiscard]] std::uint32_t GetCurrentLine() const noexcept { return currentLine_; }

private:
    [[nodiscard]] OV::Array<std::uint32_t> FilteredRows() const;

    LogSource source_;
    LogType type_;
    SYC::LogText text_;
    OV::String separator_ = "#!";
    std::uint32_t nextLine_ = 0;
    std::size_t nextRow_ = 0;
    std::uint32_t currentLine_ = 0;
    OV::UniString filter_;
};
