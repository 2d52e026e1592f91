#pragma once

#include <QObject>

/// Lets the wheel change a control only while that has the focus.
///
/// Otherwise the wheel scrolls the page. The wheel does not give the control the focus.
class cWheelEventFilter : public QObject
{
public:
    /// @p control becomes the parent.
    explicit cWheelEventFilter(QWidget* control);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* mControl;
};
