#include "Log/LogTable.hpp"

#include "Files/ResourceNumbers.hpp"
#include "IO/File.hpp"
#include "IO/FileReplacement.hpp"
#include "IO/Folder.hpp"
#include "Log/Detail/LogRank.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Resources.hpp"

#include <algorithm>
#include <array>

namespace SYC {

namespace {
constexpr std::size_t MostCellBytes = 1024;

/// At most so many bytes, and no part of a character.
OV::StringView Cut(OV::StringView utf8)
{
    std::size_t length = std::min(utf8.size(), MostCellBytes);
    while (length < utf8.size() && length > 0 && (utf8[length] & 0xC0) == 0x80)
        --length;
    return utf8.substr(0, length);
}

/// Of a row or column, which count from 1.
std::size_t IndexOf(int number, std::size_t count)
{
    if (number < 1 || static_cast<std::size_t>(number) > count)
        throw OV::IllegalArgumentException(u"There is no row or column " + OV::ToText(number) +
                                           u" of the log: they count from 1 to " +
                                           OV::ToText(static_cast<std::int64_t>(count)) + u".");
    return static_cast<std::size_t>(number) - 1;
}

}  // namespace

const OV::UniString& LogTable::GetTitle(int column)
{
    constexpr std::array titles{2, 3, 4, 5, 11, 12};
    return OV::GetStringListItem(TextLists::ActivityLog, titles[IndexOf(column, titles.size())]);
}

const LogDataLine& LogTable::GetLine(int row) const
{
    return (*lines_)[rows_[IndexOf(row, rows_.size())]];
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
    using Key = Detail::LogKey;
    constexpr std::array keys{Key::Time,    Key::User, Key::Operation,
                              Key::Comment, Key::Size, Key::Duration};
    const auto ranked = Detail::RankRows(*lines_, rows_, keys[IndexOf(column, keys.size())]);
    OV::Array<std::uint32_t> sorted;
    sorted.reserve(ranked.size());
    const auto add = [&](auto first, auto end) {
        std::for_each(first, end, [&](const auto& each) { sorted.push_back(rows_[each.row]); });
    };
    if (ascending)
        add(ranked.begin(), ranked.end());
    else
        for (auto end = ranked.end(); end != ranked.begin();) {
            const auto first = std::find_if(
                std::make_reverse_iterator(end), ranked.rend(),
                [rank = std::prev(end)->rank](const auto& each) { return each.rank != rank; });
            add(first.base(), end);
            end = first.base();
        }
    return std::make_shared<LogTable>(lines_, std::move(sorted));
}

void LogTable::Export(const IO::Location& file) const
{
    constexpr std::size_t bytesOfPiece = std::size_t{256} << 10;
    // Replacing would write through a link, to a file that the user did not name.
    const auto folder = file.Parent();
    const auto written =
        folder.Appended(IO::Folder::GenerateUnusedName(folder, file.LastComponent() + u".new"));
    try {
        IO::FileReplacement replacement(written);
        OV::String bytes;
        for (int row = 1; row <= GetCount(); ++row) {
            for (int column = 1; column <= ColumnCount; ++column) {
                bytes += '"';
                bytes += Cut(OV::ToUtf8(GetText(row, column)));
                bytes += column < ColumnCount ? "\"," : "\"\n";
            }
            if (bytes.size() >= bytesOfPiece) {
                replacement.Write(bytes);
                bytes.clear();
            }
        }
        replacement.Write(bytes);
        replacement.Commit();
        IO::File::Rename(written, file);
    } catch (...) {
        IO::File::Delete(written);
        throw;
    }
}

}  // namespace SYC
