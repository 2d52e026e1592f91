#ifndef CWHEELEVENTFILTER_H
#define CWHEELEVENTFILTER_H

#include <QObject>

/// Keeps the wheel from changing a control by accident while its page scrolls.
///
/// Only a control that has the focus follows the wheel, and the wheel no longer gives the focus; every other
/// turn of it goes on to the page.
class cWheelEventFilter : public QObject
{
public:
    /// @p control is guarded from now on and owns the guard.
    explicit cWheelEventFilter(QWidget* control);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* mControl;
};

#endif
