#pragma once

#include "OVRoot/SecureWipe.hpp"
#include "OVRoot/UniString.hpp"

#include <concepts>
#include <vector>

namespace OV {

/// A password in clear text. Its memory is overwritten when it ends or is replaced, and so is that
/// of each copy; moving leaves nothing behind. What View is copied into, the copier wipes.
class Secret {
public:
    Secret() noexcept = default;
    /// Copies a text that stays with its owner.
    template <class Text>
    requires std::convertible_to<const Text&, UniStringView> Secret(const Text& text)
    {
        const UniStringView view = text;
        units_.assign(view.begin(), view.end());
    }
    /// Takes a text over and wipes it.
    Secret(UniString&& text) : units_(text.begin(), text.end()) { SecureWipe(text); }
    Secret(const Secret&) = default;
    Secret(Secret&&) noexcept = default;
    /// Takes what was passed; what stood here before is wiped.
    Secret& operator=(Secret other) noexcept
    {
        units_.swap(other.units_);
        return *this;
    }
    ~Secret() { SecureWipe(units_.data(), units_.size() * sizeof(char16_t)); }

    /// As long as the secret stays as it is.
    [[nodiscard]] UniStringView View() const noexcept { return {units_.data(), units_.size()}; }
    /// Whether there is no password.
    [[nodiscard]] bool empty() const noexcept { return units_.empty(); }
    /// In UTF-16 code units.
    [[nodiscard]] std::size_t size() const noexcept { return units_.size(); }

    /// Exact equality in a time that says nothing of where the two differ; only their lengths show.
    friend bool operator==(const Secret& left, const Secret& right) noexcept
    {
        volatile unsigned difference = left.size() != right.size();
        for (std::size_t at = 0; at < left.size() && at < right.size(); ++at)
            difference = difference | static_cast<unsigned>(left.units_[at] ^ right.units_[at]);
        return difference == 0;
    }

private:
    /// Holds no short text inside the object, as a string does, and never grows: neither moving nor
    /// growing can leave a copy behind.
    std::vector<char16_t> units_;
};

}  // namespace OV
