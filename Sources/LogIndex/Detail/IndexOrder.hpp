#pragma once

#include "LogIndex/StringIndexItem.hpp"
#include "OVRoot/Array.hpp"

#include <unordered_map>

namespace SYC::Detail {

/// Finds the order that an index has after rows were added to it one by one, without adding them
/// one by one.
///
/// The items of one text form a run. Where the search for a text ends depends on nothing but the
/// size of the index and the place of that run, and both are numbers: how many smaller texts came
/// before, and how many equal ones. So each row's place within its run at the time it came is
/// computed without a comparison of texts; the final places follow from the last row back to the
/// first.
class IndexOrder {
public:
    struct Entry {
        std::uint32_t row;
        StringIndexItem::Text text;
    };

    /// The text of the next row, in UTF-8.
    void Add(const OV::String& text);
    /// Throws OV::InterruptedException when the calling thread is interrupted.
    [[nodiscard]] OV::Array<Entry> Sort() const;

private:
    /// Texts by their number of first appearance.
    std::unordered_map<OV::String, std::uint32_t> numbers_;
    OV::Array<const OV::String*> texts_;
    OV::Array<std::uint32_t> rows_;
};

}  // namespace SYC::Detail
