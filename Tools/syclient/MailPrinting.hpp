#pragma once

#include "Messaging/ClientMail.hpp"
#include "Output.hpp"

#include <set>

/// A mail as a line of a table, as text, and for scripts.
[[nodiscard]] std::vector<std::string> MailTableHeading();
[[nodiscard]] std::vector<std::string> MailTableRow(const SYC::ClientMail& mail,
                                                    std::size_t idLength);
[[nodiscard]] Json MailJson(const SYC::ClientMail& mail);
void PrintMail(const SYC::ClientMail& mail, const Output& output);
/// One line for a mail that arrives.
[[nodiscard]] std::string MailLine(const SYC::ClientMail& mail);

/// `none` stands for a table without rows; `jsonOf` makes what scripts get of a mail.
template <class Mails, class JsonOf = decltype(&MailJson)>
void PrintMails(const Mails& mails, const char* key, const std::string& none, const Output& output,
                const JsonOf& jsonOf = &MailJson)
{
    if (output.json) {
        Json list = Json::array();
        for (const auto& mail : mails)
            list.push_back(jsonOf(*mail));
        output.PrintJson({{key, std::move(list)}});
        return;
    }
    if (mails.empty()) {
        output.PrintLine(none);
        return;
    }
    // As many letters of the ids as tell them apart.
    std::size_t idLength = 8;
    const auto areAlike = [&] {
        std::set<OV::UniString> beginnings;
        for (const auto& mail : mails)
            beginnings.insert(mail->GetId().substr(0, idLength));
        return beginnings.size() < mails.size();
    };
    while (idLength < 36 && areAlike())
        ++idLength;
    std::vector<std::vector<std::string>> rows{MailTableHeading()};
    for (const auto& mail : mails)
        rows.push_back(MailTableRow(*mail, idLength));
    output.PrintTable(rows);
}
