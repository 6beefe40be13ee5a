#pragma once

#include "BrowseProject.hpp"
#include "CardList.hpp"
#include "FlowWatch.hpp"
#include "LeaveProject.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "SYClientProjectDiscovery.hpp"

#include <QStandardItemModel>
#include <QWidget>

#include <memory>
#include <vector>

class QLabel;
class QPushButton;

/// Where the day begins: the projects of this computer, the servers that it knows, and the projects
/// of the server that is chosen.
class StartPage final : public QWidget {
    Q_OBJECT
public:
    using Login = SYC::Inner::ProjectConnectionInfo;

    StartPage(IO::Location dataFolder, QWidget* parent);
    ~StartPage() override;

    /// Looks at the caches again, in the background, and at the chosen server.
    void Refresh();
    /// What is being opened, with a button that ends it; empty for nothing.
    void ShowProgress(const QString& text);
    void ShowProblem(const QString& text);
    /// Lets the user sign in to a server, and lists the projects there. What is known of server and
    /// user already is filled in.
    void AddServer(const Login& known);
    /// Asks about what was not sent, ends the session and removes the cache.
    void Leave(const SYC::Inner::ProjectConnectionInfo& login);

signals:
    void OpenWanted(const SYC::Inner::ProjectConnectionInfo& login);
    void CancelWanted();

private:
    /// One row of the list of projects.
    struct Row {
        Login login;
        IO::Location folder;  ///< of its cache; empty when it has none
        Card card;
        bool mayOpen = true;
    };
    using Rows = std::vector<Row>;

    [[nodiscard]] QWidget* MakeProjects();
    [[nodiscard]] QWidget* MakeServers();
    void TakeCached(std::shared_ptr<const Rows> rows, const QString& problem);
    void AddKnownServer(const Login& login, bool isFound);
    void ShowRows();
    void ShowServers();
    /// Signs in to the server of that row of the list, with the remembered password or one that is
    /// asked for.
    void ChooseServer(std::size_t number);
    void AskServer(const Login& login);
    /// Lets the user make a project on the server that is chosen.
    void ShareProject();
    void Choose(const Row& row);
    void ShowMenu(const QPoint& place);
    [[nodiscard]] Row RowOf(const SYC::BrowsedProject& project) const;
    [[nodiscard]] const Row* RowAt(const QModelIndex& index) const;
    void ServersChanged();
    void BrowseChanged();
    void LeaveChanged();

    const IO::Location dataFolder_;
    QLabel *problem_ = nullptr, *progress_ = nullptr, *empty_ = nullptr;
    QPushButton *cancel_ = nullptr, *share_ = nullptr;
    CardList *projects_ = nullptr, *servers_ = nullptr;
    QStandardItemModel projectModel_, serverModel_;
    Rows cached_, rows_;
    /// Those that nobody signed in to from here have no user; the flag of a login says that the
    /// network told of it.
    std::vector<Login> knownServers_;
    /// The one that was asked; its password is not empty.
    std::optional<Login> server_;
    SYCB::MessageLoopExecutor home_;
    OV::PooledExecutor worker_{0, 2, 0};
    SYC::SYClientProjectDiscovery discovery_;
    SYC::BrowseProject browse_;
    std::unique_ptr<SYC::LeaveProject> leave_;
    QString leavingName_;
    bool isLeaveAgreed_ = false;
    // Last, so that nobody is told once the rest goes.
    FlowWatch discoveryWatch_, browseWatch_;
    std::unique_ptr<FlowWatch> leaveWatch_;
};
