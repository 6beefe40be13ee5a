#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace OV {

/// A sequence that takes elements anywhere: it stands in blocks, so that an insertion moves a part
/// of one block and not the whole tail.
template <class T>
class TieredArray {
public:
    /// In elements.
    [[nodiscard]] std::size_t Size() const noexcept { return size_; }
    /// Whether there is none.
    [[nodiscard]] bool IsEmpty() const noexcept { return size_ == 0; }
    /// `at` must be below the size.
    [[nodiscard]] const T& operator[](std::size_t at) const
    {
        const std::size_t block = BlockOf(at);
        return blocks_[block][at - starts_[block]];
    }
    /// The same for who goes from neighbour to neighbour; begins with a `block` of 0.
    [[nodiscard]] const T& Near(std::size_t at, std::size_t& block) const
    {
        if (at < starts_[block] || at - starts_[block] >= blocks_[block].size())
            block = BlockOf(at);
        return blocks_[block][at - starts_[block]];
    }
    /// Drops all elements.
    void Clear()
    {
        blocks_.clear();
        starts_.clear();
        size_ = 0;
    }
    /// Adds an element behind the others.
    void PushBack(T element) { Insert(size_, std::move(element)); }
    /// The last element; there must be one.
    [[nodiscard]] T& Back() { return blocks_.back().back(); }
    /// In front of the element at `at`, or at the end.
    void Insert(std::size_t at, T element)
    {
        if (blocks_.empty()) {
            blocks_.emplace_back();
            starts_.push_back(0);
        }
        std::size_t block = at == size_ ? blocks_.size() - 1 : BlockOf(at);
        if (blocks_[block].size() == BlockSize) {
            Split(block, at == size_ ? BlockSize : BlockSize / 2);
            block += at >= starts_[block + 1] ? 1 : 0;
        }
        auto& elements = blocks_[block];
        elements.insert(elements.begin() + static_cast<std::ptrdiff_t>(at - starts_[block]),
                        std::move(element));
        for (std::size_t next = block + 1; next < starts_.size(); ++next)
            ++starts_[next];
        ++size_;
    }

private:
    static constexpr std::size_t BlockSize = 1024;

    [[nodiscard]] std::size_t BlockOf(std::size_t at) const
    {
        return static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), at) -
                                        starts_.begin()) -
               1;
    }
    void Split(std::size_t block, std::size_t kept)
    {
        auto& elements = blocks_[block];
        const auto from = elements.begin() + static_cast<std::ptrdiff_t>(kept);
        std::vector<T> rest;
        rest.reserve(BlockSize);
        rest.assign(std::make_move_iterator(from), std::make_move_iterator(elements.end()));
        elements.erase(from, elements.end());
        starts_.insert(starts_.begin() + static_cast<std::ptrdiff_t>(block) + 1,
                       starts_[block] + kept);
        blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(block) + 1, std::move(rest));
    }

    std::vector<std::vector<T>> blocks_;
    std::vector<std::size_t> starts_;
    std::size_t size_ = 0;
};

}  // namespace OV
