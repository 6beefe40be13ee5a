#include "ProxyHeader.hpp"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <cstdint>

namespace Nexar {

namespace {

namespace ip = boost::asio::ip;

constexpr std::string_view TextStart = "PROXY ";
constexpr std::string_view TextEnd = "\r\n";
constexpr std::size_t LongestText = 107;
constexpr std::string_view Signature("\r\n\r\n\0\r\nQUIT\n", 12);
constexpr std::size_t FixedBytes = 16;
/// Of the addresses and whatever a balancer adds to them.
constexpr std::size_t MostAdded = 2048;

std::uint8_t ByteAt(std::string_view text, std::size_t at)
{
    return static_cast<std::uint8_t>(text[at]);
}

std::size_t AddedBytes(std::string_view header)
{
    return ByteAt(header, 14) * std::size_t{256} + ByteAt(header, 15);
}

template <class Address>
std::optional<std::string> AddressIn(std::string_view added)
{
    typename Address::bytes_type bytes;
    if (added.size() < bytes.size())
        return {};
    std::copy_n(added.begin(), bytes.size(), bytes.begin());
    return Address(bytes).to_string();
}

std::optional<std::string> ClientOfText(std::string_view line)
{
    line.remove_prefix(TextStart.size());
    line.remove_suffix(TextEnd.size());
    const auto takeWord = [&line] {
        const auto word = line.substr(0, line.find(' '));
        line.remove_prefix(std::min(line.size(), word.size() + 1));
        return word;
    };
    const auto family = takeWord();
    if (family == "UNKNOWN")
        return std::string();
    boost::system::error_code error;
    const auto address = ip::make_address(std::string(takeWord()), error);
    if (error || family != (address.is_v6() ? "TCP6" : "TCP4"))
        return {};
    return address.to_string();
}

std::optional<std::string> ClientOfBytes(std::string_view header)
{
    enum Command { Local = 0x20, Proxied = 0x21 };
    enum Family { Unspecified = 0, V4 = 1, V6 = 2 };
    const int command = ByteAt(header, 12);
    const int family = ByteAt(header, 13) >> 4;
    if (command == Local || (command == Proxied && family == Unspecified))
        return std::string();
    if (command != Proxied)
        return {};
    header.remove_prefix(FixedBytes);
    if (family == V4)
        return AddressIn<ip::address_v4>(header);
    return family == V6 ? AddressIn<ip::address_v6>(header) : std::nullopt;
}

}  // namespace

std::optional<std::size_t> MissingOfProxyHeader(std::string_view begun)
{
    // Neither form is shorter than the other's signature.
    if (begun.size() < Signature.size())
        return Signature.size() - begun.size();
    if (begun.starts_with(Signature)) {
        if (begun.size() < FixedBytes)
            return FixedBytes - begun.size();
        const std::size_t added = AddedBytes(begun);
        if (added > MostAdded)
            return {};
        return FixedBytes + added - begun.size();
    }
    if (!begun.starts_with(TextStart))
        return {};
    if (begun.ends_with(TextEnd))
        return 0;
    if (begun.size() + TextEnd.size() > LongestText)
        return {};
    return begun.back() == TextEnd.front() ? 1 : TextEnd.size();
}

std::optional<std::string> ClientOfProxyHeader(std::string_view header)
{
    return header.starts_with(Signature) ? ClientOfBytes(header) : ClientOfText(header);
}

}  // namespace Nexar
