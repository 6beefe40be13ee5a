#pragma once

#include "LogIndex/StringIndex.hpp"
#include "OVRoot/Export.hpp"

/// The rows of a log in the order of the texts of several columns, each followed by "/".
class SYC_API CompositeStringIndex : public StringIndex {
public:
    /// `fields` are the numbers of the columns, from 0, in the order of the key.
    explicit CompositeStringIndex(OV::Array<std::uint32_t> fields)
        : StringIndex(fields.empty() ? 0 : fields.front(), Composite), fields_(std::move(fields))
    {}

    [[nodiscard]] OV::Ref<IndexItem> ConvertComposite(const std::uint32_t& row,
                                                      OV::Array<OV::UniString> parts) override;
    [[nodiscard]] OV::Array<std::uint32_t> GetIndexedFields() override { return fields_; }
    void AddRows(std::uint32_t count, const RowTexts& texts) override;

    /// As FindFirst and FindLast, for texts that begin with `prefix` and are longer than it.
    [[nodiscard]] virtual std::uint32_t FindFirstPart(OV::UniString prefix);
    /// See FindFirstPart.
    [[nodiscard]] virtual std::uint32_t FindLastPart(OV::UniString prefix);

private:
    OV::Array<std::uint32_t> fields_;
};
