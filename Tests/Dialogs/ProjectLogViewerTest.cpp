#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "OVRoot/LocalTime.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "Support/AlertRecorder.hpp"
#include "Support/FileBytes.hpp"
#include "Support/TemporaryFolder.hpp"
#include "UserInterface/ProjectLogViewerDlg_14.hpp"

#include <gtest/gtest.h>

#include <fstream>

using Viewer = Syncra::Server::ManagementTool::GUI::ProjectLogViewerDlg_14;

namespace {

using Lines = OV::PagedArray<LogDataLine>;
using Texts = OV::Array<OV::UniString>;

class ProjectLogViewerTest : public testing::Test {
protected:
    static LogDataLine Line(OV::LocalTime time, const OV::UniString& user,
                            const OV::UniString& operation, std::uint32_t size = 0,
                            const OV::UniString& project = u"p")
    {
        LogDataLine line;
        line.SetTime(OV::ToText(OV::FromLocalTime(time)));
        line.SetUser(user);
        line.SetOperation(operation);
        line.SetSize(OV::ToText(size));
        line.SetProjectId(project);
        line.SetDuration(u"3");
        return line;
    }
    /// Opens the dialog with these lines and lets a user act.
    void Open(const Lines& lines, const std::function<void(Dlg::HeadlessDialog&)>& act)
    {
        Viewer viewer(u"p", u"Bridge");
        viewer_ = &viewer;
        toolkit_.AddScript(Viewer::Number, [&](Dlg::HeadlessDialog& user) {
            user.PickDate(Viewer::FromDate, {2026, 3, 1});
            user.PickDate(Viewer::ToDate, {2026, 3, 2});
            viewer.RefreshLog(lines);
            Settle();
            act(user);
            user.Press(Viewer::CloseButton);
        });
        EXPECT_TRUE(viewer.Invoke());
    }
    /// The worker has done what it was asked for.
    void Settle()
    {
        SYCB::MessageLoop::RunPending();
        EXPECT_TRUE(SYCB::MessageLoop::RunUntil([this] { return !viewer_->IsBusy(); }, 60'000));
    }
    static Texts Column(const Dlg::HeadlessDialog& user, int column)
    {
        Texts texts;
        const auto& rows = user.GetRows(Viewer::Table);
        for (int row = 1; row <= rows.GetCount(); ++row)
            texts.push_back(rows.GetText(row, column));
        return texts;
    }

    TemporaryFolder folder_;
    Dlg::HeadlessToolkit toolkit_;
    Viewer* viewer_ = nullptr;
};

}  // namespace

TEST_F(ProjectLogViewerTest, EachFilterNarrowsWhatTheOthersLeave)
{
    const Lines lines{
        Line({2026, 2, 28, 23, 59, 59}, u"early", u"Send"),
        Line({2026, 3, 1, 0, 0, 0}, u"anna", u"Send", 10'240),
        Line({2026, 3, 1, 12, 0, 0}, u"zoe", u"Put Object", 10'239),
        Line({2026, 3, 1, 13, 0, 0}, u"other", u"Send", 0, u"q"),
        Line({2026, 3, 2, 23, 59, 59}, u"anna", u"Login", 20'000'000),
        Line({2026, 3, 3, 0, 0, 0}, u"late", u"Join"),
    };
    Open(lines, [&](Dlg::HeadlessDialog& user) {
        const auto choose = [&](int menu, int entry) {
            user.Choose(menu, entry);
            Settle();
        };
        EXPECT_EQ(Column(user, SYC::LogTable::User), (Texts{u"anna", u"zoe", u"anna"}))
            << "both ends of the range belong to it";
        EXPECT_EQ(user.GetEntries(Viewer::UserMenu),
                  (Texts{u"Not Filtered", u"anna", u"early", u"late", u"zoe"}))
            << "of all the project's lines, and of no other project's";
        EXPECT_EQ(user.GetEntries(Viewer::ActionMenu), (Texts{u"Not Filtered", u"Join", u"Send"}));
        choose(Viewer::ActionMenu, 3);
        EXPECT_EQ(Column(user, SYC::LogTable::User), (Texts{u"anna", u"zoe"}));
        choose(Viewer::SizeMenu, 2);
        EXPECT_EQ(Column(user, SYC::LogTable::Size), (Texts{u"10 KB"}));
        choose(Viewer::UserMenu, 5);
        EXPECT_TRUE(Column(user, SYC::LogTable::User).empty());
        EXPECT_EQ(user.GetText(Viewer::CountText), u"0 lines");
        // New lines arrive: what was chosen stays chosen, wherever it stands now.
        Lines more = lines;
        more.push_back(Line({2026, 3, 1, 9, 0, 0}, u"boris", u"Comment"));
        more.push_back(Line({2026, 3, 1, 9, 0, 0}, u"zoe", u"Send", 10'485'760));
        viewer_->RefreshLog(more);
        Settle();
        EXPECT_EQ(user.GetSelection(Viewer::UserMenu), 6);
        EXPECT_EQ(Column(user, SYC::LogTable::Size), (Texts{u"10 240 KB"}));
        choose(Viewer::SizeMenu, 5);
        EXPECT_EQ(Column(user, SYC::LogTable::User), (Texts{u"zoe"}));
        choose(Viewer::UserMenu, 1);
        choose(Viewer::ActionMenu, 1);
        EXPECT_EQ(Column(user, SYC::LogTable::User), (Texts{u"anna", u"zoe"}));
        choose(Viewer::SizeMenu, 1);
        user.PressHeader(Viewer::Table, SYC::LogTable::Size);
        user.PressHeader(Viewer::Table, SYC::LogTable::Size);
        EXPECT_TRUE(viewer_->IsBusy()) << "the window does not wait";
        Settle();
        EXPECT_EQ(user.GetSortMark(Viewer::Table), -SYC::LogTable::Size);
        EXPECT_EQ(Column(user, SYC::LogTable::User),
                  (Texts{u"anna", u"zoe", u"anna", u"zoe", u"boris"}));
    });
    EXPECT_TRUE(toolkit_.GetAlertsShown().empty());
    Viewer again(u"p", u"Bridge");
    toolkit_.AddScript(Viewer::Number, [](Dlg::HeadlessDialog& user) {
        EXPECT_EQ(user.GetDate(Viewer::FromDate), (Dlg::Date{2026, 3, 1})) << "kept for next time";
        EXPECT_EQ(user.GetDate(Viewer::ToDate), (Dlg::Date{2026, 3, 2}));
        user.Leave();
    });
    EXPECT_FALSE(again.Invoke());
}

TEST_F(ProjectLogViewerTest, LinesThatComeWhileTheWarningIsShownAreTheOnesShownThen)
{
    const Lines many(1200, Line({2026, 3, 1, 8, 0, 0}, u"anna", u"Send"));
    for (const Lines& newer : {Lines(1000, many.front()), Lines(999, many.front())})
        Open({}, [&](Dlg::HeadlessDialog& user) {
            viewer_->PreviewLog(many);
            Settle();
            EXPECT_TRUE(toolkit_.GetAlertsShown().empty()) << "not while the rest is on its way";
            {
                AlertRecorder alerts;
                bool isFirst = true;
                alerts.meanwhile = [&] {
                    if (!std::exchange(isFirst, false))
                        return;
                    viewer_->RefreshLog(newer);
                    Settle();
                };
                user.PickDate(Viewer::ToDate, {2026, 3, 3});
                Settle();
                ASSERT_EQ(alerts.shown.size(), newer.size() < 1000 ? 1u : 2u);
                EXPECT_EQ(alerts.shown[0].title, u"Warning");
                EXPECT_EQ(alerts.shown[0].message,
                          u"Resultset is too large. Only the first 1200 records are shown.");
                EXPECT_EQ(alerts.shown[0].buttons, Texts{u"OK"});
            }
            EXPECT_EQ(Column(user, SYC::LogTable::User).size(), newer.size());
        });
}

TEST_F(ProjectLogViewerTest, TheExportIsWrittenToTheLetter)
{
    const auto file = folder_.Path() / "table.csv";
    std::ofstream(file) << "former";
    const auto location = IO::Location::FromPath(OV::FromUtf8(file.string()));
    const auto content = [&] { return ReadBytes(file); };
    auto line = Line({2026, 3, 1, 8, 5, 9}, u"Zo\u00EB \"Z\"", u"Send", 2'048'000);
    line.SetComment(OV::UniString(1023, u'x') + u"\u00E9");
    Open({line}, [&](Dlg::HeadlessDialog& user) {
        const auto entries = std::distance(std::filesystem::directory_iterator(folder_.Path()), {});
        toolkit_.AddSaveFile(std::nullopt);
        user.Press(Viewer::ExportButton);
        EXPECT_EQ(content(), "former");
        toolkit_.AddSaveFile(location);
        user.Press(Viewer::ExportButton);
        EXPECT_EQ(content(), "\"2026-03-01 08:05:09\",\"Zo\xC3\xAB \"Z\"\",\"Send\",\"" +
                                 std::string(1023, 'x') + "\",\"2 KB\",\"3s\"\n");
        std::filesystem::rename(file, folder_.Path() / "other.csv");
        std::filesystem::create_symlink("other.csv", file);
        toolkit_.AddSaveFile(location);
        user.Press(Viewer::ExportButton);
        EXPECT_FALSE(std::filesystem::is_symlink(file)) << "a file of its own in the link's place";
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}),
                  entries + 1)
            << "and nothing is left over";
        toolkit_.AddSaveFile(location.Appended(u"none"));
        user.Press(Viewer::ExportButton);
        ASSERT_EQ(toolkit_.GetAlertsShown().size(), 1u);
        EXPECT_EQ(toolkit_.GetAlertsShown()[0].title, u"Error");
        EXPECT_EQ(toolkit_.GetAlertsShown()[0].message,
                  u"An error has occurred while saving file.");
        user.PickDate(Viewer::ToDate, {2026, 2, 1});
        Settle();
        toolkit_.AddSaveFile(location);
        user.Press(Viewer::ExportButton);
        EXPECT_EQ(content(), "") << "an empty table is an empty file";
    });
}
