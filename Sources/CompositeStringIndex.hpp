#pragma once

#include "StringIndex.hpp"

/// The rows of a log in the order of the texts of several columns, each followed by "/".
class CompositeStringIndex final : public StringIndex {
public:
    explicit CompositeStringIndex(OV::Array<std::uint32_t> fields)
        : StringIndex(fields.empty() ? 0 : fields.front(), Composite), fields_(std::move(fields))
    {}

    [[nodiscard]] OV::Ref<IndexItem>
    ConvertComposite(const std::uint32_t& row,
                     const OV::Array<OV::UniString>& parts) const override;
    [[nodiscard]] OV::Array<std::uint32_t> GetIndexedFields() const override { return fields_; }

    /// As FindFirst and FindLast, for texts that begin with `prefix` and are longer than it.
    [[nodiscard]] virtual std::uint32_t FindFirstPart(const OV::UniString& prefix) const;
    [[nodiscard]] virtual std::uint32_t FindLastPart(const OV::UniString& prefix) const;

private:
    void MakeKey(const OV::Array<OV::StringView>& parts, OV::String& key) const override;

    OV::Array<std::uint32_t> fields_;
};
