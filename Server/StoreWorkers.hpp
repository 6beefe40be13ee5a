#pragma once

#include "FairQueue.hpp"
#include "HttpServer.hpp"
#include "Store/Database.hpp"

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace Nexar {

/// Work on the store, so that the server's thread never waits for it: a few threads that read, each
/// with a connection of its own, beside one or more that write. Whoever asks takes turns with the
/// others, and has at most half of the readers for what takes much time, and for what takes little;
/// one reader is kept for the latter. What takes less than the way to another thread and back may
/// be read at once, from a store in this process. What is written waits, where the store has one
/// writer, for a commit together with what others write meanwhile; it is answered when the commit
/// is on the disk. Work may run more than once: what the store undid, since another one was quicker
/// or the connection was lost, is tried again.
class StoreWorkers {
public:
    using Work = std::function<void()>;
    /// On the server's thread, with what the work threw. The work is destroyed there, too.
    using Then = std::function<void(std::exception_ptr)>;

    /// All connect before it returns: one that is opened later may fail halfway, and what is then
    /// closed of a file takes the locks of the whole process on it along. Throws DatabaseError.
    StoreWorkers(HttpServer& server, Database& database, std::size_t readers,
                 std::size_t mostWaiting);
    /// Does what still waits, and waits for it.
    ~StoreWorkers();
    StoreWorkers(const StoreWorkers&) = delete;
    StoreWorkers& operator=(const StoreWorkers&) = delete;

    enum class Cost { Little, Much };

    /// On the server's thread. Runs `work` on one state of the store, which it cannot change.
    /// Throws Refusal when too much waits already, of him or of all.
    void Read(const std::string& owner, Work work, Then then, Cost cost = Cost::Little);
    /// Before the server runs, on its thread, which from then on only reads: the connection for
    /// ReadAtOnce, if it is a store for that. Throws DatabaseError.
    void ReadOnThisThread();
    /// The same as Read on this thread, unless that takes more than a moment: then false, nothing
    /// came of it, and it is to be read again. Not for whom IsBehind.
    [[nodiscard]] bool ReadAtOnce(const Work& work, const Then& then);
    /// On the server's thread: whether something of his is still to be written.
    [[nodiscard]] bool IsBehind(const std::string& owner) const
    {
        return unwritten_.contains(owner);
    }
    enum class Order {
        Beside,    ///< other writers may work at the same time
        OneByOne,  ///< not beside others of this order: rules look at more than they change
    };
    /// The same as Read for work that changes the store: all of it happens or nothing. What an
    /// empty owner writes is behind nobody's reading.
    void Write(const std::string& owner, Work work, Then then, Order order = Order::Beside);

    /// Of a thread that writes: runs `news` on the server's thread once what is being written is
    /// committed, and never when it is undone. On other threads it runs at once.
    static void AfterCommit(std::function<void()> news);

    struct Load {
        std::size_t reads = 0;   ///< that wait
        std::size_t writes = 0;  ///< that wait
        std::uint64_t commits = 0;
        std::uint64_t writesDone = 0;
    };
    [[nodiscard]] Load GetLoad() const;

private:
    struct Job {
        std::string owner;
        Work work;
        Then then;
        std::shared_ptr<void> open;  ///< keeps the server from ending before the answer
        Order order = Order::Beside;
        std::exception_ptr error = nullptr;
        std::vector<std::function<void()>> news = {};
        std::chrono::microseconds time{0};
        FairQueue<Job>* queue = nullptr;
        std::uint64_t number = 0;  ///< of what is written for somebody
    };
    using Jobs = std::vector<Job>;
    /// What is to be read when all that its owner changed before is written.
    struct Reading {
        std::uint64_t number;  ///< of the last write before it
        std::size_t left;      ///< of his writes before it
        std::function<void()> begin;
    };
    struct Unwritten {
        std::size_t writes = 0;
        std::deque<Reading> readings = {};
    };

    void Written(const Job& job);
    /// A thread that has connected.
    template <typename OwnConnection>
    void Start(std::function<void(const std::stop_token&)> work);
    void AddReading(const std::string& owner, Work work, Then then, Cost cost);
    void Add(FairQueue<Job>& queue, Job job);
    /// A thread that reads. Each sleeps by itself, so that work wakes one and not all.
    struct Sleeper {
        explicit Sleeper(bool takesCostlyOnes) : takesCostly(takesCostlyOnes) {}
        const bool takesCostly;
        bool isAsleep = false;
        std::condition_variable_any wake;
    };
    /// Alternates between the two kinds of reads, or leaves the costly ones to others.
    void ReadAll(const std::stop_token& token, Sleeper& self);
    /// Under the lock: wakes one for what waits, who then wakes the next.
    void WakeReader();
    [[nodiscard]] std::optional<Job> TakeRead(bool takesCostly);
    void WriteAll(const std::stop_token& token);
    void RunRead(Job& job);
    void Commit(Jobs& jobs);
    /// All that waits, of a store with one writer.
    void CommitTogether(Jobs& jobs);
    void CommitAlone(Job& job);
    /// The next that waits, for the commit that is being made; nothing when there is none.
    [[nodiscard]] std::optional<Job> TakeWrite();
    /// Throws what the work throws.
    void RunWrite(Job& job);
    void Answer(Jobs jobs);

    HttpServer& server_;
    Database& database_;
    mutable std::mutex lock_;
    std::deque<Sleeper> readers_;
    // Of the server's thread.
    std::optional<Database::Reader> ownReader_;
    /// One state for all that is read at once between two looks at the connections.
    std::optional<Database::Snapshot> turn_;
    bool isWakingPosted_ = false;
    std::unordered_map<std::string, Unwritten> unwritten_;
    std::uint64_t lastNumber_ = 0;
    std::condition_variable_any hasWrites_;
    FairQueue<Job> reads_;
    FairQueue<Job> costlyReads_;
    FairQueue<Job> writes_;
    std::size_t mostWaiting_;
    bool isCostlysTurn_ = false;
    std::uint64_t commits_ = 0;
    std::uint64_t writesDone_ = 0;
    std::vector<std::jthread> threads_;
};

}  // namespace Nexar
