#include "Charts.hpp"

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "DesktopText.hpp"

#include <QBarCategoryAxis>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QDateTime>
#include <QDateTimeAxis>
#include <QGuiApplication>
#include <QHorizontalBarSeries>
#include <QLegendMarker>
#include <QLineSeries>
#include <QPainter>
#include <QPalette>
#include <QPieSeries>
#include <QSaveFile>
#include <QTextStream>
#include <QValueAxis>

#include <algorithm>
#include <map>

namespace Charts {

namespace {

constexpr std::size_t MostShares = 8;
constexpr qint64 Week = 7 * 86'400;

struct Kind {
    const char* name;
    const char* title;
    ChartType load{};
};

constexpr Kind AllKinds[] = {
    {"cpu", "CPU", ChartType::Cpu},
    {"memory", "Memory", ChartType::Memory},
    {"actions", "Server actions", ChartType::ServerActions},
    {"transferred", "Data transferred", ChartType::DataTransferred},
    {"longest", "Longest transaction", ChartType::LongestTransaction},
    {"gauges", "Now"},
    {"activity", "Activity by weeks"},
    {"by-action", "Shares of actions"},
    {"by-user", "Shares of users"},
    {"sizes", "Data by project"},
};

const Kind* Find(const QString& name)
{
    const auto* const found =
        std::find_if(std::begin(AllKinds), std::end(AllKinds),
                     [&](const Kind& each) { return name == QLatin1String(each.name); });
    return found == std::end(AllKinds) ? nullptr : found;
}

/// A line over time, between its axes.
void AddLine(QChart& chart, const QList<QPointF>& points, const QString& unit, double lowest,
             double highest)
{
    auto* line = new QLineSeries;
    line->replace(points);
    chart.addSeries(line);
    auto* time = new QDateTimeAxis;
    time->setTickCount(6);
    const bool isLong = points.back().x() - points.front().x() > 3.0 * 86'400'000;
    time->setFormat(isLong ? "d MMM yyyy" : "d MMM hh:mm");
    chart.addAxis(time, Qt::AlignBottom);
    line->attachAxis(time);
    auto* value = new QValueAxis;
    value->setRange(lowest, highest > lowest ? highest : lowest + 1);
    value->applyNiceNumbers();
    value->setTitleText(unit);
    chart.addAxis(value, Qt::AlignLeft);
    line->attachAxis(value);
    chart.legend()->hide();
}

bool AddLoad(QChart& chart, ChartType type, const PerformanceData& data)
{
    if (!data.HasChartLine(type) || data.GetChartLine(type).points.empty())
        return false;
    const ChartDataLine& line = data.GetChartLine(type);
    QList<QPointF> points;
    for (const auto& [time, value] : line.points)
        points.append({static_cast<double>(time) * 1000, static_cast<double>(value)});
    AddLine(chart, points, ToQt(line.unit), static_cast<double>(line.values[0]),
            static_cast<double>(line.values[1]));
    return true;
}

/// Half a ring that is filled as far as the value goes.
void AddGauge(QChart& chart, const ChartDataLine& line, double place, const QColor& rest)
{
    constexpr double left = -90, right = 90;
    const auto value = static_cast<double>(line.values[4]);
    const double highest = std::max(1e-6, static_cast<double>(line.values[1]));
    auto* ring = new QPieSeries;
    ring->setHoleSize(0.5);
    ring->setPieSize(0.8);
    ring->setHorizontalPosition(place);
    ring->setVerticalPosition(0.7);
    ring->setPieStartAngle(left);
    ring->setPieEndAngle(right);
    const double filled = std::clamp(value / highest, 0.0, 1.0);
    auto* done = ring->append(QString("%1: %2 %3")
                                  .arg(ToQt(line.name))
                                  .arg(value, 0, 'f', value < 10 ? 1 : 0)
                                  .arg(ToQt(line.unit)),
                              filled);
    done->setBrush(filled > 0.85  ? QColor(200, 60, 50)
                   : filled > 0.6 ? QColor(220, 150, 40)
                                  : QColor(40, 150, 100));
    auto* open = ring->append("", 1 - filled);
    open->setBrush(rest);
    chart.addSeries(ring);
    for (auto* marker : chart.legend()->markers(ring))
        marker->setVisible(marker->label() == done->label());
}

bool AddGauges(QChart& chart, const PerformanceData& data)
{
    double place = 0.25;
    for (const auto type : {ChartType::Cpu, ChartType::Memory}) {
        if (!data.HasChartLine(type))
            return false;
        AddGauge(chart, data.GetChartLine(type), place,
                 QGuiApplication::palette().color(QPalette::Mid));
        place += 0.5;
    }
    return true;
}

bool AddActivity(QChart& chart, const Data& data)
{
    std::map<qint64, int> weeks;
    for (const LogDataLine& line : *data.lines)
        ++weeks[line.GetTimeVal() / Week];
    if (weeks.empty())
        return false;
    QList<QPointF> points;
    int highest = 0;
    for (auto week = weeks.begin()->first; week <= weeks.rbegin()->first; ++week) {
        const auto found = weeks.find(week);
        const int count = found == weeks.end() ? 0 : found->second;
        points.append({static_cast<double>(week * Week * 1000), static_cast<double>(count)});
        highest = std::max(highest, count);
    }
    AddLine(chart, points, "lines", 0, highest);
    return true;
}

using Amounts = std::vector<std::pair<QString, double>>;

/// The largest first; what is beyond the first few counts together.
template <class Text, class Amount>
Amounts Collect(const Data& data, Text&& text, Amount&& amount)
{
    std::map<OV::UniString, double> sums;
    for (const LogDataLine& line : *data.lines)
        sums[(line.*text)()] += amount(line);
    Amounts amounts;
    for (const auto& [name, sum] : sums)
        amounts.emplace_back(ToQt(name), sum);
    std::stable_sort(amounts.begin(), amounts.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    if (amounts.size() > MostShares) {
        double others = 0;
        for (auto at = amounts.begin() + MostShares; at != amounts.end(); ++at)
            others += at->second;
        amounts.resize(MostShares);
        amounts.emplace_back("Others", others);
    }
    return amounts;
}

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
            QString("%1: %2 %").arg(slice->label()).arg(slice->percentage() * 100, 0, 'f', 1));
    chart.addSeries(pie);
    chart.legend()->setAlignment(Qt::AlignRight);
    return true;
}

bool AddSizes(QChart& chart, const Amounts& amounts)
{
    if (amounts.empty())
        return false;
    auto* set = new QBarSet("MB");
    auto* names = new QBarCategoryAxis;
    // Bars are drawn from below.
    for (auto at = amounts.rbegin(); at != amounts.rend(); ++at) {
        set->append(at->second / (1024.0 * 1024.0));
        names->append(at->first);
    }
    auto* bars = new QHorizontalBarSeries;
    bars->append(set);
    chart.addSeries(bars);
    chart.addAxis(names, Qt::AlignLeft);
    bars->attachAxis(names);
    auto* value = new QValueAxis;
    value->setRange(0, std::max(1.0, amounts.front().second / (1024.0 * 1024.0)));
    value->applyNiceNumbers();
    value->setLabelFormat("%.0f");
    value->setTitleText("MB");
    chart.addAxis(value, Qt::AlignBottom);
    bars->attachAxis(value);
    chart.legend()->hide();
    return true;
}

bool Fill(QChart& chart, const Kind& kind, const Data& data)
{
    const QString name = kind.name;
    const auto one = [](const LogDataLine&) { return 1.0; };
    if (name == "gauges")
        return AddGauges(chart, data.performance);
    if (name == "activity")
        return AddActivity(chart, data);
    if (name == "by-action")
        return AddShares(chart, Collect(data, &LogDataLine::GetOperationText, one));
    if (name == "by-user")
        return AddShares(chart, Collect(data, &LogDataLine::GetUser, one));
    if (name == "sizes")
        return AddSizes(chart, Collect(data, &LogDataLine::GetProject, [](const auto& line) {
                            return static_cast<double>(line.GetSizeVal());
                        }));
    return AddLoad(chart, kind.load, data.performance);
}

}  // namespace

Data ReadCache(const OV::UniString& name)
{
    SYC::BinCacheHandler cache(name);
    cache.GetCacheData();
    Data data;
    cache.GetPerformanceData(data.performance);
    data.lines = cache.GetLines();
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

std::unique_ptr<QChart> Make(const QString& kind, const Data& data)
{
    const Kind* const found = Find(kind);
    if (found == nullptr)
        return nullptr;
    auto chart = std::make_unique<QChart>();
    const bool isDark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    chart->setTheme(isDark ? QChart::ChartThemeDark : QChart::ChartThemeLight);
    const bool hasData = Fill(*chart, *found, data);
    chart->setTitle(QString(found->title) + (hasData ? "" : ": nothing is known yet"));
    return chart;
}

bool Render(const QString& kind, const Data& data, const QSize& size, const QString& file)
{
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
    const auto write = [&text](const QString& series, const QString& at, double value) {
        const auto quoted = [](QString cell) { return '"' + cell.replace('"', "\"\"") + '"'; };
        text << quoted(series) << ',' << quoted(at) << ',' << QString::number(value, 'g', 12)
             << '\n';
    };
    for (auto* series : chart->series()) {
        if (auto* line = qobject_cast<QXYSeries*>(series)) {
            const bool isTime =
                qobject_cast<QDateTimeAxis*>(line->attachedAxes().value(0)) != nullptr;
            for (const QPointF& point : line->points())
                write(line->name(),
                      isTime ? QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(point.x()))
                                   .toString(Qt::ISODate)
                             : QString::number(point.x()),
                      point.y());
        } else if (auto* pie = qobject_cast<QPieSeries*>(series)) {
            for (const auto* slice : pie->slices())
                write(pie->name(), slice->label(), slice->value());
        } else if (auto* bars = qobject_cast<QAbstractBarSeries*>(series)) {
            QStringList names;
            for (auto* axis : bars->attachedAxes())
                if (auto* categories = qobject_cast<QBarCategoryAxis*>(axis))
                    names = categories->categories();
            for (const auto* set : bars->barSets())
                for (int at = 0; at < set->count(); ++at)
                    write(set->label(), names.value(at), set->at(at));
        }
    }
    text.flush();
    return out.commit();
}

QString TitleOf(const QString& kind)
{
    const Kind* const found = Find(kind);
    return found == nullptr ? QString() : QString(found->title);
}

}  // namespace Charts
