#include "LogFilter.hpp"

#include <unordered_map>

namespace {

/// Whether a line's operation is shown with the wanted text; each operation is translated once.
class OperationFilter {
public:
    explicit OperationFilter(const std::optional<OV::UniString>& text) : text_(text) {}

    [[nodiscard]] bool Takes(const LogDataLine& line, OV::StringView operation)
    {
        if (!text_)
            return true;
        const auto [known, isNew] = known_.try_emplace(operation, false);
        if (isNew)
            known->second = line.GetOperationText() == *text_;
        return known->second;
    }

private:
    const std::optional<OV::UniString>& text_;
    std::unordered_map<OV::StringView, bool> known_;
};

}  // namespace

OV::Array<std::uint32_t> LogFilter::Select(const OV::PagedArray<LogDataLine>& lines) const
{
    const OV::String wantedProject = OV::ToUtf8(projectId.value_or(u""));
    OperationFilter operations(operationText);
    std::unordered_map<OV::StringView, bool> users;
    const auto isWantedUser = [&](OV::StringView name) {
        const auto [known, isNew] = users.try_emplace(name, false);
        if (isNew)
            known->second = OV::FromUtf8(name) == *user;
        return known->second;
    };
    OV::Array<std::uint32_t> rows;
    std::uint32_t row = 0;
    for (const LogDataLine& line : lines) {
        const std::uint32_t here = row++;
        if (line.GetTimeVal() < from || line.GetTimeVal() > to || line.GetSizeVal() < smallestSize)
            continue;
        const LogRecord record = line.Record();
        if ((!projectId || record.projectId == wantedProject) &&
            (!user || isWantedUser(record.user)) && operations.Takes(line, record.operation))
            rows.push_back(here);
    }
    return rows;
}
