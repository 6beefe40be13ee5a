#pragma once

#include "LogIndex/IndexItem.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

/// An element that knows the text of its row in the indexed column.
class SYC_API StringIndexItem final : public IndexItem {
public:
    /// Keeps the text itself.
    explicit StringIndexItem(std::uint32_t position = 0, OV::UniString value = {})
        : IndexItem(position), own_(std::make_unique<const OV::UniString>(std::move(value))),
          value_(*own_)
    {}
    /// A text that is kept for the item as long as the item lives.
    struct Kept {
        OV::UniStringView text;  ///< which outlives the item
    };
    /// Copies nothing.
    StringIndexItem(std::uint32_t position, Kept value) noexcept
        : IndexItem(position), value_(value.text)
    {}

    /// By the text alone; 1 when `other` has none.
    [[nodiscard]] int Compare(IndexItem* other) const override;
    [[nodiscard]] int Write(OV::OChannel& channel) override;
    /// 0, or OV::ChannelFailed; the text is kept by the item then.
    [[nodiscard]] int Read(OV::IChannel& channel) override;
    /// A copy of the text.
    [[nodiscard]] virtual OV::UniString GetValue() const { return OV::UniString(value_); }

    /// The text without a copy.
    [[nodiscard]] OV::UniStringView Value() const noexcept { return value_; }

private:
    /// Null for a text that others keep.
    std::unique_ptr<const OV::UniString> own_;
    OV::UniStringView value_;
};
