#pragma once

#include "OVRoot/Export.hpp"
namespace SYC {

/// Hears when the folder of the local project data becomes another one, be it set in this process
/// or found changed in the options file. Attaching and detaching are safe on any thread.
class SYC_API SYDataOptionsObserver {
public:
    SYDataOptionsObserver() = default;
    SYDataOptionsObserver(const SYDataOptionsObserver&) = delete;
    SYDataOptionsObserver& operator=(const SYDataOptionsObserver&) = delete;
    /// Detaches. A derived class that may be notified on another thread meanwhile detaches earlier,
    /// in its own destructor.
    virtual ~SYDataOptionsObserver();

    /// Attaching twice counts once.
    void Attach();
    /// Detaching twice counts once. Not told any more when it returns.
    void Detach();

    /// Called on the thread that set or read the folder, or that ended the Synchronizer under which
    /// that was done; RegisteredProjects already has the new one.
    virtual void SYDataFolderChanged() = 0;

    /// Calls every attached observer, in order of attachment.
    static void SendSYDataFolderChanged();
};

}  // namespace SYC
