#include "LogIndex/TextParser.hpp"

#include "LogLine/Detail/LogReading.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <algorithm>

OV::UniString LogSource::GetCacheName() const
{
    OV::UniString name = host + u'_' + OV::ToText(port);
    std::replace_if(
        name.begin(), name.end(), [](char16_t c) { return c == u':' || c == u'/' || c == u'\\'; },
        u'_');
    return name;
}

int TextParser::GetLatestEvents(std::int32_t from, std::int32_t to, bool withoutVersionCheck)
{
    try {
        const auto client = SYCB::CreateSyncraClient(
            {SYCB::ConnectionValidator::GetInstance().GetWorkingHost(source_.host, source_.port),
             source_.port, source_.userName, source_.password, withoutVersionCheck});
        Syncra::Protocol::EventLogPage page;
        SYC::Detail::LogReading reading;
        OV::String text;
        do {
            if (OV::Thread::IsInterrupted())
                return OV::ChannelFailed;
            page = type_ == LogType::Project
                       ? client->GetEvents(source_.projectId, from, to, page.next)
                       : client->GetPerformanceEvents(from, to, page.next);
            reading.TakePage(page);
            text += page.text;
        } while (page.left > 0);
        SetText(std::move(text), std::move(page.separator));
        return 0;
    } catch (const Communication::ResponseContentException& refusal) {
        return refusal.GetErrorCode();
    } catch (...) {
        OV::Logger::Info(OV::Logger::Library, u"TextParser::GetLatestEvents: %",
                         {OV::DescribeCurrentException()});
        return OV::ChannelFailed;
    }
}

void TextParser::SetText(OV::String text, OV::String separator)
{
    text_ = SYC::LogText(std::move(text));
    separator_ = std::move(separator);
    SetStartLine(0);
}

void TextParser::SetStartLine(const std::uint32_t& line)
{
    nextLine_ = line;
    nextRow_ = 0;
}

int TextParser::NextLine(OV::Array<OV::StringView>& fields)
{
    if (nextLine_ >= GetLineCount())
        return OV::ChannelFailed;
    currentLine_ = nextLine_++;
    SYC::LogText::Split(text_.GetLine(currentLine_), separator_, fields);
    return 0;
}

int TextParser::ParseLine(OV::Array<OV::Ref<OV::Object>>& fields,
                          const OV::StableArray<std::uint32_t>* rows)
{
    OV::Array<OV::StringView> parts;
    if (rows != nullptr) {
        if (nextRow_ >= rows->size())
            return OV::ChannelFailed;
        currentLine_ = (*rows)[nextRow_++];
        if (currentLine_ >= GetLineCount())
            return OV::ChannelFailed;
        SYC::LogText::Split(text_.GetLine(currentLine_), separator_, parts);
    } else if (const int status = NextLine(parts); status != 0) {
        return status;
    }
    fields.clear();
    for (const auto part : parts)
        fields.push_back(OV::MakeRef<OV::UniStringObject>(OV::FromUtf8(part)));
    return 0;
}

void TextParser::ParseLog()
{
    for (const auto& index : Indices())
        index->Clear();
    SetStartLine(0);
    // Cut once; an index that is added line by line and one that is filled at once are the same.
    OV::Array<OV::StringView> fields, all;
    OV::Array<std::size_t> starts;
    while (NextLine(fields) == 0) {
        if (OV::Thread::IsInterrupted())
            return;
        starts.push_back(all.size());
        all.insert(all.end(), fields.begin(), fields.end());
    }
    const auto count = static_cast<std::uint32_t>(starts.size());
    starts.push_back(all.size());
    try {
        for (const auto& index : Indices()) {
            const auto columns = index->GetIndexedFields();
            index->AddRows(count, [&](std::uint32_t row, OV::Array<OV::StringView>& parts) {
                parts.clear();
                for (const std::uint32_t column : columns)
                    parts.push_back(column < starts[row + 1] - starts[row]
                                        ? all[starts[row] + column]
                                        : OV::StringView());
            });
        }
    } catch (const OV::InterruptedException&) {
        return;
    }
    SetStartLine(0);
}

void TextParser::SetFilter(OV::UniString filter)
{
    filter_ = std::move(filter);
    FilterChangedNotification();
}

void TextParser::ResetFilter()
{
    SetFilter({});
}

OV::Array<std::uint32_t> TextParser::FilteredRows() const
{
    const OV::String wanted = OV::ToUtf8(filter_);
    OV::Array<std::uint32_t> rows;
    for (std::uint32_t line = 0; line < GetLineCount(); ++line)
        if (text_.GetLine(line).find(wanted) != OV::StringView::npos)
            rows.push_back(line);
    return rows;
}

void TextParser::FilterChangedNotification()
{
    for (const auto& index : Indices())
        index->ResetFilter();
    if (filter_.empty())
        return;
    const auto rows = FilteredRows();
    for (const auto& index : Indices())
        index->SetFilteredRows(rows);
}
