#include "SYCommunication/PagedReading.hpp"

#include "OVRoot/Format.hpp"
#include "SYCommunication/CommunicationException.hpp"

namespace Communication {

void PagedReading::TakePage(std::uint64_t bytes, std::uint64_t elements, bool moreFollows)
{
    // What is left is compared, since a sum could pass the highest number.
    if (bytes > limits_.bytes - taken_.bytes || elements > limits_.elements - taken_.elements)
        throw MalformedResponseException(OV::FormatText(
            u"The server sends more of % than this client takes in one reading (% bytes, % "
            u"entries). Ask for less, or tell the server's administrator.",
            {what_, limits_.bytes, limits_.elements}));
    if (moreFollows && elements == 0)
        throw MalformedResponseException(OV::FormatText(
            u"The server sends % in pages, and an empty one although more follows. Tell the "
            u"server's administrator.",
            {what_}));
    taken_.bytes += bytes;
    taken_.elements += elements;
}

}  // namespace Communication
