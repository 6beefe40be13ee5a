#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

#include <initializer_list>

namespace SYC {

class ClientMail;

/// Words to be found in mails: each of them, in upper or lower case, anywhere in the names of the
/// sender and the recipients or in the text.
class WordSearch {
public:
    WordSearch() = default;
    explicit WordSearch(OV::UniStringView words);

    /// Whether every mail matches.
    [[nodiscard]] bool IsEmpty() const noexcept { return words_.empty(); }
    /// Whether nothing matches this that does not match `other`.
    [[nodiscard]] bool Narrows(const WordSearch& other) const;
    /// Reads the texts of the mail alone, which do not change once it is in a list.
    [[nodiscard]] bool Matches(const ClientMail& mail) const;

    friend bool operator==(const WordSearch&, const WordSearch&) = default;

private:
    OV::Array<OV::UniString> words_;  ///< folded
};

}  // namespace SYC
