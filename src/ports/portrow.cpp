#include "portrow.h"

#include "scaledwidth.h"

#include <QEvent>

namespace {

class cWheelEventFilter : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* control, QEvent* event) override
    {
        if (event->type() != QEvent::Wheel || static_cast<QWidget*>(control)->hasFocus()) {
            return false;
        }
        // Qt offers an ignored event to the parent widget.
        event->ignore();
        return true;
    }
};

} // namespace

void addFixedCell(QHBoxLayout* row, QLabel* cell, const QString& text, int width)
{
    cell->setText(text);
    cell->setFixedWidth(scaledWidth(*cell, width));
    row->addWidget(cell);
}

void setStatusColour(QWidget* row, bool alarm)
{
    const QColor background(alarm ? Qt::red : Qt::green);
    // Setting a palette visits every child.
    if (row->autoFillBackground() && row->palette().color(QPalette::Window) == background) {
        return;
    }
    // The roles that are not set here come from the row's parent.
    QPalette palette;
    palette.setBrush(QPalette::Window, background);
    // Both colours are too bright for the white text of a dark palette.
    palette.setBrush(QPalette::WindowText, Qt::black);
    row->setPalette(palette);
    row->setAutoFillBackground(true);
}

void filterWheel(QWidget* control)
{
    control->setFocusPolicy(Qt::StrongFocus);
    control->installEventFilter(new cWheelEventFilter(control));
}
