#pragma once

#include "Log/LogFilter.hpp"
#include "SyncraProtocol/EventLogPage.hpp"
#include "SyncraProtocol/Project.hpp"

#include <map>
#include <random>
#include <string>

inline constexpr const char* Separator = "#!";
/// A server sends no more at once.
inline constexpr std::int64_t LinesOfPage = 20'000;

/// Writes a log of about 100 bytes a line, in the order of time, as far as it is asked for.
class SampleLogWriter {
public:
    void Append(OV::String& text, std::int64_t lines)
    {
        constexpr const char* users[] = {
            "Anna Nov\u00e1k (anna.novak)", "Marco Rossi (marco.rossi)",
            "Lena Fischer (lena.fischer)",  "Omar Haddad (omar.haddad)",
            "Priya Nair (priya.nair)",      "Jonas Berg (jonas.berg)"};
        constexpr const char* actions[] = {"Send", "GetChanges", "Reserve", "Release", "Comment"};
        for (const std::int64_t end = line_ + lines; line_ < end; ++line_) {
            time_ += static_cast<std::int64_t>(random_() % 90);
            text += std::to_string(time_) + Separator + users[random_() % 6] + Separator +
                    actions[random_() % 5] + Separator + std::to_string(random_() % 9'000'000) +
                    Separator + "North wall moved by two bricks" + Separator +
                    std::to_string(random_() % 60) + Separator + "14" + Separator +
                    std::to_string(line_) + "\n";
        }
    }

private:
    std::mt19937 random_{1};
    std::int64_t time_ = 1'700'000'000;
    std::int64_t line_ = 0;
};

inline const OV::String& LogOf(std::int64_t count)
{
    static std::map<std::int64_t, OV::String> logs;
    OV::String& text = logs[count];
    if (text.empty())
        SampleLogWriter().Append(text, count);
    return text;
}

inline Syncra::Protocol::Project TheProject()
{
    Syncra::Protocol::Project project;
    project.id = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
    project.name = u"Harbour Bridge";
    return project;
}
