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
    enum class Order {
        Beside,    ///< other writers may work at the same time
        OneByOne,  ///< not beside others of this order: rules look at more than they change
    };
    /// The same on this thread, unless that takes more than a moment: then false, nothing came of
    /// it, and it is to be read again.
    [[nodiscard]] bool ReadAtOnce(const Work& work, const Then& then);
    /// The same for work that changes the store: all of it happens or nothing.
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
    };
    using Jobs = std::vector<Job>;

    void Add(FairQueue<Job>& queue, const std::string& owner, Work work, Then then, Order order);
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
    void RunRead(std::optional<Database::Reader>& reader, Job& job);
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
