#pragma once

#include "DesktopText.hpp"
#include "Statistics/ChartDataLine.hpp"

#include <QChart>
#include <QCoreApplication>
#include <QFontMetricsF>
#include <QGraphicsItem>
#include <QGuiApplication>
#include <QLocale>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

/// What the charts draw themselves.
namespace Charts {

/// What charts say to people.
struct Said {
    Q_DECLARE_TR_FUNCTIONS(Charts)
};

inline QColor TextColor(const QChart& chart)
{
    return chart.titleBrush().color();
}

/// With as many digits as its size makes worth reading.
inline QString Number(double value)
{
    const double size = std::abs(value);
    return QLocale().toString(value, 'f', size >= 100 || size == 0 ? 0 : size >= 10 ? 1 : 2);
}

/// How much of what a server has is in use, on half a ring with a scale.
class Gauge {
public:
    Gauge(const ChartDataLine& line, QString name)
        : name_(std::move(name)), unit_(ToQt(line.unit)), value_(line.values[4]),
          hasLimit_(line.type == ChartType::Cpu)
    {
        // A scale of whole steps, at most six of them.
        const double highest =
            std::max({1e-3, static_cast<double>(line.values[1]), hasLimit_ ? 0.0 : value_});
        step_ = std::pow(10, std::floor(std::log10(highest / 2)));
        for (const double factor : {2.0, 2.5, 2.0})
            if (highest / step_ > 6)
                step_ *= factor;
        end_ = std::ceil(highest / step_ - 1e-6) * step_;
    }

    [[nodiscard]] QString Text() const { return name_ + ": " + Number(value_) + ' ' + unit_; }
    [[nodiscard]] double Value() const { return value_; }
    [[nodiscard]] bool HasLimit() const { return hasLimit_; }

    /// From where on it is of the next colour.
    struct Zone {
        double end;
        QColor color;
        const char* meaning;
    };
    static const std::array<Zone, 3>& Zones()
    {
        static const std::array<Zone, 3> zones{
            {{0.6, QColor(40, 150, 100), QT_TRANSLATE_NOOP("Charts", "normal")},
             {0.85, QColor(220, 150, 40), QT_TRANSLATE_NOOP("Charts", "above 60 %: busy")},
             {1, QColor(200, 60, 50), QT_TRANSLATE_NOOP("Charts", "above 85 %: at its limit")}}};
        return zones;
    }

    void Paint(QPainter& painter, const QRectF& room, const QColor& text) const
    {
        const QFontMetricsF metrics(painter.font());
        const double margin = metrics.horizontalAdvance("0000") + 8;
        const double around = 3.2 * metrics.height();
        const double radius = std::min(room.width() / 2 - margin, room.height() - around);
        if (radius <= 20)
            return;
        const QPointF center(room.center().x(),
                             room.center().y() + (radius - around) / 2 + metrics.height());
        const double share = std::clamp(value_ / end_, 0.0, 1.0);
        QColor faint = text;
        faint.setAlphaF(0.15F);
        const double width = radius * 0.22;
        Arc(painter, center, radius - width / 2, width, 0, 1, faint);
        Arc(painter, center, radius - width / 2, width, 0, share, ColorAt(share));
        if (hasLimit_) {
            double from = 0;
            for (const auto& zone : Zones()) {
                Arc(painter, center, radius + 3, 3, from, zone.end, zone.color);
                from = zone.end;
            }
        }
        painter.setPen(text);
        for (int tick = 0; tick * step_ <= end_ * (1 + 1e-9); ++tick)
            Tick(painter, center, radius, tick * step_, metrics);
        QFont large = painter.font();
        large.setPointSizeF(large.pointSizeF() * 1.8);
        large.setBold(true);
        const QFont usual = painter.font();
        painter.setFont(large);
        painter.drawText(
            QRectF(center.x() - radius, center.y() - radius * 0.5, 2 * radius, radius * 0.5),
            Qt::AlignHCenter | Qt::AlignBottom, Number(value_) + ' ' + unit_);
        painter.setFont(usual);
        painter.drawText(QRectF(room.left(), center.y() + metrics.height() * 0.4, room.width(),
                                metrics.height() * 1.5),
                         Qt::AlignHCenter | Qt::AlignTop, name_);
    }

private:
    static void Arc(QPainter& painter, const QPointF& center, double radius, double width,
                    double from, double to, const QColor& color)
    {
        painter.setPen(QPen(color, width, Qt::SolidLine, Qt::FlatCap));
        painter.drawArc(QRectF(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius),
                        static_cast<int>((180 - 180 * from) * 16),
                        static_cast<int>(-180 * (to - from) * 16));
    }
    void Tick(QPainter& painter, const QPointF& center, double radius, double value,
              const QFontMetricsF& metrics) const
    {
        const double angle = M_PI * (1 - value / end_);
        const auto at = [&](double distance) {
            return center + QPointF(std::cos(angle), -std::sin(angle)) * distance;
        };
        painter.drawLine(at(radius + 5), at(radius + 10));
        const QString label = QLocale().toString(value, 'g', 6);
        const double half = metrics.horizontalAdvance(label) / 2;
        const QPointF middle = at(radius + 14) + QPointF(half * std::cos(angle),
                                                         -metrics.height() / 2 * std::sin(angle));
        painter.drawText(QRectF(middle.x() - half - 2, middle.y() - metrics.height() / 2,
                                2 * half + 4, metrics.height()),
                         Qt::AlignCenter, label);
    }
    [[nodiscard]] QColor ColorAt(double share) const
    {
        if (!hasLimit_)
            return {0x34, 0x77, 0xB8};
        for (const auto& zone : Zones())
            if (share <= zone.end)
                return zone.color;
        return Zones().back().color;
    }

    QString name_;
    QString unit_;
    double value_;
    bool hasLimit_;
    double step_ = 1;
    double end_ = 1;
};

/// Draws gauges side by side where a chart has its plot, and below them what the colours mean.
class GaugesItem final : public QGraphicsItem {
public:
    GaugesItem(QChart& chart, std::vector<Gauge> gauges)
        : QGraphicsItem(&chart), chart_(chart), gauges_(std::move(gauges))
    {
        setZValue(10);
        QObject::connect(&chart, &QChart::plotAreaChanged, &chart,
                         [this] { prepareGeometryChange(); });
    }
    [[nodiscard]] QRectF boundingRect() const override { return chart_.plotArea(); }
    void paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) override
    {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setFont(QGuiApplication::font());
        const QFontMetricsF metrics(painter->font());
        QRectF room = chart_.plotArea();
        const double below = metrics.height() * 1.6;
        const double width = room.width() / static_cast<double>(gauges_.size());
        for (std::size_t at = 0; at < gauges_.size(); ++at)
            gauges_[at].Paint(*painter,
                              QRectF(room.left() + static_cast<double>(at) * width, room.top(),
                                     width, room.height() - below),
                              TextColor(chart_));
        PaintMeanings(*painter, room, metrics);
    }

private:
    void PaintMeanings(QPainter& painter, const QRectF& room, const QFontMetricsF& metrics) const
    {
        const double square = metrics.height() * 0.6;
        double length = -metrics.height();
        for (const auto& zone : Gauge::Zones())
            length +=
                square * 1.5 + metrics.horizontalAdvance(Said::tr(zone.meaning)) + metrics.height();
        double x = room.center().x() - length / 2;
        const double top = room.bottom() - metrics.height();
        for (const auto& zone : Gauge::Zones()) {
            painter.fillRect(QRectF(x, top + (metrics.height() - square) / 2, square, square),
                             zone.color);
            x += square * 1.5;
            painter.setPen(TextColor(chart_));
            const double width = metrics.horizontalAdvance(Said::tr(zone.meaning)) + 2;
            painter.drawText(QRectF(x, top, width, metrics.height()), Qt::AlignVCenter,
                             Said::tr(zone.meaning));
            x += width - 2 + metrics.height();
        }
    }

    QChart& chart_;
    std::vector<Gauge> gauges_;
};

}  // namespace Charts
