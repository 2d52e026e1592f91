#include "cwheelguard.h"

#include <QEvent>
#include <QWidget>

cWheelGuard::cWheelGuard(QWidget* control) : QObject(control), mControl(control)
{
    control->setFocusPolicy(Qt::StrongFocus);
    control->installEventFilter(this);
}

bool cWheelGuard::eventFilter(QObject*, QEvent* event)
{
    if (event->type() != QEvent::Wheel || mControl->hasFocus()) {
        return false;
    }
    // An event that is ignored is offered to the parent widget next.
    event->ignore();
    return true;
}
