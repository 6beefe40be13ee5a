#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>

namespace SYC {

/// The texts and numbers of a log line as its binary record holds them, in the order of the record.
/// The texts are UTF-8 and belong to the bytes that they were read from.
struct SYC_API LogRecord {
    OV::StringView user;        ///< full name of who did it
    OV::StringView loginName;   ///< login name of who did it
    OV::StringView duration;    ///< as it is shown, "12s"
    OV::StringView operation;   ///< as the server named it
    OV::StringView project;     ///< name
    OV::StringView projectId;   ///< the server's identifier
    std::uint32_t sizeVal = 0;  ///< bytes
    std::int32_t timeVal = 0;   ///< seconds since 1970-01-01 UTC
    OV::StringView comment;     ///< for people
    std::int16_t version = 0;   ///< of the record

    friend bool operator==(const LogRecord&, const LogRecord&) = default;

    /// Bytes of a record without its texts.
    static constexpr std::size_t NumberBytes = 7 * 4 + 4 + 4 + 2;

    /// Reads the record that `bytes` begin with and returns its length, 0 when it is not there
    /// whole. Reads past nothing, whatever the bytes are.
    [[nodiscard]] std::size_t Parse(OV::StringView bytes) noexcept;
    /// Appends the record as Parse reads it.
    void AppendTo(OV::String& bytes) const;
    /// The bytes that AppendTo appends.
    [[nodiscard]] std::size_t Size() const noexcept
    {
        return NumberBytes + user.size() + loginName.size() + duration.size() + operation.size() +
               project.size() + projectId.size() + comment.size();
    }
};

}  // namespace SYC
