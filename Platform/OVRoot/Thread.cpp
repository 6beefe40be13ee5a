#include "OVRoot/Thread.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/System.hpp"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace OV {

namespace {

/// Of the innermost InterruptionScope. No object: those of the main thread are destroyed before
/// what static objects wait for has ended.
thread_local const std::stop_token* currentToken = nullptr;

}  // namespace

struct Thread::State {
    std::jthread thread;
};

Thread::Thread(StringView name, std::function<void()> body) : state_(std::make_unique<State>())
{
    try {
        state_->thread =
            std::jthread([name = String(name), body = std::move(body)](std::stop_token token) {
                System::NameCurrentThread(name);
                const InterruptionScope scope(std::move(token));
                Detail::RunLogged("Thread", body);
            });
    } catch (const std::system_error& failure) {
        throw Exception("The system gives no thread for \"" + String(name) +
                        "\": " + failure.what());
    }
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
    return currentToken != nullptr && currentToken->stop_requested();
}

std::stop_token Thread::CurrentToken() noexcept
{
    return currentToken != nullptr ? *currentToken : std::stop_token();
}

void Thread::Sleep(std::uint32_t milliseconds)
{
    std::mutex lock;
    std::condition_variable_any wake;
    std::unique_lock guard(lock);
    wake.wait_for(guard, CurrentToken(), std::chrono::milliseconds(milliseconds),
                  [] { return false; });
    if (IsInterrupted())
        throw InterruptedException();
}

InterruptionScope::InterruptionScope(std::stop_token token)
    : token_(std::move(token)), former_(std::exchange(currentToken, &token_))
{}

InterruptionScope::~InterruptionScope()
{
    currentToken = former_;
}

}  // namespace OV
