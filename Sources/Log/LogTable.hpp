#pragma once

#include "Dlg/ListRows.hpp"
#include "IO/Location.hpp"
#include "LogDataLine.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

namespace SYC {

/// Lines of a log as a table shows them; its texts are made as they are looked at. Its rows and
/// columns count from 1, the rows that LogFilter selects are positions in `lines` and count from 0.
/// A row or column that there is not throws OV::IllegalArgumentException.
class SYC_API LogTable final : public Dlg::ListRows {
public:
    /// From 1.
    enum Column : int { Timestamp = 1, User, Action, Comment, Size, Duration };
    /// How many columns there are.
    static constexpr int ColumnCount = Duration;
    /// Lines in shared ownership that nobody changes.
    using Lines = LogLines;

    /// The rows are lines of `lines`, in that order.
    LogTable(Lines lines, OV::Array<std::uint32_t> rows)
        : lines_(std::move(lines)), rows_(std::move(rows))
    {}

    /// How many rows there are.
    [[nodiscard]] int GetCount() const override { return static_cast<int>(rows_.size()); }
    /// What a cell shows, in the user's language and time zone.
    [[nodiscard]] OV::UniString GetText(int row, int column) const override;
    [[nodiscard]] int GetPicture(int row, int column) const override;
    /// The line that a row shows.
    [[nodiscard]] const LogDataLine& GetLine(int row) const;

    /// What stands above a column, in the user's language.
    [[nodiscard]] static const OV::UniString& GetTitle(int column);
    /// The same rows by a column; those that are equal in it stay in their order.
    [[nodiscard]] std::shared_ptr<LogTable> Sorted(int column, bool ascending) const;
    /// A line of quoted texts for each row, with commas between; quotes within a text stay as they
    /// are, and a text ends after 1024 bytes. Whatever stands at `file`, a link too, makes room for
    /// a new file, once that is written whole. Throws IO::IOException.
    void Export(const IO::Location& file) const;

private:
    Lines lines_;
    OV::Array<std::uint32_t> rows_;
};

}  // namespace SYC
