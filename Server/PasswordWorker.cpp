#include "PasswordWorker.hpp"

#include "Guarded.hpp"
#include "Router.hpp"

#include <algorithm>
#include <utility>

namespace Nexar {

namespace {

constexpr std::size_t MaximumRunning = 2;
constexpr std::size_t MaximumOfOneName = 2;
constexpr std::chrono::seconds ShortWait{2};
constexpr const char* TooManyWait =
    "The server checks as many passwords as it can. Try again in a moment.";

void Refuse(const Reply& reply, std::chrono::seconds retryAfter, const char* message)
{
    reply(ErrorResponse(Refusal(Syncra::Protocol::ErrorCode::TooManyRequests, message)
                            .With("Retry-After", std::to_string(retryAfter.count()))));
}

void Fail(const Reply& reply, std::exception_ptr error)
{
    Router::Answer(reply, [&] { std::rethrow_exception(error); });
}

}  // namespace

void PasswordWorker::Check(const std::shared_ptr<Attempt>& attempt, const Reply& reply,
                           std::function<void(bool)> then)
{
    if (!attempt->hash.empty() && hash_.IsRemembered(attempt->hash, attempt->password)) {
        then(true);
        return;
    }
    const auto wait =
        std::max(attempt->mustWait, limits_.MustWait(attempt->login, attempt->address));
    if (wait.count() > 0)
        return Refuse(reply, wait, "Too many refused sign-ins. Wait a moment before the next one.");
    auto finish = [this, attempt, then = std::move(then)](bool isRight) {
        limits_.Told(attempt->login, attempt->address, isRight);
        then(isRight);
    };
    Add({++lastNumber_, attempt->login, attempt->address, reply,
         [this, attempt, finish = std::move(finish)] {
             const bool isRight = hash_.Check(attempt->hash, attempt->password);
             return [isRight, finish] { finish(isRight); };
         }});
}

void PasswordWorker::Make(const std::string& password, const Reply& reply,
                          std::function<void(const std::string& hash)> then)
{
    const auto secret = std::make_shared<Attempt>();
    secret->password = password;
    Add({++lastNumber_, {}, {}, reply, [this, secret, then = std::move(then)] {
             return [hash = hash_.Make(secret->password), then] { then(hash); };
         }});
}

void PasswordWorker::Add(Job job)
{
    if (!MakeRoom(job))
        return Refuse(job.reply, ShortWait, TooManyWait);
    job.reply.WhenGone([this, number = job.number] { Forget(number); });
    waiting_.push_back(std::move(job));
    StartNext();
}

bool PasswordWorker::MakeRoom(const Job& job)
{
    const auto isAlike = [&](const Job& each) { return each.login.empty() == job.login.empty(); };
    const auto ofName = std::count_if(waiting_.begin(), waiting_.end(), [&](const Job& each) {
        return !job.login.empty() && each.login == job.login && each.address == job.address;
    });
    if (static_cast<std::size_t>(ofName) >= MaximumOfOneName)
        return false;
    if (static_cast<std::size_t>(std::count_if(waiting_.begin(), waiting_.end(), isAlike)) <
        mostWaiting_)
        return true;
    // The newest of whoever has the most: those who came first keep their turn.
    auto last = waiting_.rend();
    std::size_t most = WaitingFrom(job.address) + 1;
    for (auto each = waiting_.rbegin(); each != waiting_.rend(); ++each)
        if (isAlike(*each) && WaitingFrom(each->address) > most) {
            most = WaitingFrom(each->address);
            last = each;
        }
    if (last == waiting_.rend())
        return false;
    const Reply reply = last->reply;
    waiting_.erase(std::next(last).base());
    Refuse(reply, ShortWait, TooManyWait);
    return true;
}

std::size_t PasswordWorker::WaitingFrom(const std::string& address) const
{
    return static_cast<std::size_t>(
        std::count_if(waiting_.begin(), waiting_.end(), [&](const Job& each) {
            return !each.login.empty() && each.address == address;
        }));
}

void PasswordWorker::StartNext()
{
    if (running_ >= MaximumRunning || waiting_.empty())
        return;
    const auto chosen = ChooseNext();
    lastAddress_ = chosen->address;
    const auto running = std::make_shared<std::optional<Running>>();
    running->emplace(running_, std::move(*chosen));
    waiting_.erase(chosen);
    workers_.Execute(OV::MakeTask([this, open = server_.HoldOpen(), running] {
        Running& mine = **running;
        try {
            mine.finish = mine.job.compute();
        } catch (...) {
            mine.error = std::current_exception();
        }
        server_.Post([this, running] { Finish(*running); });
    }));
}

void PasswordWorker::Finish(std::optional<Running>& running)
{
    const auto error = running->error;
    const auto finish = std::move(running->finish);
    const Job job = std::move(running->job);
    // Here, whoever else still holds it: without the reply no client is answered on another thread.
    running.reset();
    RunGuarded([this] { StartNext(); });
    if (error)
        Fail(job.reply, error);
    else
        finish();
}

std::deque<PasswordWorker::Job>::iterator PasswordWorker::ChooseNext()
{
    const auto signedIn = std::find_if(waiting_.begin(), waiting_.end(),
                                       [](const Job& job) { return job.login.empty(); });
    if (signedIn != waiting_.end())
        return signedIn;
    const auto other = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const Job& job) { return job.address != lastAddress_; });
    return other != waiting_.end() ? other : waiting_.begin();
}

void PasswordWorker::Forget(std::uint64_t number)
{
    std::erase_if(waiting_, [&](const Job& job) { return job.number == number; });
}

void PasswordWorker::RefuseWaiting()
{
    for (const Job& job : std::exchange(waiting_, {}))
        Refuse(job.reply, ShortWait, "The server is being stopped. Try again.");
}

}  // namespace Nexar
