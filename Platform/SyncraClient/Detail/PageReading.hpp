#pragma once

#include "SYCommunication/CommunicationException.hpp"
#include "SYCommunication/PagedReading.hpp"
#include "SyncraClient/Detail/JsonRequests.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <functional>
#include <future>
#include <utility>

namespace Syncra::Client::Detail {

/// Reads a list that travels in pages. `ask` gets the answer to the request with a cursor, the
/// first one's being empty; each answer is read into what `begin` makes, on a thread of its own
/// while the next one travels, two at most at once; `take` gets the pages in their order, one at a
/// time, with their bytes and whether it is the last, on those threads or the calling one.
template <class Page>
void ReadPages(
    const std::function<JsonRequests::Unread(const OV::UniString& cursor)>& ask,
    const std::function<void(Page, std::size_t bytes, bool isLast)>& take,
    const std::function<Page()>& begin = [] { return Page{}; })
{
    const auto readPage = [&](const JsonRequests::Unread& answer, bool isLast,
                              const std::shared_future<void>& former) {
        auto page = begin();
        answer.Read(page);
        if (former.valid())
            former.get();
        take(std::move(page), answer.GetBytes(), isLast);
    };
    std::shared_future<void> former;
    std::shared_future<void> last;
    OV::UniString cursor;
    do {
        auto answer = ask(cursor);
        auto next = answer.ReadHead<Protocol::PageCursor>().value.value_or(OV::UniString());
        if (!next.empty() && next == cursor)
            throw Communication::MalformedResponseException(
                u"The pages that the server sends do not advance.");
        if (former.valid())
            former.get();
        former = last;
        // What a task was given goes with its work, not with the last who waits for it.
        const bool isLast = next.empty();
        last = std::async(isLast ? std::launch::deferred : std::launch::async,
                          [&readPage, answer = std::move(answer), isLast, former]() mutable {
                              const auto read = std::move(answer);
                              readPage(read, isLast, std::exchange(former, {}));
                          });
        cursor = std::move(next);
    } while (!cursor.empty());
    last.get();
}

}  // namespace Syncra::Client::Detail
