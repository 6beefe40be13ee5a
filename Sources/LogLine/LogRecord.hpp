#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>

namespace SYC {

/// The texts and numbers of a log line as its binary record holds them, in the order of the record.
/// The texts are UTF-8 and belong to the bytes that they were read from.
struct SYC_API LogRecord {
    OV::StringView user;
    OV::StringView loginName;
    OV::StringView duration;
    OV::StringView operation;
    OV::StringView project;
    OV::StringView projectId;
    std::uint32_t sizeVal = 0;
    std::int32_t timeVal = 0;
    OV::StringView comment;
    std::int16_t version = 0;

    friend bool operator==(const LogRecord&, const LogRecord&) = default;

    /// Bytes of a record without its texts.
    static constexpr std::size_t NumberBytes = 7 * 4 + 4 + 4 + 2;

    /// Reads the record that `bytes` begin with and returns its length, 0 when it is not there
    /// whole. Reads past nothing, whatever the bytes are.
    [[nodiscard]] std::size_t Parse(OV::StringView bytes) noexcept;
    void AppendTo(OV::String& bytes) const;
    /// The bytes that AppendTo appends.
    [[nodiscard]] std::size_t Size() const noexcept
    {
        return NumberBytes + user.size() + loginName.size() + duration.size() + operation.size() +
               project.size() + projectId.size() + comment.size();
    }
};

}  // namespace SYC
