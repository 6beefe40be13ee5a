#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Nexar {

/// Between the processes that share a store: who committed something that others wait for tells
/// them where. Nothing hangs on it alone: what is missed is found in the store.
class News {
public:
    /// Of projects; none when it may have been any of them, since the connection was lost
    /// meanwhile. On a thread of the news.
    using Heard = std::function<void(const std::vector<std::string>& projectIds)>;

    virtual ~News() = default;
    /// After the commit. Does not wait; several are told together a few milliseconds later.
    virtual void Tell(const std::string& projectId) = 0;
};

}  // namespace Nexar
