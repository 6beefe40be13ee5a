#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

/// A file that keeps what was logged, for a diagnosis later on: a line each, with its time in UTC.
/// All processes of the user may write it at once; its user alone can read it. At 1 MiB it becomes
/// "NAME.1", and a new one begins. Safe on any thread.
class SYC_API LogFile {
public:
    /// Nothing is created before something is written.
    explicit LogFile(IO::Location file) : file_(std::move(file)) {}
    /// "SYClient.log" in the company's application-data folder, which is not created.
    [[nodiscard]] static IO::Location GetDefaultLocation();

    /// Adds a record; what passwords a text might hold in spite of all is taken out (see
    /// Redacted). Never throws: a log that cannot be written is no reason to fail.
    void Write(const OV::LogRecord& record) const noexcept;
    /// The lines of the last `seconds`, oldest first. Throws IO::IOException for a file that is
    /// there and cannot be read.
    [[nodiscard]] OV::Array<OV::UniString> ReadLast(std::int32_t seconds) const;

    /// At which a file is put aside.
    static constexpr std::uint64_t MostBytes = 1 << 20;

private:
    IO::Location file_;
};

/// The text with what stands where passwords, tokens and keys stand replaced by "***": the password
/// part of any URL, what follows "Bearer", and the value of a word such as "password" or "token".
[[nodiscard]] SYC_API OV::UniString Redacted(OV::UniStringView text);

}  // namespace SYC
