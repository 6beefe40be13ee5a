#pragma once

#include "LogDigest.hpp"
#include "PerformanceData.hpp"

#include <QString>
#include <QStringList>

#include <memory>

class QChart;
class QSize;

namespace SYC {
class BinCacheHandler;
}

/// The statistics of a server as pictures.
namespace Charts {

struct Data {
    PerformanceData performance;
    LogDigest log;
};

/// What the cache holds, for any thread. Throws as Digest does.
[[nodiscard]] Data MakeData(const SYC::BinCacheHandler& cache);

/// The names of the charts: "cpu", "memory", "actions", "transferred" and "longest" over time,
/// "gauges", "activity" by days or weeks, the shares "by-action" and "by-user", and "sizes" by
/// project.
[[nodiscard]] const QStringList& Kinds();
/// Whether a chart of that kind has something to show.
[[nodiscard]] bool HasData(const QString& kind, const Data& data);
/// Null for a kind that is none. A chart without data says so.
[[nodiscard]] std::unique_ptr<QChart> Make(const QString& kind, const Data& data);
/// Draws it into a PNG file, or into one that ends with ".csv" writes its table; false when the
/// kind is none or the file cannot be written.
[[nodiscard]] bool Render(const QString& kind, const Data& data, const QSize& size,
                          const QString& file);
/// What it is called for people; empty for a kind that is none.
[[nodiscard]] QString TitleOf(const QString& kind);
/// Writes what it shows as CSV: the series, and for each point its place and its value. False as
/// with Render.
[[nodiscard]] bool WriteTable(const QString& kind, const Data& data, const QString& file);

}  // namespace Charts
