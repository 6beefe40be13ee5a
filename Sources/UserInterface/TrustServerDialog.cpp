#include "UserInterface/TrustServerDialog.hpp"

#include "OVRoot/Format.hpp"
#include "OVRoot/LocalTime.hpp"

namespace Syncra::Server::ManagementTool::GUI {

namespace {

/// Longer ones say nothing to a person.
constexpr std::size_t MostOfNames = 120;
constexpr std::size_t DayLength = 10;

void FillIn(Dlg::Panel& panel, int item, std::initializer_list<OV::FormatArgument> arguments)
{
    Dlg::TextItem text(panel, item);
    text.SetText(OV::FormatText(text.GetText(), arguments));
}

void Show(Dlg::Panel& panel, int item, const OV::UniString& words)
{
    Dlg::TextItem(panel, item).SetText(words);
}

/// On two lines, half of the bytes each, to be compared by eye.
OV::UniString InTwoLines(OV::UniString fingerprint)
{
    if (const auto middle = fingerprint.size() / 2;
        middle < fingerprint.size() && fingerprint[middle] == u':')
        fingerprint.insert(middle + 1, 1, u'\n');
    return fingerprint;
}

OV::UniString NamesOf(const Communication::ServerCertificate& certificate)
{
    OV::UniString names;
    for (const auto& name : certificate.names)
        names += (names.empty() ? u"" : u", ") + name;
    if (names.empty())
        names = certificate.subject;
    return names.size() > MostOfNames ? names.substr(0, MostOfNames) + u"..." : names;
}

OV::UniString ShownDay(std::int64_t time)
{
    return OV::FormatLocalTime(time).substr(0, DayLength);
}

}  // namespace

TrustServerDialog::TrustServerDialog(const Communication::UntrustedServer& server)
    : ModalDialog(Number), always_(*this, AlwaysButton), once_(*this, OnceButton),
      refuse_(*this, RefuseButton)
{
    for (auto* button : {&always_, &once_, &refuse_})
        button->Attach(*this);
    FillIn(*this, Introduction, {server.GetPlace(), server.DescribeProblems()});
    Show(*this, NamesText, NamesOf(server.certificate));
    FillIn(*this, ValidText,
           {ShownDay(server.certificate.validFrom), ShownDay(server.certificate.validUntil)});
    Show(*this, FingerprintText, InTwoLines(server.certificate.fingerprint));
}

void TrustServerDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    using Communication::TrustAnswer;
    const bool trusts = button.GetNumber() != RefuseButton;
    // What was asked for first counts, a window that was closed before the click among it.
    if (PostCloseRequest(trusts ? Dlg::DialogResult::Accept : Dlg::DialogResult::Cancel) && trusts)
        answer_ =
            button.GetNumber() == AlwaysButton ? TrustAnswer::TrustAlways : TrustAnswer::TrustOnce;
}

CertificateChangedDialog::CertificateChangedDialog(const Communication::UntrustedServer& server)
    : ModalDialog(Number), forget_(*this, ForgetButton), refuse_(*this, RefuseButton)
{
    for (auto* button : {&forget_, &refuse_})
        button->Attach(*this);
    FillIn(*this, Introduction, {server.GetPlace()});
    Show(*this, TrustedText, InTwoLines(server.trustedFingerprint));
    Show(*this, ShownText, InTwoLines(server.certificate.fingerprint));
}

void CertificateChangedDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    PostCloseRequest(button.GetNumber() == ForgetButton ? Dlg::DialogResult::Accept
                                                        : Dlg::DialogResult::Cancel);
}

}  // namespace Syncra::Server::ManagementTool::GUI
