#pragma once

#include "OVRoot/UniString.hpp"

namespace OV {

/// The order of texts in a language. It does not ask which locale the host has set for its process:
/// a list is sorted the same in every program of a user. Safe on any thread.
class Collation {
public:
    /// The system's name of a locale, "de_DE.UTF-8"; an empty one is what the user's environment
    /// says. Texts are in the order of their bytes when the system has no such locale.
    explicit Collation(const String& locale = {});
    ~Collation();
    Collation(const Collation&) = delete;
    Collation& operator=(const Collation&) = delete;

    /// Negative when `left` comes first, 0 when neither does, positive otherwise.
    [[nodiscard]] int Compare(const String& left, const String& right) const noexcept;

    /// Bytes in the order of which stand the texts that they are made of, for who compares a text
    /// more than once.
    [[nodiscard]] String KeyOf(const String& text) const;

    /// The user's; his environment is read at the first call.
    [[nodiscard]] static const Collation& OfUser();

private:
    void* locale_;
};

}  // namespace OV
