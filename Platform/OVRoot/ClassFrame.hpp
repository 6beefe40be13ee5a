#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"

namespace OV {

/// Name and version under which a class writes its records.
struct ClassInfo {
    UniStringView name;
    std::uint16_t mainVersion;
    std::uint16_t subVersion;
};

/// Opens a record: the constructor writes the class name, the main and the sub version.
class SYC_API OutputClassFrame {
public:
    OutputClassFrame(OChannel& channel, const ClassInfo& info);
    [[nodiscard]] ChannelStatus Status() const noexcept { return status_; }
    [[nodiscard]] std::uint16_t MainVersion() const noexcept { return mainVersion_; }

private:
    ChannelStatus status_;
    std::uint16_t mainVersion_;
};

/// Reads the head of a record. Another class name gives the status -7003; any version is accepted
/// here, for the reader dispatches on the main version.
class SYC_API InputClassFrame {
public:
    InputClassFrame(IChannel& channel, const ClassInfo& expected);
    [[nodiscard]] ChannelStatus Status() const noexcept { return status_; }
    [[nodiscard]] std::uint16_t MainVersion() const noexcept { return mainVersion_; }
    [[nodiscard]] std::uint16_t SubVersion() const noexcept { return subVersion_; }

private:
    ChannelStatus status_ = ChannelOk;
    std::uint16_t mainVersion_ = 0;
    std::uint16_t subVersion_ = 0;
};

}  // namespace OV
