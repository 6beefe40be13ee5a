#include "OVRoot/Thread.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/System.hpp"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace OV {

namespace {

thread_local std::stop_token currentToken;

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
            Detail::RunLogged("Thread", body);
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
