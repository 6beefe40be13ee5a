#include "LogWriter.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace Nexar {

namespace {

constexpr std::size_t MaximumWaiting = 1000;
constexpr std::chrono::seconds LongestEnd{1};

}  // namespace

/// Shared with the thread, which a stream that takes nothing may keep beyond the writer's life.
struct LogWriter::State {
    explicit State(Sink where) : sink(std::move(where)) {}

    const Sink sink;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::string> waiting;
    std::size_t dropped = 0;
    bool isWriting = false;
    bool ends = false;

    void Run()
    {
        std::unique_lock guard(lock);
        for (;;) {
            changed.wait(guard, [this] { return !waiting.empty() || ends; });
            if (waiting.empty())
                break;
            const std::string line = std::exchange(waiting.front(), {});
            waiting.pop_front();
            isWriting = true;
            guard.unlock();
            const bool isTaken = TryTo([&] { sink(line); });
            guard.lock();
            isWriting = false;
            dropped += isTaken ? 0 : 1;
            if (isTaken && dropped > 0 && TryTo([&] { TellDropped(); }))
                dropped = 0;
            changed.notify_all();
        }
    }

private:
    /// False when it threw: what is for the log has no log to be told of in.
    template <class Work>
    static bool TryTo(const Work& work) noexcept
    {
        try {
            work();
            return true;
        } catch (...) {
            return false;
        }
    }
    void TellDropped()
    {
        waiting.push_back(std::to_string(dropped) + " lines were dropped: nobody took them.\n");
    }
};

LogWriter::LogWriter(Sink sink) : state_(std::make_shared<State>(std::move(sink)))
{
    std::thread([state = state_] { state->Run(); }).detach();
}

LogWriter::~LogWriter()
{
    std::unique_lock guard(state_->lock);
    state_->ends = true;
    state_->changed.notify_all();
    state_->changed.wait_for(guard, LongestEnd,
                             [this] { return state_->waiting.empty() && !state_->isWriting; });
}

void LogWriter::Write(std::string line)
{
    const std::lock_guard guard(state_->lock);
    if (state_->waiting.size() >= MaximumWaiting) {
        ++state_->dropped;
        return;
    }
    state_->waiting.push_back(std::move(line));
    state_->changed.notify_all();
}

}  // namespace Nexar
