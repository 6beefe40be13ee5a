#include "UserInterface/CloseProjectDialog.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"

#include <gtest/gtest.h>

using SYC::CloseProjectDialog;
using Result = CloseProjectDialog::Result;
using Texts = OV::Array<OV::UniString>;

namespace {

constexpr int Number = 31040;
constexpr int WarningNumber = 31041;
constexpr int AlertNumber = 32040;
enum { Main = 1, Cancel, Discard, Icon, Question, PopUp };

/// Each bit of a number is one of the six facts.
struct Facts {
    explicit Facts(int state)
        : online(state & 1), second(state & 2), discardNeedsWarning(state & 4), saveOnly(state & 8),
          offlineWork(state & 16), releaseAll(state & 32)
    {}
    bool online, second, discardNeedsWarning, saveOnly, offlineWork, releaseAll;
};

/// What the dialog shows and answers in the states that differ for the user.
struct Row {
    const char* state;
    OV::UniString mainLabel;
    OV::UniString question;
    Texts entries;
    Result::Value mainResult;
    Result::Value firstEntryResult;
};

const OV::UniString AskSend = u"Do you want to send changes to the server \r\nA^0 before closing?";
const OV::UniString AskRelease = u"Do you want to send changes to the server of project \r\nA^0 "
                                 u"and Release All before closing?";
const OV::UniString AskSave = u"Do you want to save unsent changes \r\nA^0 before closing?";
const OV::UniString SaveWithoutSend = u"Save without Send";

const OV::UniString SendSave = u"Send & Save";
const Texts SendEntries{u"Send & Save & Release All", u"-", SaveWithoutSend};
const Texts ReleaseEntries{u"Send & Save without Release", u"-", SaveWithoutSend};
const Row& RowOf(const Facts& facts)
{
    using enum Result::Value;
    static const Row LocalOnly{"local only", u"Save", AskSave, {}, SaveLocally, Cancelled};
    static const Row SaveOnly{"save only", u"Save", AskSend, {}, SaveLocally, Cancelled};
    static const Row SaveOnlyRelease{"and release", u"Save",  AskRelease, {},
                                     SaveLocally,   Cancelled};
    static const Row Send{"send",      SendSave,    AskSend,
                          SendEntries, SendAndSave, SendSaveAndReleaseAll};
    static const Row SendRelease{"send, release",       SendSave,   AskRelease, ReleaseEntries,
                                 SendSaveAndReleaseAll, SendAndSave};
    if (!facts.online || facts.offlineWork)
        return LocalOnly;
    if (facts.saveOnly)
        return facts.releaseAll ? SaveOnlyRelease : SaveOnly;
    return facts.releaseAll ? SendRelease : Send;
}

/// One of the 64 states, and a user of its own.
class State {
public:
    explicit State(int number) : facts(number), row(RowOf(facts)) {}

    /// The result after `user` did his part.
    Result::Value ResultOf(Dlg::HeadlessToolkit::Script user)
    {
        CloseProjectDialog dialog(facts.online, facts.second, facts.discardNeedsWarning,
                                  facts.saveOnly, facts.offlineWork, facts.releaseAll, u"A^0");
        toolkit.AddScript(Number, std::move(user));
        const bool accepted = dialog.Invoke();
        EXPECT_EQ(accepted, dialog.GetResult() != Result::Cancelled);
        return dialog.GetResult();
    }
    /// Discards, declines the warning, and then leaves by the window's own means.
    void ExpectDeclinedDiscardStays()
    {
        EXPECT_EQ(ResultOf([](Dlg::HeadlessDialog& user) {
                      user.Press(Discard);
                      user.Leave();
                  }),
                  Result::Cancelled);
    }

    const Facts facts;
    const Row& row;
    Dlg::HeadlessToolkit toolkit;
};

void ExpectChoices(State& state)
{
    const Row& row = state.row;
    EXPECT_EQ(state.ResultOf([&](Dlg::HeadlessDialog& user) {
        EXPECT_EQ(user.GetTitle(),
                  state.facts.online ? u"Close Project" : u"Close Project (Offline)");
        EXPECT_EQ(user.GetText(Main), row.mainLabel);
        EXPECT_EQ(user.GetText(Question), row.question);
        EXPECT_EQ(user.GetEntries(PopUp), row.entries);
        EXPECT_EQ(user.IsEnabled(PopUp), !row.entries.empty());
        user.Press(Main);
        user.Press(Discard);  // a second click before the window is gone; nobody is asked
    }),
              row.mainResult);
    EXPECT_EQ(state.ResultOf([](Dlg::HeadlessDialog& user) {
        user.Press(Cancel);
        user.Press(Main);  // before the window is gone
    }),
              Result::Cancelled);
    if (row.entries.empty())
        return;
    EXPECT_EQ(state.ResultOf([](Dlg::HeadlessDialog& user) { user.Choose(PopUp, 1); }),
              row.firstEntryResult);
    EXPECT_EQ(state.ResultOf([](Dlg::HeadlessDialog& user) { user.Choose(PopUp, 3); }),
              Result::SaveLocally);
}

void ExpectDiscard(State& state)
{
    const bool isLocal = !state.facts.online || state.facts.offlineWork;
    const bool isWarned = state.facts.discardNeedsWarning;
    if (isWarned && isLocal) {
        state.toolkit.AddScript(WarningNumber, [](Dlg::HeadlessDialog& user) { user.Press(2); });
        state.ExpectDeclinedDiscardStays();
        state.toolkit.AddScript(WarningNumber, [](Dlg::HeadlessDialog& user) {
            EXPECT_EQ(user.GetText(4).substr(0, 70),
                      u"The server is currently offline. If you discard your changes now, you ");
            user.Press(1);
        });
    } else if (isWarned) {
        state.ExpectDeclinedDiscardStays();
        state.toolkit.AddAnswer(AlertNumber, 1);
    }
    EXPECT_EQ(state.ResultOf([](Dlg::HeadlessDialog& user) { user.Press(Discard); }),
              Result::Discard);
    const auto alerts = state.toolkit.GetAlertsShown();
    EXPECT_EQ(alerts.size(), isWarned && !isLocal ? 2u : 0u);
    for (const auto& alert : alerts) {
        EXPECT_EQ(alert.number, AlertNumber);
        EXPECT_EQ(alert.buttons, (Texts{u"Discard Changes Anyway", u"Cancel"}));
    }
}

}  // namespace

TEST(CloseProjectDialogTest, EveryStateShowsAndAnswersWhatItAllows)
{
    for (int number = 0; number < 64; ++number) {
        State state(number);
        SCOPED_TRACE(testing::Message() << "state " << number << ", " << state.row.state);
        ExpectChoices(state);
        ExpectDiscard(state);
    }
}
