#pragma once

#include "OVRoot/Export.hpp"
namespace SYC {

class CachedProjectInfo;

/// Hears of every cache descriptor that this process writes. There is one list of observers for all
/// CachedProjectInfo objects. Attaching and detaching are safe on any thread.
class SYC_API CachedProjectInfoObserver {
public:
    CachedProjectInfoObserver() = default;
    CachedProjectInfoObserver(const CachedProjectInfoObserver&) = delete;
    CachedProjectInfoObserver& operator=(const CachedProjectInfoObserver&) = delete;
    /// Detaches. A derived class that may be notified on another thread meanwhile detaches earlier,
    /// in its own destructor.
    virtual ~CachedProjectInfoObserver();

    /// Attaching twice counts once.
    void Attach();
    /// Detaching twice counts once. Not told any more when it returns.
    void Detach();

    /// Called on the thread that wrote, after `info` was written or the user was told that it could
    /// not be.
    virtual void ContentWrittenToDisc(const CachedProjectInfo& info) = 0;

    /// Calls every attached observer, in order of attachment.
    static void SendContentWrittenToDisc(const CachedProjectInfo& info);
};

}  // namespace SYC
