#ifndef CWHEELGUARD_H
#define CWHEELGUARD_H

#include <QObject>

/// Keeps the wheel from changing a control by accident while its page scrolls.
///
/// Only a control that has the focus follows the wheel, and the wheel no longer gives the focus; every other
/// turn of it goes on to the page.
class cWheelGuard : public QObject
{
public:
    /// @p control is guarded from now on and owns the guard.
    explicit cWheelGuard(QWidget* control);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* mControl;
};

#endif
