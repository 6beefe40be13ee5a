#include "Log/LogFilter.hpp"

#include <unordered_map>

namespace SYC {

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

/// Whether a text of a record is the wanted one. Texts count as they are told: malformed bytes may
/// spell one in several ways.
class TextFilter {
public:
    explicit TextFilter(const std::optional<OV::UniString>& text)
        : text_(text), utf8_(OV::ToUtf8(text.value_or(u"")))
    {}

    [[nodiscard]] bool Takes(OV::StringView text)
    {
        if (!text_)
            return true;
        // Lines of a block have the very same text of their project.
        if (text.data() != last_.data() || text.size() != last_.size()) {
            last_ = text;
            takesLast_ = text == utf8_ || IsSpelledInAnotherWay(text);
        }
        return takesLast_;
    }

private:
    [[nodiscard]] bool IsSpelledInAnotherWay(OV::StringView text)
    {
        const auto [known, isNew] = known_.try_emplace(text, false);
        if (isNew)
            known->second = OV::FromUtf8(text) == *text_;
        return known->second;
    }

    const std::optional<OV::UniString>& text_;
    OV::String utf8_;
    std::unordered_map<OV::StringView, bool> known_;
    OV::StringView last_;
    bool takesLast_ = utf8_.empty();
};

}  // namespace

OV::Array<std::uint32_t> LogFilter::Select(const OV::PagedArray<LogDataLine>& lines) const
{
    TextFilter projects(projectId), users(user);
    OperationFilter operations(operationText);
    OV::Array<std::uint32_t> rows;
    std::uint32_t row = 0;
    for (const LogDataLine& line : lines) {
        const std::uint32_t here = row++;
        if (line.GetTimeVal() < from || line.GetTimeVal() > to || line.GetSizeVal() < smallestSize)
            continue;
        const LogRecord record = line.Record();
        if (projects.Takes(record.projectId) && users.Takes(record.user) &&
            operations.Takes(line, record.operation))
            rows.push_back(here);
    }
    return rows;
}

}  // namespace SYC
