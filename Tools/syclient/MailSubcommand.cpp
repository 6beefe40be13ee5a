#include "MailSubcommand.hpp"

OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context, const std::string& id)
{
    OV::Ref<SYC::ClientMail> mail;
    if (!host.Mails().GetMail(OV::FromUtf8(id), mail)) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("There is no mail \"" + id +
                             "\". \"syclient mail list\" shows the ids.");
    }
    return mail;
}
