#pragma once

#include "Charts.hpp"
#include "LogIndex/TextParser.hpp"
#include "ProjectSession.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"

#include <QWidget>

class CardList;
class QChartView;
class QComboBox;
class QLabel;
class QPushButton;
class QStandardItemModel;

/// What happened in the project, or how the server does: charts over the log, which is brought up
/// to date in the background when the page is looked at.
class ActivityPage final : public QWidget {
    Q_OBJECT
public:
    enum class Kind { Activity, Statistics };

    /// The session outlives the page.
    ActivityPage(ProjectSession& session, Kind kind, QWidget* parent);
    ~ActivityPage() override;

    void Refresh();

signals:
    void Said(const QString& text);

private:
    /// What the worker brings home.
    struct Fetched;

    void showEvent(QShowEvent* event) override;
    void Take(Fetched& fetched);
    void ProposeChart();
    void ShowChart();
    void ShowLog();
    void Export();
    [[nodiscard]] LogSource Source() const;

    ProjectSession& session_;
    const Kind kind_;
    QLabel* status_;
    QPushButton* refresh_;
    QComboBox* charts_ = nullptr;
    QChartView* view_;
    CardList* lines_ = nullptr;
    QStandardItemModel* rows_ = nullptr;
    std::unique_ptr<Charts::Data> data_;
    bool isChartChosen_ = false;  ///< by the user
    bool isFetching_ = false;
    SYCB::MessageLoopExecutor home_;
    OV::PooledExecutor worker_{0, 1, 0};
};
