#pragma once

#include "Failure.hpp"
#include "LogIndex/TextParser.hpp"
#include "Messaging/ProjectMembers.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "ServerTasks.hpp"

#include <QMainWindow>

#include <memory>
#include <optional>
#include <stop_token>

class QAbstractButton;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;
class QTableWidget;

/// The desktop host: who connects where, the projects of that server, and the members of the one
/// that is open.
class MainWindow final : public QMainWindow, private SYC::ProjectMembersObserver {
public:
    /// `dataFolder` is where the caches stand.
    explicit MainWindow(IO::Location dataFolder);
    ~MainWindow() override;

    /// Fills the form, for a host that was started with them.
    void SetLogin(const QString& server, int port, const QString& user);

private:
    /// A project that is open, with what follows it.
    using OpenedManager = ServerTasks::Manager;
    struct Opened {
        OpenedManager manager;
        OV::UniString name;
        std::unique_ptr<SYC::ProjectMembers> members;
    };

    void closeEvent(QCloseEvent* event) override;
    void _ProjectMembersChanged(SYC::ProjectMembers& members) override;

    [[nodiscard]] QWidget* MakeForm();
    [[nodiscard]] QWidget* MakeProjects();
    [[nodiscard]] QWidget* MakeMembers();
    QLineEdit* AddField(class QFormLayout& form, const QString& label, const QString& name);

    void Connect();
    /// The projects of this computer, as long as no server is connected.
    void ShowCached();
    /// Puts the login of a cached project into the form.
    void TakeLoginOf(int row);
    void ShowProjects(const OV::Array<Syncra::Protocol::Project>& projects);
    void Open();
    void Check(OpenedManager manager, OV::UniString name, bool takeOver);
    void TellNotOpened(const OpenedManager& manager, const OV::UniString& name, bool hasTakenOver,
                       SYC::CheckResult result, const SYC::Failure& failure);
    void Follow(const OV::UniString& projectId, OpenedManager manager, OV::UniString name);
    void OpenOffline(OpenedManager manager, OV::UniString name);
    /// False when the user keeps it open.
    bool Close();
    /// The log of the selected project, and the statistics of the server.
    void ShowLog();
    void ShowCharts();
    [[nodiscard]] LogSource Source() const;
    void UpdateButtons();
    void Say(const QString& text);
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo Login() const;

    const IO::Location dataFolder_;
    SYCB::MessageLoopExecutor executor_;
    OV::PooledExecutor opener_{0, 1, 0};
    /// Of the project that is being opened.
    std::optional<std::stop_source> opening_;
    QLineEdit* server_ = nullptr;
    QSpinBox* port_ = nullptr;
    QLineEdit* user_ = nullptr;
    QLineEdit* password_ = nullptr;
    QTableWidget* projects_ = nullptr;
    QListWidget* members_ = nullptr;
    QPushButton* open_ = nullptr;
    QPushButton* close_ = nullptr;
    QPushButton* log_ = nullptr;
    QPushButton* charts_ = nullptr;
    /// Logins of the cached projects, row by row, while they are shown.
    OV::Array<SYC::Inner::ProjectConnectionInfo> cached_;
    /// Ids of the projects, row by row.
    OV::Array<OV::UniString> projectIds_;
    std::unique_ptr<Opened> opened_;
};
