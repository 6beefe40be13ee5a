#include "UserInterface/ConnectDialog.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/SecureWipe.hpp"

#include <algorithm>

namespace SYC {

namespace {

/// 0 for what is none.
std::uint16_t ReadPort(const OV::UniString& text)
{
    std::uint32_t port = 0;
    for (const char16_t c : text) {
        if (!OV::IsDigit(c) || port > 0xFFFF)
            return 0;
        port = port * 10 + static_cast<std::uint32_t>(c - u'0');
    }
    return port > 0xFFFF ? 0 : static_cast<std::uint16_t>(port);
}

OV::UniString Describe(const DiscoveredServer& server)
{
    OV::UniString text = server.title.empty() ? server.host : server.title;
    if (server.port != 0)
        text += u":" + OV::ToText(server.port);
    return server.isKnown ? text : OV::FormatText(GetText(FlowText::InNetwork), {text});
}

}  // namespace

ConnectDialog::ConnectDialog(IO::Location dataFolder, Syncra::Client::SignInData proposed)
    : ModalDialog(Number), proposed_(std::move(proposed)),
      discovery_(std::move(dataFolder), executors_), connect_(executors_),
      connectButton_(*this, ConnectButton), cancelButton_(*this, CancelButton),
      diagnoseButton_(*this, DiagnoseButton), servers_(*this, ServerPopUp),
      store_(*this, StorePopUp), host_(*this, HostEdit), port_(*this, PortEdit),
      user_(*this, UserEdit), password_(*this, PasswordEdit), steps_(*this, StepList),
      status_(*this, StatusText), discoverySubscription_(discovery_.Subscribe(*this)),
      connectSubscription_(connect_.Subscribe(*this))
{
    Attach(*this);
    for (auto* button : {&connectButton_, &cancelButton_, &diagnoseButton_})
        button->Attach(*this);
    for (auto* edit : {&host_, &port_, &user_})
        edit->Attach(*this);
    servers_.Attach(*this);
}

void ConnectDialog::_PanelOpened(Dlg::Panel&)
{
    hasTyped_ = false;
    store_.Clear();
    store_.Append(GetText(FlowText::DoNotStore));
    store_.Append(GetText(FlowText::StorePassword));
    store_.Select(DoNotStore);
    steps_.SetColumns(
        {{GetText(FlowText::StepColumn), 130}, {GetText(FlowText::ResultColumn), 380}});
    ShowPlace(proposed_.serverName, proposed_.port, proposed_.userName);
    ShowState();
    discovery_.Refresh();
}

void ConnectDialog::ShowPlace(const OV::UniString& host, std::uint16_t port,
                              const OV::UniString& user)
{
    host_.SetText(host);
    port_.SetText(OV::ToText(port == 0 ? UsualPort : port));
    if (!user.empty())
        user_.SetText(user);
}

/// Shows which of the servers the lines name; the last entry is for one that is not listed.
void ConnectDialog::SelectServer()
{
    const auto& all = discovery_.GetServers();
    const auto port = ReadPort(port_.GetText());
    const auto found = std::find_if(all.begin(), all.end(), [&](const DiscoveredServer& each) {
        return OV::EqualsIgnoreCase(each.host, host_.GetText()) &&
               (each.port == 0 ? UsualPort : each.port) == port;
    });
    if (servers_.GetCount() != 0)
        servers_.Select(static_cast<int>(found - all.begin()) + 1);
}

void ConnectDialog::ShowServers()
{
    const bool isFirst = servers_.GetCount() == 0;
    servers_.Clear();
    for (const auto& server : discovery_.GetServers())
        servers_.Append(Describe(server));
    servers_.Append(GetText(FlowText::OtherServer));
    if (!isFirst || hasTyped_ || !host_.GetText().empty())
        return SelectServer();
    servers_.Select(1);
    _PopUpSelected(servers_);
}

void ConnectDialog::_EditChanged(Dlg::EditItem&)
{
    hasTyped_ = true;
    SelectServer();
    ShowState();
}

void ConnectDialog::_PopUpSelected(Dlg::PopUpItem&)
{
    const auto& all = discovery_.GetServers();
    const auto entry = static_cast<std::size_t>(servers_.GetSelected());
    if (entry >= 1 && entry <= all.size()) {
        const DiscoveredServer& server = all[entry - 1];
        ShowPlace(server.host, server.port,
                  server.users.empty() ? OV::UniString() : server.users.front());
    }
    ShowState();
}

void ConnectDialog::_FlowChanged()
{
    if (!discovery_.IsRunning() && discovery_.GetState() != FlowState::Idle)
        ShowServers();
    ShowSteps();
    ShowState();
    if (isConnecting_ && !connect_.IsRunning()) {
        isConnecting_ = false;
        if (connect_.GetState() == FlowState::Succeeded)
            PostCloseRequest(Dlg::DialogResult::Accept);
    }
}

void ConnectDialog::ShowSteps()
{
    OV::Array<Dlg::ListRow> rows;
    for (const auto& step : connect_.GetSteps())
        rows.push_back({step.name, step.outcome});
    steps_.SetRows(std::move(rows));
}

OV::UniString ConnectDialog::DescribeState() const
{
    if (connect_.IsRunning())
        return connect_.GetProgress();
    if (const Failure& failure = connect_.GetFailure())
        return failure.sentence + u" " + failure.advice;
    if (const auto* hindrance = connect_.GetHindrance())
        return hindrance->outcome + u" " + hindrance->advice;
    return connect_.GetSteps().empty() ? OV::UniString() : GetText(FlowText::WayIsFree);
}

void ConnectDialog::ShowState()
{
    const auto enable = [](Dlg::ButtonItem& button, bool isEnabled) {
        if (isEnabled)
            button.Enable();
        else
            button.Disable();
    };
    const bool isNamed = !host_.GetText().empty() && ReadPort(port_.GetText()) != 0;
    enable(connectButton_, !connect_.IsRunning() && isNamed && !user_.GetText().empty());
    enable(diagnoseButton_, !connect_.IsRunning() && isNamed);
    status_.SetText(DescribeState());
}

Syncra::Client::SignInData ConnectDialog::ReadLogin() const
{
    OV::UniString password = password_.GetText();
    const OV::SecureWipeGuard<char16_t> wipe(password);
    Syncra::Client::SignInData login{host_.GetText(), ReadPort(port_.GetText()), user_.GetText(),
                                     password};
    return login;
}

void ConnectDialog::LeaveRequested()
{
    if (connect_.IsRunning())
        connect_.Cancel();
    else
        PostCloseRequest(Dlg::DialogResult::Cancel);
}

void ConnectDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    switch (button.GetNumber()) {
    case ConnectButton:
        isConnecting_ = true;
        return connect_.Connect(ReadLogin(), store_.GetSelected() == StorePassword);
    case DiagnoseButton:
        return connect_.Diagnose(ReadLogin());
    default:
        return LeaveRequested();
    }
}

}  // namespace SYC
