#include "StoreWorkers.hpp"

#include "Refusal.hpp"

#include "OVRoot/System.hpp"

#include <algorithm>
#include <future>
#include <optional>
#include <utility>

namespace Nexar {

namespace {

using Clock = std::chrono::steady_clock;

/// Of what may wait an owner has one of so many shares.
constexpr std::size_t Shares = 4;
constexpr std::size_t MaximumOfCommit = 64;
/// From then on a commit takes nothing more in: those who wait for it should not wait for long.
constexpr std::chrono::milliseconds LongestGathering{20};
/// For others wait meanwhile.
constexpr std::chrono::microseconds LongestAtOnce{200};
/// Of work that the store undid.
constexpr int MostAttempts = 10;

thread_local std::vector<std::function<void()>>* newsOfJob = nullptr;

std::chrono::microseconds Since(Clock::time_point begin)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
}

}  // namespace

StoreWorkers::StoreWorkers(HttpServer& server, Database& database, std::size_t readers,
                           std::size_t mostWaiting)
    : server_(server), database_(database), reads_(std::max<std::size_t>(1, readers / 2)),
      costlyReads_(std::max<std::size_t>(1, readers / 2)),
      writes_(database.Writers() == 1 ? MaximumOfCommit : database.Writers() / 2),
      mostWaiting_(std::max<std::size_t>(1, mostWaiting))
{
    const std::size_t count = std::max<std::size_t>(2, readers);
    for (std::size_t i = 0; i < count; ++i)
        Start<Database::Reader>([this, &self = readers_.emplace_back(i != 0)](
                                    const std::stop_token& token) { ReadAll(token, self); });
    for (std::size_t i = 0; i < database.Writers(); ++i)
        Start<Database::Writer>([this](const std::stop_token& token) { WriteAll(token); });
}

template <typename OwnConnection>
void StoreWorkers::Start(std::function<void(const std::stop_token&)> work)
{
    std::promise<void> isConnected;
    std::future<void> connected = isConnected.get_future();
    threads_.emplace_back([this, work = std::move(work), isConnected = std::move(isConnected)](
                              const std::stop_token& token) mutable {
        std::optional<OwnConnection> connection;
        try {
            connection.emplace(database_);
            isConnected.set_value();
        } catch (...) {
            return isConnected.set_exception(std::current_exception());
        }
        work(token);
    });
    connected.get();
}

void StoreWorkers::ReadOnThisThread()
{
    if (!database_.IsShared())
        ownReader_.emplace(database_);
}

StoreWorkers::~StoreWorkers()
{
    for (auto& thread : threads_)
        thread.request_stop();
    threads_.clear();
}

void StoreWorkers::Read(const std::string& owner, Work work, Then then, Cost cost)
{
    if (!IsBehind(owner))
        return AddReading(owner, std::move(work), std::move(then), cost);
    Unwritten& unwritten = unwritten_.at(owner);
    unwritten.readings.push_back(
        {lastNumber_, unwritten.writes, [=, this, open = server_.HoldOpen()] {
             try {
                 AddReading(owner, work, then, cost);
             } catch (...) {
                 then(std::current_exception());
             }
         }});
}

void StoreWorkers::AddReading(const std::string& owner, Work work, Then then, Cost cost)
{
    Add(cost == Cost::Much ? costlyReads_ : reads_,
        {owner, std::move(work), std::move(then), server_.HoldOpen()});
    // Once for all that came with one look at the connections: waking costs more than most reads.
    if (std::exchange(isWakingPosted_, true))
        return;
    server_.Post([this] {
        isWakingPosted_ = false;
        const std::lock_guard guard(lock_);
        WakeReader();
    });
}

void StoreWorkers::Written(const Job& job)
{
    if (job.number == 0)
        return;
    Unwritten& unwritten = unwritten_.at(job.owner);
    --unwritten.writes;
    for (Reading& reading : unwritten.readings)
        reading.left -= job.number <= reading.number ? 1 : 0;
    // Who came first waited for nothing that those behind him did not wait for.
    while (!unwritten.readings.empty() && unwritten.readings.front().left == 0) {
        RunGuarded(unwritten.readings.front().begin);
        unwritten.readings.pop_front();
    }
    if (unwritten.writes == 0)
        unwritten_.erase(job.owner);
}

bool StoreWorkers::ReadAtOnce(const Work& work, const Then& then)
{
    if (!ownReader_)
        return false;
    const auto begin = Clock::now();
    std::exception_ptr error;
    try {
        if (!turn_) {
            turn_.emplace(database_);
            // Whoever hears of a later change asks behind this.
            server_.Post([this] { turn_.reset(); });
        }
        ownReader_->ReadUntil(begin + LongestAtOnce);
        work();
    } catch (const DatabaseError&) {
        // Too long, or the store is held: a reader can wait for it.
        return false;
    } catch (...) {
        error = std::current_exception();
    }
    server_.NoteWork(Since(begin));
    then(error);
    return true;
}

void StoreWorkers::WakeReader()
{
    const bool isForAny = reads_.Size() != 0;
    if (!isForAny && costlyReads_.Size() == 0)
        return;
    const auto found = std::find_if(readers_.begin(), readers_.end(), [&](const Sleeper& each) {
        return each.isAsleep && (isForAny || each.takesCostly);
    });
    if (found == readers_.end())
        return;
    found->isAsleep = false;
    found->wake.notify_one();
}

void StoreWorkers::Write(const std::string& owner, Work work, Then then, Order order)
{
    Job job{owner, std::move(work), std::move(then), server_.HoldOpen(), order};
    if (owner.empty()) {
        Add(writes_, std::move(job));
    } else {
        job.number = ++lastNumber_;
        Unwritten& unwritten = unwritten_[owner];
        ++unwritten.writes;
        try {
            Add(writes_, std::move(job));
        } catch (...) {
            if (--unwritten.writes == 0)
                unwritten_.erase(owner);
            throw;
        }
    }
    hasWrites_.notify_one();
}

void StoreWorkers::Add(FairQueue<Job>& queue, Job job)
{
    const std::string owner = job.owner;
    job.queue = &queue;
    const std::lock_guard guard(lock_);
    if (queue.Size() >= mostWaiting_ ||
        queue.WaitingOf(owner) >= std::max<std::size_t>(1, mostWaiting_ / Shares))
        throw Refusal(Syncra::Protocol::ErrorCode::TooManyRequests,
                      "The server has as much to do as it can. Try again in a moment.")
            .With("Retry-After", "1");
    queue.Push(owner, std::move(job));
}

void StoreWorkers::AfterCommit(std::function<void()> news)
{
    if (newsOfJob != nullptr)
        newsOfJob->push_back(std::move(news));
    else
        news();
}

StoreWorkers::Load StoreWorkers::GetLoad() const
{
    const std::lock_guard guard(lock_);
    return {reads_.Size() + costlyReads_.Size(), writes_.Size(), commits_, writesDone_};
}

std::optional<StoreWorkers::Job> StoreWorkers::TakeRead(bool takesCostly)
{
    isCostlysTurn_ = takesCostly && !isCostlysTurn_;
    auto job = (isCostlysTurn_ ? costlyReads_ : reads_).Take();
    if (!job && takesCostly)
        job = (isCostlysTurn_ ? reads_ : costlyReads_).Take();
    return job;
}

void StoreWorkers::ReadAll(const std::stop_token& token, Sleeper& self)
{
    OV::System::NameCurrentThread("store reader");
    for (;;) {
        std::unique_lock guard(lock_);
        std::optional<Job> job;
        while (!(job = TakeRead(self.takesCostly))) {
            if (token.stop_requested())
                return;
            self.isAsleep = true;
            (void)self.wake.wait(guard, token, [&] { return !self.isAsleep; });
            self.isAsleep = false;
        }
        WakeReader();
        guard.unlock();
        const auto begin = Clock::now();
        try {
            RunRead(*job);
        } catch (...) {
            job->error = std::current_exception();
        }
        job->time = Since(begin);
        guard.lock();
        job->queue->Done(job->owner);
        // His next one may have waited for this one.
        WakeReader();
        guard.unlock();
        Jobs done;
        WithMemory([&] { done.reserve(1); });
        done.push_back(*std::move(job));
        Answer(std::move(done));
    }
}

void StoreWorkers::RunRead(Job& job)
{
    for (int left = MostAttempts;; --left) {
        try {
            const Database::Snapshot snapshot(database_);
            return job.work();
        } catch (const DatabaseError& error) {
            if (!error.IsUndone() || left <= 1)
                throw;
        }
    }
}

void StoreWorkers::WriteAll(const std::stop_token& token)
{
    OV::System::NameCurrentThread("store writer");
    for (;;) {
        Jobs jobs;
        WithMemory([&] { jobs.reserve(MaximumOfCommit); });
        {
            std::unique_lock guard(lock_);
            hasWrites_.wait(guard, token, [&] {
                if (auto job = writes_.Take())
                    jobs.push_back(*std::move(job));
                return !jobs.empty();
            });
        }
        if (jobs.empty())
            return;
        Commit(jobs);
        Answer(std::move(jobs));
    }
}

std::optional<StoreWorkers::Job> StoreWorkers::TakeWrite()
{
    const std::lock_guard guard(lock_);
    return writes_.Take();
}

void StoreWorkers::Commit(Jobs& jobs)
{
    const auto begin = Clock::now();
    if (database_.Writers() == 1)
        CommitTogether(jobs);
    else
        CommitAlone(jobs.front());
    const std::lock_guard guard(lock_);
    for (Job& job : jobs) {
        job.time = Since(begin);
        writes_.Done(job.owner);
    }
    ++commits_;
    writesDone_ += jobs.size();
    // His next one may have waited for this one.
    hasWrites_.notify_one();
}

/// What fails by itself is undone alone; when the commit fails, nothing of it happened.
void StoreWorkers::CommitTogether(Jobs& jobs)
{
    const auto begin = Clock::now();
    try {
        Transaction together(database_);
        for (std::size_t next = 0; next < jobs.size(); ++next) {
            try {
                Transaction part(database_);
                RunWrite(jobs[next]);
                part.Commit();
            } catch (...) {
                jobs[next].error = std::current_exception();
            }
            if (!database_.IsInTransaction())
                // A full disk, say, may make the store undo all.
                std::rethrow_exception(jobs[next].error);
            if (jobs.size() < MaximumOfCommit && Clock::now() - begin < LongestGathering)
                if (auto more = TakeWrite())
                    jobs.push_back(*std::move(more));
        }
        together.Commit();
    } catch (...) {
        for (Job& job : jobs)
            if (!job.error)
                job.error = std::current_exception();
    }
}

void StoreWorkers::CommitAlone(Job& job)
{
    for (int attempt = 1;; ++attempt) {
        try {
            Transaction transaction(database_);
            if (job.order == Order::OneByOne)
                database_.HoldAll();
            RunWrite(job);
            return transaction.Commit();
        } catch (const DatabaseError& error) {
            if (!error.IsUndone() || attempt == MostAttempts) {
                job.error = std::current_exception();
                return;
            }
        } catch (...) {
            job.error = std::current_exception();
            return;
        }
        // Whoever was quicker may need a moment.
        std::this_thread::sleep_for(std::chrono::milliseconds(attempt - 1));
    }
}

void StoreWorkers::RunWrite(Job& job)
{
    struct Gathering {
        explicit Gathering(Job& its)
        {
            its.news.clear();
            newsOfJob = &its.news;
        }
        ~Gathering() { newsOfJob = nullptr; }
    } const gathering(job);
    job.work();
}

void StoreWorkers::Answer(Jobs jobs)
{
    std::shared_ptr<Jobs> shared;
    WithMemory([&] { shared = std::make_shared<Jobs>(std::move(jobs)); });
    server_.Post([this, owned = shared] {
        for (Job& job : *owned) {
            server_.NoteWork(job.time);
            if (!job.error)
                for (const auto& news : job.news)
                    RunGuarded([&] { WithMemory(news, FewAttempts); });
            RunGuarded([&] { job.then(job.error); });
            Written(job);
        }
        owned->clear();
    });
}

}  // namespace Nexar
