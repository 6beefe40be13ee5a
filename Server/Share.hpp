#pragma once

#include <cstddef>

namespace Nexar {

/// Takes part in a sum while it lives.
class Share {
public:
    Share(std::size_t& sum, std::size_t part) : sum_(sum), part_(part) { sum_ += part_; }
    ~Share() { sum_ -= part_; }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

private:
    std::size_t& sum_;
    std::size_t part_;
};

}  // namespace Nexar
