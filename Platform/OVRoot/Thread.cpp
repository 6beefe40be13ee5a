#include "OVRoot/Thread.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace OV {

namespace {

thread_local std::stop_token currentToken;

void RunLogged(const std::function<void()>& body)
{
    try {
        body();
    } catch (const InterruptedException&) {
        // The thread was asked to stop, and did.
    } catch (const std::exception& error) {
        Logger::Error("Thread", u"A thread ended by an exception: %", {error.what()});
    }
}

}  // namespace

struct Thread::State {
    std::jthread thread;
};

Thread::Thread(StringView name, std::function<void()> body) : state_(std::make_unique<State>())
{
    state_->thread =
        std::jthread([name = String(name), body = std::move(body)](std::stop_token token) {
            System::NameCurrentThread(name);
            const InterruptionScope scope(std::move(token));
            RunLogged(body);
        });
}

Thread::~Thread() = default;
Thread::Thread(Thread&&) noexcept = default;
Thread& Thread::operator=(Thread&&) noexcept = default;

void Thread::Interrupt()
{
    state_->thread.request_stop();
}

void Thread::Join()
{
    if (state_->thread.joinable())
        state_->thread.join();
}

bool Thread::IsInterrupted() noexcept
{
    return currentToken.stop_requested();
}

std::stop_token Thread::CurrentToken() noexcept
{
    return currentToken;
}

void Thread::Sleep(std::uint32_t milliseconds)
{
    std::mutex lock;
    std::condition_variable_any wake;
    std::unique_lock guard(lock);
    wake.wait_for(guard, currentToken, std::chrono::milliseconds(milliseconds),
                  [] { return false; });
    if (IsInterrupted())
        throw InterruptedException();
}

InterruptionScope::InterruptionScope(std::stop_token token)
    : former_(std::exchange(currentToken, std::move(token)))
{}

InterruptionScope::~InterruptionScope()
{
    currentToken = std::move(former_);
}

}  // namespace OV
