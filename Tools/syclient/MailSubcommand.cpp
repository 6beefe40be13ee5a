#include "MailSubcommand.hpp"

#include "OVRoot/Ascii.hpp"

OV::Ref<SYC::ClientMail> FindMailAmong(const SYC::MailClient::MailList& mails, Context& context,
                                       const std::string& id)
{
    constexpr std::size_t shortestBeginning = 6;
    const auto wanted = OV::FromUtf8(id);
    std::vector<OV::Ref<SYC::ClientMail>> found;
    for (const auto& mail : mails) {
        if (mail->GetId() == wanted)
            return mail;
        if (wanted.size() >= shortestBeginning &&
            OV::EqualsIgnoreCase(mail->GetId().substr(0, wanted.size()), wanted))
            found.push_back(mail);
    }
    if (found.size() == 1)
        return found.front();
    const bool isShort = wanted.size() < shortestBeginning;
    context.exitCode = found.empty() && !isShort ? ExitCode::NotFound : ExitCode::Usage;
    const auto what =
        isShort         ? std::string("An id is given by its first six letters or more, not by \"")
        : found.empty() ? "There is no mail \""
                        : std::to_string(found.size()) + " mails begin with \"";
    context.output.Error(what + ForDisplay(wanted) +
                         "\". \"syclient mail list --all\" shows the ids.");
    return {};
}

OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context, const std::string& id)
{
    return FindMailAmong(host.Mails().GetMails(), context, id);
}
