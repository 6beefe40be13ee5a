#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

#include <cstddef>

namespace SYC {

class MailListModel;

/// Told of each change of the rows before and after it, as the models of toolkits want to be. All
/// on the model's own thread. Between the two calls of a pair the observer changes neither the
/// model nor its mails.
class SYC_API MailListModelObserver : public OV::ObserverBase {
public:
    virtual ~MailListModelObserver() = default;

    /// `count` rows from `first` on: before they come, behind it, before they go, behind it.
    /// @{
    virtual void RowsToBeInserted(MailListModel&, std::size_t /*first*/, std::size_t /*count*/) {}
    virtual void RowsInserted(MailListModel&, std::size_t /*first*/, std::size_t /*count*/) {}
    virtual void RowsToBeRemoved(MailListModel&, std::size_t /*first*/, std::size_t /*count*/) {}
    virtual void RowsRemoved(MailListModel&, std::size_t /*first*/, std::size_t /*count*/) {}
    /// @}
    /// What the rows show may have changed, not which mails they are.
    virtual void RowsChanged(MailListModel&, std::size_t /*first*/, std::size_t /*count*/) {}
    /// All rows become others. Who keeps a selection keeps the ids of its mails meanwhile, and
    /// finds their rows by MailListModel::FindRow.
    virtual void ListToBeReset(MailListModel&) {}
    /// They are the others now.
    virtual void ListReset(MailListModel&) {}
    /// The counts of a view became others.
    virtual void CountsChanged(MailListModel&) {}
    /// Sorting or searching began or ended.
    virtual void BusyChanged(MailListModel&) {}
};

}  // namespace SYC
