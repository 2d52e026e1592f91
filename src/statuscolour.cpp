#include "statuscolour.h"

#include <QPalette>
#include <QWidget>

void setStatusColour(QWidget* row, bool alarm)
{
    const QBrush brush(alarm ? Qt::red : Qt::green, Qt::SolidPattern);
    // A palette costs every child a visit, so an unchanged one is not set again.
    if (row->autoFillBackground() && row->palette().brush(QPalette::Window) == brush) {
        return;
    }
    QPalette palette = row->palette();
    palette.setBrush(QPalette::Window, brush);
    // Either colour is too bright for the white text of a dark palette.
    palette.setBrush(QPalette::WindowText, Qt::black);
    row->setPalette(palette);
    row->setAutoFillBackground(true);
}
