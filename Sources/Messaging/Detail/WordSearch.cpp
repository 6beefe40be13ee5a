#include "Messaging/Detail/WordSearch.hpp"

#include "Messaging/ClientMail.hpp"
#include "OVRoot/LetterCase.hpp"

#include <algorithm>

namespace SYC {

namespace {

constexpr OV::UniStringView Blanks = u" \t\r\n\u00A0\u3000";

/// Whether `text` has the folded `word` in it.
bool Contains(OV::UniStringView text, OV::UniStringView word, const char16_t* fold)
{
    if (text.size() < word.size())
        return false;
    const char16_t first = word.front();
    const char16_t* const last = text.data() + (text.size() - word.size());
    for (const char16_t* at = text.data(); at <= last; ++at) {
        if (fold[*at] != first)
            continue;
        std::size_t same = 1;
        while (same < word.size() && fold[at[same]] == word[same])
            ++same;
        if (same == word.size())
            return true;
    }
    return false;
}

}  // namespace

WordSearch::WordSearch(OV::UniStringView words)
{
    const auto folded = OV::LetterCase::Fold(words);
    for (std::size_t end = 0;;) {
        const auto begin = folded.find_first_not_of(Blanks, end);
        if (begin == OV::UniString::npos)
            return;
        end = std::min(folded.find_first_of(Blanks, begin), folded.size());
        words_.push_back(folded.substr(begin, end - begin));
    }
}

bool WordSearch::Narrows(const WordSearch& other) const
{
    return std::all_of(other.words_.begin(), other.words_.end(), [this](const auto& wanted) {
        return std::any_of(words_.begin(), words_.end(), [&](const auto& word) {
            return word.find(wanted) != OV::UniString::npos;
        });
    });
}

bool WordSearch::Matches(const ClientMail& mail) const
{
    const char16_t* const fold = OV::LetterCase::Table();
    const auto isInMail = [&](const OV::UniString& word) {
        const auto& logins = mail.GetRecipientsLoginName();
        return Contains(mail.GetBodyText(), word, fold) ||
               Contains(mail.GetSenderFullName(), word, fold) ||
               Contains(mail.GetSender(), word, fold) ||
               Contains(mail.GetRecipientsFullName(), word, fold) ||
               std::any_of(logins.begin(), logins.end(),
                           [&](const auto& login) { return Contains(login, word, fold); });
    };
    return std::all_of(words_.begin(), words_.end(), isInMail);
}

}  // namespace SYC
