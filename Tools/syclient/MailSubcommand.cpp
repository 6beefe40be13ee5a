#include "MailSubcommand.hpp"

#include "OVRoot/Ascii.hpp"

OV::Ref<SYC::ClientMail> FindMailAmong(const SYC::MailClient::MailList& mails, Context& context,
                                       const std::string& id)
{
    constexpr std::size_t shortestBeginning = 4;
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
    context.exitCode = ExitCode::NotFound;
    context.output.Error((found.empty() ? "There is no mail \"" : "Several mails begin with \"") +
                         ForDisplay(wanted) + "\". \"syclient mail list\" shows the ids.");
    return {};
}

OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context, const std::string& id)
{
    return FindMailAmong(host.Mails().GetMails(), context, id);
}
