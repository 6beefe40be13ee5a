#include "Charts.hpp"

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "ChartGauges.hpp"
#include "DesktopText.hpp"

#include <QBarCategoryAxis>
#include <QBarSet>
#include <QCategoryAxis>
#include <QChart>
#include <QChartView>
#include <QDateTime>
#include <QDateTimeAxis>
#include <QGuiApplication>
#include <QHorizontalBarSeries>
#include <QLegendMarker>
#include <QLineSeries>
#include <QLocale>
#include <QPainter>
#include <QPalette>
#include <QPieSeries>
#include <QSaveFile>
#include <QTextStream>
#include <QValueAxis>

#include <algorithm>
#include <cmath>

namespace Charts {

namespace {

/// More points than these are a line anyway.
constexpr qsizetype MostMarkedPoints = 100;
constexpr double Megabyte = 1024.0 * 1024.0;

struct Kind {
    const char* name;
    const char* title;
    ChartType load{};
    const char* axis = "";  ///< what the height of a line means, with its unit
};

constexpr Kind AllKinds[] = {
    {"cpu", QT_TRANSLATE_NOOP("Charts", "CPU"), ChartType::Cpu,
     QT_TRANSLATE_NOOP("Charts", "Load of the processor (%)")},
    {"memory", QT_TRANSLATE_NOOP("Charts", "Memory"), ChartType::Memory,
     QT_TRANSLATE_NOOP("Charts", "Memory that the server uses (MB)")},
    {"actions", QT_TRANSLATE_NOOP("Charts", "Server actions"), ChartType::ServerActions,
     QT_TRANSLATE_NOOP("Charts", "Requests in each minute")},
    {"transferred", QT_TRANSLATE_NOOP("Charts", "Data transferred"), ChartType::DataTransferred,
     QT_TRANSLATE_NOOP("Charts", "Data in each minute (KB)")},
    {"longest", QT_TRANSLATE_NOOP("Charts", "Longest transaction"), ChartType::LongestTransaction,
     QT_TRANSLATE_NOOP("Charts", "Longest request in a minute (s)")},
    {"gauges", QT_TRANSLATE_NOOP("Charts", "Now")},
    {"activity", QT_TRANSLATE_NOOP("Charts", "Activity"), {}, QT_TRANSLATE_NOOP("Charts", "Lines")},
    {"by-action", QT_TRANSLATE_NOOP("Charts", "Shares of actions")},
    {"by-user", QT_TRANSLATE_NOOP("Charts", "Shares of users")},
    {"sizes", QT_TRANSLATE_NOOP("Charts", "Data by project")},
};

const Kind* Find(const QString& name)
{
    const auto* const found =
        std::find_if(std::begin(AllKinds), std::end(AllKinds),
                     [&](const Kind& each) { return name == QLatin1String(each.name); });
    return found == std::end(AllKinds) ? nullptr : found;
}

/// Ticks of a time axis: so many seconds, days or months apart, at whole ones of local time.
struct TickStep {
    enum class Unit { Seconds, Days, Months } unit;
    int count;
    const char* format;

    [[nodiscard]] qint64 Length() const
    {
        return count * (unit == Unit::Seconds ? 1 : unit == Unit::Days ? 86'400 : 30 * 86'400LL);
    }
    [[nodiscard]] QDateTime FirstUpTo(const QDateTime& time) const
    {
        const QDate day = time.date();
        if (unit == Unit::Seconds)
            return QDateTime(day, QTime(0, 0))
                .addSecs(time.time().msecsSinceStartOfDay() / 1000 / count * count);
        if (unit == Unit::Days)
            return QDate::fromJulianDay(day.toJulianDay() / count * count).startOfDay();
        const int months = (day.year() * 12 + day.month() - 1) / count * count;
        return QDate(months / 12, months % 12 + 1, 1).startOfDay();
    }
    [[nodiscard]] QDateTime Next(const QDateTime& tick) const
    {
        return unit == Unit::Seconds ? tick.addSecs(count)
               : unit == Unit::Days  ? tick.addDays(count)
                                     : tick.addMonths(count);
    }
};

/// The first that needs few enough ticks.
const TickStep& StepFor(qint64 seconds)
{
    using enum TickStep::Unit;
    static constexpr TickStep steps[] = {
        {Seconds, 60, "hh:mm"},   {Seconds, 300, "hh:mm"},    {Seconds, 900, "hh:mm"},
        {Seconds, 3600, "hh:mm"}, {Seconds, 10'800, "hh:mm"}, {Seconds, 21'600, "hh:mm"},
        {Days, 1, "d MMM"},       {Days, 2, "d MMM"},         {Days, 7, "d MMM"},
        {Days, 14, "d MMM"},      {Months, 1, "MMM yyyy"},    {Months, 3, "MMM yyyy"},
        {Months, 6, "MMM yyyy"},  {Months, 12, "yyyy"},       {Months, 60, "yyyy"}};
    constexpr qint64 most = 7;
    for (const auto& step : steps)
        if (seconds <= step.Length() * most)
            return step;
    return steps[std::size(steps) - 1];
}

/// Even ticks that stand where people look for them, from the one before the first point to the one
/// behind the last.
void AddTimeAxis(QChart& chart, QXYSeries& series, const QDateTime& first, const QDateTime& last)
{
    const auto& step = StepFor(std::max<qint64>(60, first.secsTo(last)));
    auto* labels = new QCategoryAxis;
    labels->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    const QDateTime begin = step.FirstUpTo(first);
    QDateTime tick = begin;
    const auto add = [&] {
        // Where a day begins, which it is says more than that.
        const bool isMidnight = step.unit == TickStep::Unit::Seconds && tick.time() == QTime(0, 0);
        QString label = QLocale().toString(tick, isMidnight ? "d MMM" : step.format);
        // The axis shows each text once; an invisible mark makes the same hour of two days two.
        while (labels->categoriesLabels().contains(label))
            label += QChar(0x200B);
        labels->append(label, static_cast<double>(tick.toMSecsSinceEpoch()));
    };
    for (add(); tick < last || tick == begin; add())
        tick = step.Next(tick);
    labels->setRange(static_cast<double>(begin.toMSecsSinceEpoch()),
                     static_cast<double>(tick.toMSecsSinceEpoch()));
    const QString day = step.unit == TickStep::Unit::Seconds ? "d MMM yyyy hh:mm" : "d MMM yyyy";
    labels->setTitleText(Said::tr("%1 to %2, time of this computer")
                             .arg(QLocale().toString(first, day), QLocale().toString(last, day)));
    // Whoever reads the points knows by this one that they are times.
    auto* time = new QDateTimeAxis;
    time->setRange(begin, tick);
    time->setVisible(false);
    for (QAbstractAxis* axis : std::initializer_list<QAbstractAxis*>{time, labels}) {
        chart.addAxis(axis, Qt::AlignBottom);
        series.attachAxis(axis);
    }
}

/// A line over time, between its axes; the legend tells its numbers.
void AddLine(QChart& chart, const QList<QPointF>& points, const QString& name, const QString& axis,
             double lowest, double highest)
{
    auto* line = new QLineSeries;
    line->replace(points);
    line->setName(name);
    // A single point is no line yet.
    line->setPointsVisible(points.size() <= MostMarkedPoints);
    chart.addSeries(line);
    const auto timeOf = [](const QPointF& point) {
        return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(point.x()));
    };
    AddTimeAxis(chart, *line, timeOf(points.front()), timeOf(points.back()));
    auto* value = new QValueAxis;
    value->setRange(lowest, highest > lowest ? highest : lowest + 1);
    value->applyNiceNumbers();
    const double step = (value->max() - value->min()) / std::max(1, value->tickCount() - 1);
    value->setLabelFormat(step >= 1 ? "%.0f" : step >= 0.1 ? "%.1f" : "%.2f");
    value->setTitleText(axis);
    chart.addAxis(value, Qt::AlignLeft);
    line->attachAxis(value);
    chart.legend()->setAlignment(Qt::AlignBottom);
}

bool AddLoad(QChart& chart, const Kind& kind, const PerformanceData& data)
{
    if (!data.HasChartLine(kind.load) || data.GetChartLine(kind.load).points.empty())
        return false;
    const ChartDataLine& line = data.GetChartLine(kind.load);
    QList<QPointF> points;
    double sum = 0, most = line.points.front().second;
    for (const auto& [time, value] : line.points) {
        points.append({static_cast<double>(time) * 1000, static_cast<double>(value)});
        sum += static_cast<double>(value);
        most = std::max(most, static_cast<double>(value));
    }
    AddLine(chart, points,
            Said::tr("last %1, mean %2, highest %3")
                .arg(Number(points.back().y()), Number(sum / static_cast<double>(points.size())),
                     Number(most)),
            Said::tr(kind.axis), static_cast<double>(line.values[0]),
            static_cast<double>(line.values[1]));
    return true;
}

bool AddGauges(QChart& chart, const PerformanceData& data)
{
    std::vector<Gauge> gauges;
    for (const char* name : {"cpu", "memory"}) {
        const Kind& kind = *Find(name);
        if (!data.HasChartLine(kind.load))
            return false;
        gauges.emplace_back(data.GetChartLine(kind.load), Said::tr(kind.title));
    }
    // What is drawn, for who reads the chart.
    auto* values = new QPieSeries;
    for (const auto& gauge : gauges)
        values->append(gauge.Text(), gauge.Value());
    chart.addSeries(values);
    values->setVisible(false);
    chart.legend()->hide();
    new GaugesItem(chart, std::move(gauges));  // the chart's own
    return true;
}

bool AddActivity(QChart& chart, const LogDigest& log)
{
    if (log.spans.empty())
        return false;
    QList<QPointF> points;
    int highest = 0;
    for (const auto& span : log.spans) {
        points.append(
            {static_cast<double>(span.begin.toMSecsSinceEpoch()), static_cast<double>(span.lines)});
        highest = std::max(highest, span.lines);
    }
    AddLine(chart, points,
            (log.isByWeeks ? Said::tr("%1 lines in %2 weeks, at most %3 in one")
                           : Said::tr("%1 lines in %2 days, at most %3 in one"))
                .arg(QLocale().toString(static_cast<qulonglong>(log.lines)),
                     QLocale().toString(points.size()), QLocale().toString(highest)),
            log.isByWeeks ? Said::tr("Lines in each week") : Said::tr("Lines in each day"), 0,
            highest);
    return true;
}

using Amounts = LogDigest::Amounts;

bool AddShares(QChart& chart, const Amounts& amounts)
{
    if (amounts.empty())
        return false;
    auto* pie = new QPieSeries;
    for (const auto& [name, amount] : amounts)
        pie->append(name, amount);
    constexpr QRgb colours[] = {0x3477B8, 0xE08A2C, 0x4E9A51, 0xC0504D, 0x8064A2,
                                0x2FA3A0, 0xB8973A, 0x8C6D5C, 0x8A8F98};
    int number = 0;
    for (auto* slice : pie->slices())
        slice->setBrush(QColor(colours[number++ % static_cast<int>(std::size(colours))]));
    for (auto* slice : pie->slices())
        slice->setLabel(
            QString("%1: %2 %")
                .arg(slice->label(), QLocale().toString(slice->percentage() * 100, 'f', 1)));
    chart.addSeries(pie);
    chart.legend()->setAlignment(Qt::AlignRight);
    return true;
}

/// The axis makes no room for a name that is too long for it.
QString Shortened(const QString& name)
{
    constexpr int longest = 28;
    return name.size() <= longest ? name : name.left(longest - 1) + QChar(0x2026);
}

bool AddSizes(QChart& chart, const Amounts& amounts)
{
    if (amounts.empty())
        return false;
    auto* set = new QBarSet("MB");
    auto* names = new QBarCategoryAxis;
    // Bars are drawn from below. The axis shows each name once, so equal ones are told apart.
    for (auto at = amounts.rbegin(); at != amounts.rend(); ++at) {
        set->append(std::round(at->second / Megabyte * 100) / 100);
        QString name = Shortened(at->first);
        while (names->categories().contains(name))
            name += ' ';
        names->append(name);
    }
    auto* bars = new QHorizontalBarSeries;
    bars->append(set);
    bars->setBarWidth(0.6);
    bars->setLabelsVisible(true);
    bars->setLabelsFormat("@value MB");
    bars->setLabelsPrecision(5);
    bars->setLabelsPosition(QAbstractBarSeries::LabelsOutsideEnd);
    set->setLabelColor(TextColor(chart));
    chart.addSeries(bars);
    chart.addAxis(names, Qt::AlignLeft);
    bars->attachAxis(names);
    auto* value = new QValueAxis;
    // Room for the number behind the longest bar.
    value->setRange(0, std::max(1.0, amounts.front().second / Megabyte * 1.15));
    value->applyNiceNumbers();
    value->setLabelFormat(value->max() < 5 ? "%.1f" : "%.0f");
    value->setTitleText(Said::tr("Data that members sent and fetched (MB)"));
    chart.addAxis(value, Qt::AlignBottom);
    bars->attachAxis(value);
    chart.legend()->hide();
    return true;
}

bool Fill(QChart& chart, const Kind& kind, const Data& data)
{
    const QString name = kind.name;
    if (name == "gauges")
        return AddGauges(chart, data.performance);
    if (name == "activity")
        return AddActivity(chart, data.log);
    if (name == "by-action")
        return AddShares(chart, data.log.byAction);
    if (name == "by-user")
        return AddShares(chart, data.log.byUser);
    if (name == "sizes")
        return AddSizes(chart, data.log.sizes);
    return AddLoad(chart, kind, data.performance);
}

}  // namespace

Data MakeData(const SYC::BinCacheHandler& cache)
{
    Data data;
    cache.GetPerformanceData(data.performance);
    data.log = Digest(*cache.GetLines());
    return data;
}

const QStringList& Kinds()
{
    static const QStringList kinds = [] {
        QStringList names;
        for (const Kind& kind : AllKinds)
            names.append(kind.name);
        return names;
    }();
    return kinds;
}

bool HasData(const QString& kind, const Data& data)
{
    const Kind* const found = Find(kind);
    QChart chart;
    return found != nullptr && Fill(chart, *found, data);
}

std::unique_ptr<QChart> Make(const QString& kind, const Data& data)
{
    const Kind* const found = Find(kind);
    if (found == nullptr)
        return nullptr;
    auto chart = std::make_unique<QChart>();
    const bool isDark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    chart->setTheme(isDark ? QChart::ChartThemeDark : QChart::ChartThemeLight);
    chart->setLocalizeNumbers(true);
    QFont title = QGuiApplication::font();
    title.setBold(true);
    chart->setTitleFont(title);
    const bool hasData = Fill(*chart, *found, data);
    const QString said = Said::tr(found->title);
    chart->setTitle(
        hasData ? said
                : Said::tr("%1: nothing is known yet; fetch the log of a server first").arg(said));
    // Room for the label of the last tick.
    chart->setMargins({16, 12, 28, 12});
    QColor grid = TextColor(*chart);
    grid.setAlphaF(0.15F);
    for (auto* axis : chart->axes()) {
        axis->setGridLinePen(QPen(grid));
        axis->setTitleFont(QGuiApplication::font());
        axis->setTitleBrush(TextColor(*chart));
    }
    return chart;
}

bool Render(const QString& kind, const Data& data, const QSize& size, const QString& file)
{
    if (file.endsWith(".csv", Qt::CaseInsensitive))
        return WriteTable(kind, data, file);
    auto chart = Make(kind, data);
    if (chart == nullptr)
        return false;
    QChartView view(chart.release());
    view.setRenderHint(QPainter::Antialiasing);
    view.resize(size);
    return view.grab().save(file, "PNG");
}

bool WriteTable(const QString& kind, const Data& data, const QString& file)
{
    const auto chart = Make(kind, data);
    if (chart == nullptr)
        return false;
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    QTextStream text(&out);
    text << "series,at,value\n";
    const Kind& shown = *Find(kind);
    const QString lineName = Said::tr(*shown.axis == 0 ? shown.title : shown.axis);
    const auto write = [&text](const QString& series, const QString& at, double value) {
        // A spreadsheet takes what begins like a formula for one; members choose their names.
        const auto quoted = [](QString cell) {
            const bool isLikeFormula =
                !cell.isEmpty() && QString("=+-@").contains(cell.front()) && cell.size() > 1;
            return (isLikeFormula ? "\"'" : "\"") + cell.replace('"', "\"\"") + '"';
        };
        text << quoted(series) << ',' << quoted(at) << ',' << QString::number(value, 'g', 12)
             << '\n';
    };
    for (auto* series : chart->series()) {
        if (auto* line = qobject_cast<QXYSeries*>(series)) {
            const bool isTime =
                qobject_cast<QDateTimeAxis*>(line->attachedAxes().value(0)) != nullptr;
            for (const QPointF& point : line->points())
                write(lineName,
                      isTime ? QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(point.x()))
                                   .toString(Qt::ISODate)
                             : QString::number(point.x()),
                      point.y());
        } else if (auto* pie = qobject_cast<QPieSeries*>(series)) {
            for (const auto* slice : pie->slices())
                write(Said::tr(shown.title), slice->label(), slice->value());
        } else if (auto* bars = qobject_cast<QAbstractBarSeries*>(series)) {
            // Whole names, which the axis has no room for.
            const auto& amounts = data.log.sizes;
            for (const auto* set : bars->barSets())
                for (int at = 0; at < set->count(); ++at)
                    write(set->label(),
                          amounts[amounts.size() - 1 - static_cast<std::size_t>(at)].first,
                          set->at(at));
        }
    }
    text.flush();
    return out.commit();
}

QString TitleOf(const QString& kind)
{
    const Kind* const found = Find(kind);
    return found == nullptr ? QString() : Said::tr(found->title);
}

}  // namespace Charts
