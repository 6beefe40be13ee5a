#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Containers.hpp"
#include "PerformanceData.hpp"

#include <QString>
#include <QStringList>

#include <memory>

class QChart;
class QSize;
class QWidget;

/// The statistics of a server as pictures.
namespace Charts {

struct Data {
    PerformanceData performance;
    SYC::LogLines lines;
};

/// What is cached under a name. Throws what the cache does.
[[nodiscard]] Data ReadCache(const OV::UniString& name);

/// The names of the charts: "cpu", "memory", "actions", "transferred" and "longest" over time,
/// "gauges", "activity" by weeks, the shares "by-action" and "by-user", and "sizes" by project.
[[nodiscard]] const QStringList& Kinds();
/// Null for a kind that is none. A chart without data says so.
[[nodiscard]] std::unique_ptr<QChart> Make(const QString& kind, const Data& data);
/// Draws it into a PNG file; false when the kind is none or the file cannot be written.
[[nodiscard]] bool Render(const QString& kind, const Data& data, const QSize& size,
                          const QString& file);
/// A window with all of them, which deletes itself when it is closed.
void Show(QWidget* parent, const Data& data);

}  // namespace Charts
