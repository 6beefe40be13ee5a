#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <array>
#include <compare>
#include <cstddef>

namespace OV {

/// A 128-bit identity.
class SYC_API Guid {
public:
    /// All zero.
    Guid() = default;
    /// A random one (version 4).
    [[nodiscard]] static Guid Generate();
    /// Reads "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in either case; anything else throws
    /// IllegalArgumentException.
    [[nodiscard]] static Guid Parse(UniStringView text);

    /// In capitals, with hyphens, without braces.
    [[nodiscard]] UniString ToText() const;
    /// In the order of the text.
    [[nodiscard]] const std::array<std::uint8_t, 16>& Bytes() const noexcept { return bytes_; }

    friend auto operator<=>(const Guid&, const Guid&) = default;

private:
    std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace OV

template <>
struct std::hash<OV::Guid> {
    std::size_t operator()(const OV::Guid& guid) const noexcept;
};
