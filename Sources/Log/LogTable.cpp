#include "Log/LogTable.hpp"

#include "Files/ResourceNumbers.hpp"
#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "Log/Detail/LogRank.hpp"
#include "OVRoot/Resources.hpp"

#include <algorithm>
#include <array>
#include <numeric>

namespace SYC {

namespace {
constexpr std::size_t MostCellBytes = 1024;

using LogField = LogDataLine::LogField;

/// At most so many bytes, and no part of a character.
OV::StringView Cut(OV::StringView utf8)
{
    std::size_t length = std::min(utf8.size(), MostCellBytes);
    while (length < utf8.size() && length > 0 && (utf8[length] & 0xC0) == 0x80)
        --length;
    return utf8.substr(0, length);
}

}  // namespace

const OV::UniString& LogTable::GetTitle(int column)
{
    constexpr std::array titles{2, 3, 4, 5, 11, 12};
    return OV::GetStringListItem(TextLists::ActivityLog,
                                 titles.at(static_cast<std::size_t>(column) - 1));
}

const LogDataLine& LogTable::GetLine(int row) const
{
    return (*lines_)[rows_.at(static_cast<std::size_t>(row) - 1)];
}

OV::UniString LogTable::GetText(int row, int column) const
{
    const LogDataLine& line = GetLine(row);
    switch (column) {
    case Timestamp:
        return line.GetTimeString();
    case User:
        return line.GetUser();
    case Action:
        return line.GetOperationText();
    case Comment:
        return line.GetComment();
    case Size:
        return line.GetSize();
    case Duration:
        return line.GetDuration();
    default:
        return {};
    }
}

int LogTable::GetPicture(int row, int column) const
{
    return column == Action ? GetLine(row).GetIconNumber() : 0;
}

std::shared_ptr<LogTable> LogTable::Sorted(int column, bool ascending) const
{
    OV::Array<const LogDataLine*> lines;
    lines.reserve(rows_.size());
    for (const std::uint32_t row : rows_)
        lines.push_back(&(*lines_)[row]);
    OV::Array<std::uint32_t> order(rows_.size());
    std::iota(order.begin(), order.end(), 0U);
    const auto sortBy = [&](auto&& isLess) {
        std::stable_sort(order.begin(), order.end(), isLess);
    };
    if (column == Comment) {
        OV::Array<OV::StringView> comments;
        comments.reserve(lines.size());
        for (const LogDataLine* line : lines)
            comments.push_back(line->Record().comment);
        sortBy([&](std::uint32_t a, std::uint32_t b) {
            return ascending ? comments[a] < comments[b] : comments[b] < comments[a];
        });
    } else {
        constexpr std::array fields{LogField::Time, LogField::User, LogField::Operation,
                                    LogField::Time, LogField::Size, LogField::Duration};
        const auto ranks =
            Detail::RankLines(lines, fields.at(static_cast<std::size_t>(column) - 1), ascending);
        sortBy([&](std::uint32_t a, std::uint32_t b) { return ranks[a] < ranks[b]; });
    }
    for (std::uint32_t& at : order)
        at = rows_[at];
    return std::make_shared<LogTable>(lines_, std::move(order));
}

void LogTable::Export(const IO::Location& file) const
{
    OV::String bytes;
    for (int row = 1; row <= GetCount(); ++row)
        for (int column = 1; column <= ColumnCount; ++column) {
            bytes += '"';
            bytes += Cut(OV::ToUtf8(GetText(row, column)));
            bytes += column < ColumnCount ? "\"," : "\"\n";
        }
    // Replacing would write through a link, to a file that the user did not name.
    const auto folder = file.Parent();
    const auto written =
        folder.Appended(IO::Folder::GenerateUnusedName(folder, file.LastComponent() + u".new"));
    try {
        IO::File::Replace(written, bytes);
        IO::File::Rename(written, file);
    } catch (...) {
        IO::File::Delete(written);
        throw;
    }
}

}  // namespace SYC
