#pragma once

#include "LogLine/LogRecord.hpp"

#include <iterator>

namespace SYC::Detail {

/// The records of a block, one after the other, up to the first that is not there whole.
class LogRecords {
public:
    struct Item {
        LogRecord record;
        OV::StringView bytes;  ///< those of the record
    };
    class Iterator {
    public:
        explicit Iterator(OV::StringView rest) noexcept : rest_(rest) { Read(); }
        [[nodiscard]] const Item& operator*() const noexcept { return item_; }
        Iterator& operator++() noexcept
        {
            rest_.remove_prefix(item_.bytes.size());
            Read();
            return *this;
        }
        [[nodiscard]] bool operator==(std::default_sentinel_t) const noexcept
        {
            return item_.bytes.empty();
        }

    private:
        void Read() noexcept { item_.bytes = rest_.substr(0, item_.record.Parse(rest_)); }

        OV::StringView rest_;
        Item item_;
    };

    /// The block outlives this object and its items.
    explicit LogRecords(OV::StringView block) noexcept : block_(block) {}
    [[nodiscard]] Iterator begin() const noexcept { return Iterator(block_); }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    OV::StringView block_;
};

}  // namespace SYC::Detail
