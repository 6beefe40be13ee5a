#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace IO {

/// Codes of the file-system toolkit that callers tell apart.
enum class ErrorCode : std::uint32_t {
    Other = 0x81010001,
    NotFound = 0x81010002,
    AlreadyExists = 0x81010003,
    AccessDenied = 0x81010004,
    NoSpace = 0x81010005,
    /// The file is held open by another process.
    HeldByOther = 0x81010202,
};

/// How far an operation came.
enum class Step {
    Open,  ///< the file was not opened, so nothing of it was read or written
    Use,
};

/// A file-system operation failed; the message names the operation, the place and the system's
/// reason.
class SYC_API IOException : public OV::Exception {
public:
    /// `operation` is what was tried ("open"), `reason` what the system said.
    IOException(ErrorCode code, OV::UniStringView operation, const Location& place,
                OV::StringView reason, OV::SourcePlace source = OV::SourcePlace::Here(),
                Step step = Step::Use);

    /// What went wrong, as far as callers tell it apart.
    [[nodiscard]] ErrorCode GetCode() const noexcept { return code_; }
    /// The file or folder that it went wrong with.
    [[nodiscard]] const Location& GetLocation() const noexcept { return location_; }
    /// How far the operation came.
    [[nodiscard]] Step GetStep() const noexcept { return step_; }
    OV_EXCEPTION_IDENTITY(IOException)

private:
    ErrorCode code_;
    Location location_;
    Step step_;
};

}  // namespace IO
