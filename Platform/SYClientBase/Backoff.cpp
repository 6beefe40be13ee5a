#include "SYClientBase/Backoff.hpp"

#include <algorithm>
#include <random>
#include <utility>

namespace SYCB {

Backoff::Backoff(std::function<double()> random) : random_(std::move(random)) {}

Backoff::Backoff()
    : Backoff([engine = std::minstd_rand(std::random_device()())]() mutable {
          return std::uniform_real_distribution<double>()(engine);
      })
{}

std::uint32_t Backoff::NextMilliseconds()
{
    const std::uint32_t half = step_ / 2;
    step_ = std::min(step_ * 2, LastStepMilliseconds);
    return half + static_cast<std::uint32_t>(random_() * half);
}

}  // namespace SYCB
