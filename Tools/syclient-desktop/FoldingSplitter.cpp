#include "FoldingSplitter.hpp"

namespace {

QSize LeastOf(const QWidget& part)
{
    return part.minimumSizeHint().expandedTo(part.minimumSize());
}

}  // namespace

QSize FoldingSplitter::minimumSizeHint() const
{
    QSize least;
    for (int part = 0; part < count(); ++part)
        least = least.expandedTo(LeastOf(*widget(part)));
    return least;
}

void FoldingSplitter::resizeEvent(QResizeEvent* event)
{
    Fold();
    QSplitter::resizeEvent(event);
}

/// What was restored meanwhile may be of a window of another width.
void FoldingSplitter::showEvent(QShowEvent* event)
{
    Fold();
    QSplitter::showEvent(event);
}

void FoldingSplitter::Fold()
{
    QSize whole(handleWidth() * (count() - 1), handleWidth() * (count() - 1));
    for (int part = 0; part < count(); ++part)
        whole += LeastOf(*widget(part));
    const bool isFolded = width() < whole.width() && height() >= whole.height();
    if (const auto wanted = isFolded ? Qt::Vertical : Qt::Horizontal; wanted != orientation())
        setOrientation(wanted);
}
