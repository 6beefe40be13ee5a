#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/MailRequest.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>

/// How new mails come into the list.
namespace SYC {

namespace {

constexpr std::size_t MailsBetweenLooks = 64;

}  // namespace

bool MailClient::IsRefreshing() const noexcept
{
    return static_cast<bool>(refresh_);
}

void MailClient::RefreshMails(RefreshMailListReason::Value reason)
{
    if (loggedOut_ || worker_.IsShutdown())
        return;
    // One at a time: a second one would begin with a time that the first is about to move, and
    // fetch the same mails again.
    if (refresh_) {
        isRefreshWanted_ = true;
        return;
    }
    isRefreshWanted_ = false;
    box_->BeginRefresh();
    // Emptied here in the end, so that no mail is destroyed elsewhere.
    const auto kept = std::make_shared<MailList>();
    if (!isListChecked_)
        *kept = box_->GetMails();
    const auto token = refresh_.Begin();
    const auto fail = [this, target = GetTarget(), token, kept](const Failure& failure) {
        OV::Logger::Warning(OV::Logger::Library, u"SYC::MailClient: mails cannot be fetched: %",
                            {failure.sentence});
        target.Post([this, failure, token, kept] {
            kept->clear();
            const RefreshEnd end(*this, token);
            RefreshFailed(failure);
        });
    };
    const auto fetch = [this, reason, sinceTime = box_->LastRepositoryTime(),
                        known = box_->GetKnownChange(), kept, generation = generation_,
                        target = GetTarget(), token, fail] {
        try {
            const auto refreshed = std::make_shared<Refreshed>(FetchMails(sinceTime, known, *kept));
            refreshed->generation = generation;
            target.Post([this, refreshed, reason, token, kept] {
                kept->clear();
                TakeRefresh(refreshed, reason, token);
            });
        } catch (const OV::InterruptedException&) {
            // The client ends, and nobody is left to be told.
        } catch (...) {
            fail(DescribeException());
        }
    };
    if (!worker_.Execute(OV::MakeTask(fetch)))
        fail(NoThreadFailure());
}

/// Many mails go into the list by and by, so that nothing else waits for them.
void MailClient::TakeRefresh(const std::shared_ptr<Refreshed>& refreshed,
                             RefreshMailListReason::Value reason,
                             const RequestUnderWay::Token& token)
{
    // It may have begun behind mails that the list does not hold any more.
    const bool isCurrent = refreshed->generation == generation_;
    std::exception_ptr failure;
    try {
        while (isCurrent && !AddSome(*refreshed))
            if (GetTarget().Post(
                    [this, refreshed, reason, token] { TakeRefresh(refreshed, reason, token); }))
                return;
    } catch (...) {
        failure = std::current_exception();
    }
    const RefreshEnd end(*this, token);
    isRefreshWanted_ = isRefreshWanted_ || !isCurrent;
    if (!isCurrent)
        return;
    try {
        if (failure)
            std::rethrow_exception(failure);
        EndRefresh(*refreshed, reason);
        isRefreshMissing_ = false;
        lastFailure_ = {};
        retryPauses_.Reset();
    } catch (...) {
        RefreshFailed(DescribeException());
    }
}

/// Whether that was the last of them.
bool MailClient::AddSome(Refreshed& refreshed)
{
    const auto end = std::chrono::steady_clock::now() + HostSlice;
    auto& mails = refreshed.mails;
    if (refreshed.next == 0)
        refreshed.removedBefore = box_->CountRemoved();
    for (auto& next = refreshed.next; next < mails.size(); ++next) {
        const auto& mail = mails[next];
        if (box_->Add(mail))
            refreshed.added->push_back(mail);
        else if (const auto ours = box_->Find(mail->GetId()))
            for (const auto* mark : {&Mark::Read, &Mark::Historical})
                refreshed.isMarkChanged =
                    (mark->IsSet(*mail) && SetMark(*ours, *mark)) || refreshed.isMarkChanged;
        if (next % MailsBetweenLooks == 0 && std::chrono::steady_clock::now() >= end) {
            ++next;
            TellChanges();
            return false;
        }
    }
    return true;
}

void MailClient::EndRefresh(Refreshed& refreshed, RefreshMailListReason::Value reason)
{
    bool isMarkChanged = refreshed.isMarkChanged;
    isMarkChanged = ApplyFlags(refreshed.read, Mark::Read) || isMarkChanged;
    isMarkChanged = ApplyFlags(refreshed.historical, Mark::Historical) || isMarkChanged;
    const bool isOldChanged = box_->Remove(refreshed.deleted) || isMarkChanged;
    isListChecked_ = true;
    const bool isChangeNew = box_->SetKnownChange(refreshed.change);
    const auto& newMails = refreshed.added;
    if (box_->CountRemoved() != refreshed.removedBefore)
        std::erase_if(*newMails,
                      [&](const auto& mail) { return box_->Find(mail->GetId()) != mail; });
    const auto arrivals = box_->TakeArrivals();
    newMails->insert(newMails->begin(), arrivals.begin(), arrivals.end());
    if (!newMails->empty() || isOldChanged || isChangeNew)
        box_->WriteSoon();
    else
        box_->FollowOthersSoon();
    const bool isListChanged = box_->TakeNews() || isOldChanged;
    if (members_.IsKnown() &&
        std::any_of(newMails->begin(), newMails->end(),
                    [&](const auto& mail) { return IsOfFormerMember(*mail); }))
        members_.Refresh();
    TellChanges();
    observers_.Notify(
        [&](MailClientObserver& observer) { observer.NewMailExists(*this, newMails, reason); });
    if (isListChanged)
        TellListChanged();
}

void MailClient::RefreshFailed(const Failure& failure)
{
    isRefreshMissing_ = true;
    lastFailure_ = failure;
    observers_.Notify([&](MailClientObserver& observer) {
        observer.RefreshMailsFailed(*this, failure.sentence);
    });
    // What follows a refusal of the user is for the user to do.
    if (!Syncra::Protocol::RefusesUser(failure.code))
        RetrySoon();
}

/// One more attempt while the signals say that the server is there. When they do not, they bring a
/// refresh as they come back.
void MailClient::RetrySoon()
{
    if (retry_ || !IsOnline() || worker_.IsShutdown())
        return;
    (void)worker_.Execute(OV::MakeTask([this, pause = retryPauses_.NextMilliseconds(),
                                        target = GetTarget(), token = retry_.Begin()] {
        OV::Thread::Sleep(pause);
        target.Post([this, token] {
            token.End();
            if (isRefreshMissing_ && IsOnline())
                RefreshMails(RefreshMailListReason::ServerSignal);
        });
    }));
}

MailClient::RefreshEnd::~RefreshEnd()
{
    try {
        if (client_.isRefreshWanted_)
            client_.RefreshMails(RefreshMailListReason::ServerSignal);
    } catch (...) {
        LogFailure(u"Fetching mails");
    }
}

}  // namespace SYC
