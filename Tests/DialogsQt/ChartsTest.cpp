#include "Charts.hpp"
#include "DialogsQt/QtUser.hpp"
#include "Support/TemporaryFolder.hpp"

#include <QCategoryAxis>
#include <QChart>
#include <QDialog>
#include <QXYSeries>

#include <cmath>

namespace {

/// A week of load and a year of a team's work.
Charts::Data TheData()
{
    Charts::Data data;
    using Type = ChartType;
    const struct {
        Type type;
        const char16_t* name;
        const char16_t* unit;
        float highest;
    } rows[] = {{Type::Cpu, u"CPU", u"%", 100},
                {Type::Memory, u"Memory", u"MB", 80},
                {Type::ServerActions, u"Server actions", u"pcs", 900},
                {Type::DataTransferred, u"Data transferred", u"KB", 8200},
                {Type::LongestTransaction, u"Longest transaction", u"sec", 1}};
    constexpr std::int32_t begin = 1'790'000'000;
    for (const auto& row : rows) {
        ChartDataLine line;
        line.type = row.type;
        line.name = row.name;
        line.unit = row.unit;
        for (int hour = 0; hour < 168; ++hour)
            line.points.emplace_back(begin + hour * 3600,
                                     row.highest * 0.4F *
                                         (1 + std::sin(static_cast<float>(hour) * 0.26F)));
        line.values = {0, row.highest, 0, row.highest, line.points.back().second, 0};
        data.performance.SetChartLine(line);
    }
    OV::PagedArray<LogDataLine> lines;
    constexpr const char16_t* actions[] = {u"Send", u"GetChanges", u"Reserve", u"Release",
                                           u"Login"};
    for (int number = 0; number < 2000; ++number) {
        LogDataLine& line = lines.emplace_back();
        line.SetTime(OV::ToText(begin + number * 15'000));
        line.SetUser(u"Member " + OV::ToText(number * number % 11));
        line.SetOperation(actions[number * 7 % 5]);
        line.SetProject(u"Project " + OV::ToText(number % 7 % 4));
        line.SetSize(OV::ToText(number * 4999));
    }
    data.log = Digest(lines);
    return data;
}

}  // namespace

TEST(ChartsTest, EveryKindIsDrawnAndOneWithoutDataSaysSo)
{
    const auto data = TheData();
    const TemporaryFolder temporary(TemporaryFolder::UserFolders::Leave);
    const auto folder = qEnvironmentVariable("SYCLIENT_SCREENSHOTS",
                                             QString::fromStdString(temporary.Path().string()));
    for (const QString& kind : Charts::Kinds()) {
        const auto chart = Charts::Make(kind, data);
        ASSERT_NE(chart, nullptr);
        EXPECT_FALSE(chart->title().contains("nothing")) << kind.toStdString();
        EXPECT_FALSE(chart->series().isEmpty());
        const auto empty = Charts::Make(kind, {});
        EXPECT_TRUE(empty->title().contains("nothing is known yet")) << kind.toStdString();
        const QString file = folder + "/Chart-" + kind + ".png";
        ASSERT_TRUE(Charts::Render(kind, data, {640, 400}, file));
        const QImage picture(file);
        EXPECT_EQ(picture.size(), QSize(640, 400));
        QSet<QRgb> colours;
        for (int y = 0; y < picture.height(); y += 3)
            for (int x = 0; x < picture.width(); x += 3)
                colours.insert(picture.pixel(x, y));
        EXPECT_GT(colours.size(), 4) << kind.toStdString() << " is not blank";
    }
    EXPECT_EQ(Charts::Make("none", data), nullptr);
    EXPECT_FALSE(Charts::Render("cpu", data, {640, 400}, "/nowhere/chart.png"));
    const QString table = QString::fromStdString(temporary.Path().string()) + "/table.csv";
    for (const QString& kind : Charts::Kinds()) {
        ASSERT_TRUE(Charts::WriteTable(kind, data, table));
        QFile file(table);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_GT(file.readAll().count('\n'), 1) << kind.toStdString();
    }
    EXPECT_FALSE(Charts::WriteTable("cpu", data, "/nowhere/chart.csv"));
}

TEST(ChartsTest, ActivityShowsTheDaysOfAYoungLogAndTheWeeksOfAnOldOne)
{
    const QDate monday(2026, 3, 30);
    struct Row {
        std::vector<int> days;
        std::size_t spans;
        bool isByWeeks;
    };
    for (const Row& row : {Row{{0}, 7, false}, Row{{0, 0, 6}, 7, false}, Row{{-9, 0}, 10, false},
                           Row{{-69, 0}, 70, false}, Row{{-70, -1, 0}, 11, true}}) {
        OV::PagedArray<LogDataLine> lines;
        for (const int day : row.days) {
            const auto begin = monday.addDays(day).startOfDay().toSecsSinceEpoch();
            lines.emplace_back().SetTime(OV::ToText(begin));
            lines.emplace_back().SetTime(
                OV::ToText(monday.addDays(day + 1).startOfDay().toSecsSinceEpoch() - 1));
        }
        const auto digest = Digest(lines);
        ASSERT_EQ(digest.spans.size(), row.spans);
        EXPECT_EQ(digest.isByWeeks, row.isByWeeks);
        EXPECT_EQ(digest.spans.back().begin.date(), monday.addDays(row.days.back()));
        EXPECT_EQ(digest.spans.back().lines, 2);
        const auto chart = Charts::Make("activity", {{}, digest});
        auto* line = qobject_cast<QXYSeries*>(chart->series().value(0));
        ASSERT_NE(line, nullptr);
        EXPECT_EQ(static_cast<std::size_t>(line->count()), row.spans);
        EXPECT_EQ(line->points().back().y(), 2);
    }
}

TEST(ChartsTest, TicksOfTimeAreEvenWholeAndEachHasALabel)
{
    constexpr std::int32_t begin = 1'790'000'000;
    for (const int minutes : {7, 50, 200, 600, 1800, 2400, 9000, 20'000, 100'000, 700'000}) {
        ChartDataLine line;
        line.type = ChartType::Cpu;
        for (int point = 0; point <= minutes; ++point)
            line.points.emplace_back(begin + point * 60, 1.0F);
        line.values = {0, 100, 0, 1, 1, 1};
        Charts::Data data;
        data.performance.SetChartLine(line);
        const auto chart = Charts::Make("cpu", data);
        QCategoryAxis* axis = nullptr;
        for (auto* each : chart->axes(Qt::Horizontal))
            if (auto* labelled = qobject_cast<QCategoryAxis*>(each))
                axis = labelled;
        ASSERT_NE(axis, nullptr);
        const auto labels = axis->categoriesLabels();
        EXPECT_GE(labels.size(), 3) << minutes;
        EXPECT_LE(labels.size(), 9) << minutes;
        EXPECT_LE(axis->min(), begin * 1000.0);
        EXPECT_GE(axis->max(), (begin + minutes * 60) * 1000.0);
        const double mean = (axis->max() - axis->min()) / static_cast<double>(labels.size() - 1);
        for (qsizetype tick = 1; tick < labels.size(); ++tick) {
            const double step = axis->endValue(labels[tick]) - axis->endValue(labels[tick - 1]);
            EXPECT_NEAR(step, mean, mean * 0.1) << minutes << " minutes, tick " << tick;
        }
    }
}
