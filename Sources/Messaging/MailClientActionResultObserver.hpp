#pragma once

#include "Messaging/ClientMail.hpp"
#include "Messaging/OverExecutor.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"

namespace SYC {

/// How a request about mails ended: 0, the server's own error code (Syncra::Protocol::ErrorCode),
/// or one of these.
namespace MailResult {
/// The server has done what it was asked.
inline constexpr int Succeeded = 0;
/// The server could not be asked or did not answer.
inline constexpr int NotReached = -1;
/// The mail itself cannot be put into a message.
inline constexpr int NotConverted = -2;
/// Another process that has the project open delivered the mail, or took it out of the outbox.
inline constexpr int TakenByOther = -3;
}  // namespace MailResult

/// Hears what became of the sending and deleting that it was given with. One that is no
/// OverExecutor is told on the mail client's own executor and outlives what it waits for.
class SYC_API MailClientActionResultObserver {
public:
    /// Login names.
    using NameList = OV::PagedArray<OV::UniString>;

    virtual ~MailClientActionResultObserver() = default;
    /// One attempt to deliver `mail` has ended; `result` is a MailResult.
    virtual void SendMailCompleted(const ClientMail& mail, const NameList& recipients,
                                   int result) = 0;
    /// The server was asked to delete these mails; `result` is a MailResult.
    virtual void DeleteMailCompleted(const OV::PagedArray<OV::UniString>& ids, int result) = 0;
};

/// The same, told on an executor of the observer's choice.
class SYC_API MailClientActionResultObserverOverExecutor : public MailClientActionResultObserver,
                                                           public OverExecutor {
public:
    /// See OverExecutor; null: nothing is told.
    explicit MailClientActionResultObserverOverExecutor(OV::Executor* executor)
        : OverExecutor(executor)
    {}
    ~MailClientActionResultObserverOverExecutor() override { ToDestroy(); }

    /// Hand the end over to the executor.
    /// @{
    void SendMailCompleted(const ClientMail& mail, const NameList& recipients, int result) final;
    void DeleteMailCompleted(const OV::PagedArray<OV::UniString>& ids, int result) final;
    /// @}

protected:
    friend class ActionResultTarget;
    /// As the functions above, on that executor.
    /// @{
    virtual void _SendMailCompletedFromExecutor(const ClientMail& mail, const NameList& recipients,
                                                int result) = 0;
    virtual void _DeleteMailCompletedFromExecutor(const OV::PagedArray<OV::UniString>& ids,
                                                  int result) = 0;
    /// @}
};

}  // namespace SYC
