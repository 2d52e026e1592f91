#include "statuscolour.h"

#include <QPalette>
#include <QWidget>

namespace {

QPalette rowPalette(Qt::GlobalColor background)
{
    QPalette palette;
    palette.setBrush(QPalette::Window, QBrush(background, Qt::SolidPattern));
    // Either colour is too bright for the white text of a dark palette.
    palette.setBrush(QPalette::WindowText, Qt::black);
    return palette;
}

} // namespace

void setStatusColour(QWidget* row, bool alarm)
{
    const Qt::GlobalColor background = alarm ? Qt::red : Qt::green;
    // A palette costs every child a visit, so an unchanged one is not set again.
    if (row->autoFillBackground() && row->palette().color(QPalette::Window) == QColor(background)) {
        return;
    }
    // Only what is set here counts: the rest of the palette comes from the row's parent.
    static const QPalette kAlarm = rowPalette(Qt::red);
    static const QPalette kClear = rowPalette(Qt::green);
    row->setPalette(alarm ? kAlarm : kClear);
    row->setAutoFillBackground(true);
}
