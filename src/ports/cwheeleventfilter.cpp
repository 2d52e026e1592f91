#include "cwheeleventfilter.h"

#include <QEvent>
#include <QWidget>

cWheelEventFilter::cWheelEventFilter(QWidget* control) : QObject(control), mControl(control)
{
    control->setFocusPolicy(Qt::StrongFocus);
    control->installEventFilter(this);
}

bool cWheelEventFilter::eventFilter(QObject*, QEvent* event)
{
    if (event->type() != QEvent::Wheel || mControl->hasFocus()) {
        return false;
    }
    // Qt offers an ignored event to the parent widget.
    event->ignore();
    return true;
}
