#pragma once

#include <deque>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace Nexar {

/// Jobs of several owners, who take turns however much each of them has; of one owner the oldest
/// comes first, and at most so many of his are taken at once.
template <class Job>
class FairQueue {
public:
    explicit FairQueue(std::size_t mostOfOwner) : mostOfOwner_(mostOfOwner) {}

    void Push(const std::string& owner, Job job)
    {
        Owner& entry = owners_[owner];
        // Nobody gets a turn without a job, when there is no memory for both.
        std::list<std::string> turn;
        if (entry.waiting.empty())
            turn.push_back(owner);
        entry.waiting.push_back(std::move(job));
        turns_.splice(turns_.end(), turn);
        ++size_;
    }
    /// Nothing when nobody has a job that may be taken. Done must follow for the owner.
    [[nodiscard]] std::optional<Job> Take()
    {
        for (auto turn = turns_.begin(); turn != turns_.end(); ++turn) {
            Owner& owner = owners_.at(*turn);
            if (owner.taken >= mostOfOwner_)
                continue;
            Job job = std::move(owner.waiting.front());
            owner.waiting.pop_front();
            ++owner.taken;
            --size_;
            if (owner.waiting.empty())
                turns_.erase(turn);
            else
                turns_.splice(turns_.end(), turns_, turn);
            return job;
        }
        return std::nullopt;
    }
    void Done(const std::string& owner)
    {
        const auto found = owners_.find(owner);
        if (--found->second.taken == 0 && found->second.waiting.empty())
            owners_.erase(found);
    }
    [[nodiscard]] std::size_t Size() const { return size_; }
    [[nodiscard]] std::size_t WaitingOf(const std::string& owner) const
    {
        const auto found = owners_.find(owner);
        return found == owners_.end() ? 0 : found->second.waiting.size();
    }

private:
    struct Owner {
        std::deque<Job> waiting;
        std::size_t taken = 0;
    };
    std::size_t mostOfOwner_;
    std::unordered_map<std::string, Owner> owners_;
    std::list<std::string> turns_;  ///< of owners with waiting jobs
    std::size_t size_ = 0;
};

}  // namespace Nexar
