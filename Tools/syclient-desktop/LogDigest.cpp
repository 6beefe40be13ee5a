#include "LogDigest.hpp"

#include "DesktopText.hpp"
#include "OVRoot/Thread.hpp"

#include <QCoreApplication>

#include <algorithm>
#include <map>
#include <unordered_map>

namespace {

constexpr std::size_t MostShares = 8;
/// A day alone would be a point without a line.
constexpr qint64 FewestDays = 7;
constexpr qint64 MostDays = 70;
constexpr std::size_t LinesBetweenLooks = 4096;

/// Lines of each day here. Those of a day mostly follow one another.
class Days {
public:
    void Count(std::int32_t time)
    {
        if (time < begin_ || time >= end_)
            Find(time);
        ++*count_;
    }
    [[nodiscard]] const std::map<qint64, int>& ByNumber() const noexcept { return counts_; }

private:
    void Find(std::int32_t time)
    {
        const QDate day = QDateTime::fromSecsSinceEpoch(time).date();
        begin_ = day.startOfDay().toSecsSinceEpoch();
        end_ = day.addDays(1).startOfDay().toSecsSinceEpoch();
        count_ = &counts_[day.toJulianDay()];
    }

    std::map<qint64, int> counts_;
    int* count_ = nullptr;
    qint64 begin_ = 0, end_ = 0;
};

using Sums = std::unordered_map<OV::StringView, double>;

template <class Name>
LogDigest::Amounts Largest(const Sums& sums, Name&& name)
{
    std::map<OV::UniString, double> named;
    for (const auto& [text, sum] : sums)
        named[name(text)] += sum;
    LogDigest::Amounts amounts;
    for (const auto& [text, sum] : named)
        amounts.emplace_back(ToQt(text), sum);
    std::stable_sort(amounts.begin(), amounts.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    if (amounts.size() > MostShares) {
        double others = 0;
        for (auto at = amounts.begin() + MostShares; at != amounts.end(); ++at)
            others += at->second;
        amounts.resize(MostShares);
        amounts.emplace_back(QCoreApplication::translate("Charts", "Others"), others);
    }
    return amounts;
}

void FillSpans(LogDigest& digest, const std::map<qint64, int>& days)
{
    if (days.empty())
        return;
    const qint64 last = days.rbegin()->first;
    const qint64 first = std::min(days.begin()->first, last - FewestDays + 1);
    digest.isByWeeks = last - first >= MostDays;
    const qint64 step = digest.isByWeeks ? 7 : 1;
    // Julian days that 7 divides are Mondays.
    auto day = days.begin();
    for (qint64 begin = first / step * step; begin <= last; begin += step) {
        auto& span = digest.spans.emplace_back();
        span.begin = QDate::fromJulianDay(begin).startOfDay();
        for (; day != days.end() && day->first < begin + step; ++day)
            span.lines += day->second;
    }
}

}  // namespace

LogDigest Digest(const OV::PagedArray<LogDataLine>& lines)
{
    LogDigest digest;
    Days days;
    Sums actions, users, projects;
    for (const LogDataLine& line : lines) {
        if (digest.lines++ % LinesBetweenLooks == 0)
            OV::Thread::ThrowIfInterrupted();
        const SYC::LogRecord record = line.Record();
        days.Count(line.GetTimeVal());
        ++actions[record.operation];
        ++users[record.user];
        projects[record.project] += line.GetSizeVal();
    }
    FillSpans(digest, days.ByNumber());
    digest.byAction = Largest(actions, [](OV::StringView text) {
        LogDataLine line;
        line.SetOperation(OV::FromUtf8(text));
        return line.GetOperationText();
    });
    const auto plain = [](OV::StringView text) { return OV::FromUtf8(text); };
    digest.byUser = Largest(users, plain);
    digest.sizes = Largest(projects, plain);
    return digest;
}
