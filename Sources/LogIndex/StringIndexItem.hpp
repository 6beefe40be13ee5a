#pragma once

#include "LogIndex/IndexItem.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

/// An element that knows the text of its row in the indexed column. Rows of one text share it.
class SYC_API StringIndexItem final : public IndexItem {
public:
    using Text = std::shared_ptr<const OV::UniString>;

    explicit StringIndexItem(std::uint32_t position = 0, OV::UniString value = {})
        : StringIndexItem(position, std::make_shared<const OV::UniString>(std::move(value)))
    {}
    StringIndexItem(std::uint32_t position, Text value) noexcept
        : IndexItem(position), value_(std::move(value))
    {}

    /// By the text alone; 1 when `other` has none.
    [[nodiscard]] int Compare(IndexItem* other) const override;
    [[nodiscard]] int Write(OV::OChannel& channel) override;
    [[nodiscard]] int Read(OV::IChannel& channel) override;
    [[nodiscard]] virtual OV::UniString GetValue() const { return *value_; }

    /// The text without a copy.
    [[nodiscard]] const OV::UniString& Value() const noexcept { return *value_; }

private:
    Text value_;
};
