#include "portrow.h"

#include "scaledwidth.h"

namespace {

/// The roles that are not set here come from the row's parent.
QPalette rowPalette(const QColor& background)
{
    QPalette palette;
    palette.setBrush(QPalette::Window, background);
    // Both colours are too bright for the white text of a dark palette.
    palette.setBrush(QPalette::WindowText, Qt::black);
    return palette;
}

} // namespace

void addFixedCell(QHBoxLayout* row, QLabel* cell, const QString& text, int width)
{
    cell->setText(text);
    cell->setFixedWidth(scaledWidth(*cell, width));
    row->addWidget(cell);
}

void setStatusColour(QWidget* row, bool alarm)
{
    static const QPalette kAlarm = rowPalette(Qt::red);
    static const QPalette kClear = rowPalette(Qt::green);
    const QPalette& palette = alarm ? kAlarm : kClear;
    // Setting a palette visits every child.
    if (!row->autoFillBackground() || row->palette().window() != palette.window()) {
        row->setPalette(palette);
        row->setAutoFillBackground(true);
    }
}
