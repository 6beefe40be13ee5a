#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"
#include "Statistics/ChartType.hpp"

class PerformanceData;

/// Hears of a server's activity log and statistics, on the thread of the updater that it is
/// attached to, or on the one that called its Update. It is called under no lock and may ask the
/// cache.
class SYC_API EventLogObserver : public OV::ObserverBase {
public:
    /// Which chart; kept under this name for observers.
    using ChartType = ::ChartType;

    virtual ~EventLogObserver() = default;
    /// The log was updated; oldest lines first.
    virtual void RefreshLog(const OV::PagedArray<LogDataLine>& /*lines*/) {}
    /// Some of the lines, for the eye, while the rest is being read.
    virtual void PreviewLog(const OV::PagedArray<LogDataLine>& /*lines*/) {}
    /// The statistics were updated.
    virtual void RefreshPerformance(const PerformanceData& /*data*/) {}
    /// An update has come so far; a total of 0 is not known yet.
    virtual void UpdateProgress(std::uint64_t /*done*/, std::uint64_t /*total*/) {}
    /// An update ended early; nothing that was there before is lost.
    virtual void UpdateFailed(const OV::UniString& /*reason*/) {}
};
