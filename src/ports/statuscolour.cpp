#include "statuscolour.h"

#include <QPalette>
#include <QWidget>

namespace {

QPalette rowPalette(Qt::GlobalColor background)
{
    QPalette palette;
    palette.setBrush(QPalette::Window, QBrush(background, Qt::SolidPattern));
    // Both colours are too bright for the white text of a dark palette.
    palette.setBrush(QPalette::WindowText, Qt::black);
    return palette;
}

} // namespace

void setStatusColour(QWidget* row, bool alarm)
{
    const Qt::GlobalColor background = alarm ? Qt::red : Qt::green;
    // Setting a palette visits every child.
    if (row->autoFillBackground() && row->palette().color(QPalette::Window) == QColor(background)) {
        return;
    }
    // The roles that are not set here come from the row's parent.
    static const QPalette kAlarm = rowPalette(Qt::red);
    static const QPalette kClear = rowPalette(Qt::green);
    row->setPalette(alarm ? kAlarm : kClear);
    row->setAutoFillBackground(true);
}
