#pragma once

#include <QSplitter>

/// Its parts stand side by side, or below each other where its width does not hold them.
class FoldingSplitter final : public QSplitter {
public:
    using QSplitter::QSplitter;

    /// Of the parts below each other in width, and side by side in height.
    [[nodiscard]] QSize minimumSizeHint() const override;

private:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void Fold();
};
