#include "Targets.hpp"

#include "Messaging/MailFile.hpp"

#include <algorithm>

// The bytes are a mail file; its mails are in the disk encoding.
void Fuzz::MailDisk(OV::StringView bytes)
{
    using namespace SYC::MailFile;
    const Content content = Decode(bytes);
    Promise((content.outcome == Outcome::Damaged) == (content.status != OV::ChannelOk),
            "a damaged file comes with the error");
    const auto written = Encode(content.mails, content.unknown);
    // What nobody here can read may be parted in another way where it stands now.
    const auto isUnknown = [](const auto& mail) { return mail->HasUnknownActions(); };
    if (content.unknown.count != 0 ||
        std::any_of(content.mails.begin(), content.mails.end(), isUnknown))
        return;
    const Content again = Decode(written);
    Promise(again.outcome == Outcome::Complete, "what was read can be written and read");
    Promise(again.mails.size() == content.mails.size(), "no mail is lost");
    for (std::size_t i = 0; i < again.mails.size(); ++i)
        Promise(*again.mails[i] == *content.mails[i], "a mail comes back as it was");
    Promise(Encode(again.mails) == written, "equal mails are equal bytes");
}
