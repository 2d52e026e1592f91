#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QVBoxLayout>

#include "panelview.h"

/// A port's row on a page that is shown; counts how often the row is laid out anew.
class ShownRow : public QObject
{
public:
    explicit ShownRow(QWidget* row) : mRow(row)
    {
        auto* layout = new QVBoxLayout(&mPage);
        layout->addWidget(row);
        mPage.resize(500, 60);
        mPage.show();
        QCoreApplication::processEvents();
        row->installEventFilter(this);
    }
    /// The row stays its owner's.
    ~ShownRow() override { mRow->setParent(nullptr); }

    /// Handles what the row's changes asked for.
    int layouts()
    {
        QCoreApplication::sendPostedEvents();
        return mLayouts;
    }

    /// Where the cells stand.
    QList<QRect> places() const
    {
        QList<QRect> found;
        for (const QWidget* cell : panelview::widgets(mRow->layout())) {
            found.append(cell->geometry());
        }
        return found;
    }

    /// Where they would stand if the row had been made as it is now.
    QList<QRect> placesLaidOutAnew()
    {
        for (QWidget* cell : panelview::widgets(mRow->layout())) {
            cell->updateGeometry();
        }
        QCoreApplication::processEvents();
        return places();
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        mLayouts += event->type() == QEvent::LayoutRequest ? 1 : 0;
        return false;
    }

private:
    QWidget mPage;
    QWidget* mRow;
    int mLayouts = 0;
};
