#pragma once

#include <cstddef>

/// Memory in large pieces, for much data that comes and goes together: the system gives each of
/// them as a single page where it can, and is asked a few hundred times less while they are filled.
namespace OV::LargeMemory {

/// How much Take gives, in bytes. Who needs less of it wastes the rest.
inline constexpr std::size_t Piece = std::size_t{2} << 20;

/// A piece, for any object, until it is given back. Throws std::bad_alloc. Any thread.
/// @{
[[nodiscard]] void* Take();
void GiveBack(void* piece) noexcept;
/// @}

}  // namespace OV::LargeMemory
