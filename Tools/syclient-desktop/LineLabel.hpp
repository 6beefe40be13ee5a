#pragma once

#include <QLabel>
#include <QPainter>
#include <QStyle>

/// A line of plain text that ends in dots where there is no room for it.
class LineLabel final : public QLabel {
public:
    explicit LineLabel(const QString& text, QWidget* parent) : QLabel(text, parent)
    {
        setTextFormat(Qt::PlainText);
    }

    [[nodiscard]] QSize minimumSizeHint() const override
    {
        constexpr int letters = 6;
        const QSize whole = QLabel::minimumSizeHint();
        return {std::min(whole.width(), letters * fontMetrics().averageCharWidth()),
                whole.height()};
    }

private:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        style()->drawItemText(
            &painter, contentsRect(),
            static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())), palette(),
            isEnabled(), fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width()),
            foregroundRole());
    }
};
