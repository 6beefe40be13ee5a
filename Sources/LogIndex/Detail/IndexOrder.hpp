#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/UniString.hpp"

#include <algorithm>
#include <cstdint>

namespace SYC::Detail {

/// Finds the order that an index has after rows were added to it one by one, without adding them
/// one by one.
///
/// The items of one text form a run. Where the search for a text ends depends on nothing but the
/// size of the index and the place of that run, and both are numbers: how many smaller texts came
/// before, and how many equal ones. So each row's place within its run at the time it came is
/// computed without a comparison of texts; the final places follow from the last row back to the
/// first. Rows that come in the order of their texts, as times do, need no counting: all smaller
/// ones came before.
class IndexOrder {
public:
    /// The rows of a text.
    struct Run {
        OV::UniStringView text;
        std::uint32_t end;  ///< behind the last one; the first one stands where the run before ends
    };
    struct Sorted {
        OV::Array<std::uint32_t> rows;
        OV::Array<Run> runs;
        OV::Array<char16_t> texts;  ///< of the runs
    };

    /// So many rows will come.
    explicit IndexOrder(std::uint32_t rows) : rows_(rows)
    {
        ends_.reserve(std::size_t{rows} + 1);
        ends_.push_back(0);
    }
    /// Where the text of the next row is appended, in UTF-8.
    [[nodiscard]] OV::String& Bytes() noexcept { return bytes_; }
    /// The text is complete.
    void EndRow()
    {
        ends_.push_back(bytes_.size());
        if (ends_.size() == SampleRows)
            bytes_.reserve(
                std::min(bytes_.size() / SampleRows * (rows_ + rows_ / 8), MostReserved));
    }
    /// Throws OV::InterruptedException when the calling thread is interrupted.
    [[nodiscard]] Sorted Sort() const;

private:
    /// Rows whose texts tell how long those of all will be, about; they may be wrong, so that no
    /// more than some memory is taken by it.
    static constexpr std::size_t SampleRows = 1024;
    static constexpr std::size_t MostReserved = std::size_t{64} << 20;

    std::size_t rows_;
    OV::String bytes_;
    OV::Array<std::size_t> ends_;
};

}  // namespace SYC::Detail
