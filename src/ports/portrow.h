#pragma once

#include <QHBoxLayout>
#include <QLabel>
#include <QWheelEvent>

// What the rows of the panel are made of.

/// The layout of a port's row, which can change the text of a cell without a new layout.
///
/// A label invalidates the layout of its whole page with every text, which costs more than the rest of a
/// change.
class cFixedLayoutRow : public QHBoxLayout
{
public:
    /// @p cell is in this row and has room for @p text.
    void setText(QLabel* cell, const QString& text)
    {
        mFixed = true;
        cell->setText(text);
        mFixed = false;
    }

    void invalidate() override
    {
        if (!mFixed) {
            QHBoxLayout::invalidate();
        }
    }

private:
    bool mFixed = false;
};

/// A control that the wheel changes only while that has the focus. Otherwise the wheel scrolls the page; it
/// does not give the control the focus.
template <class Control>
class cFocusedWheel : public Control
{
public:
    cFocusedWheel() { this->setFocusPolicy(Qt::StrongFocus); }

protected:
    void wheelEvent(QWheelEvent* event) override
    {
        if (this->hasFocus()) {
            Control::wheelEvent(event);
        } else {
            event->ignore(); // Qt offers it to the parent widget
        }
    }
};

/// Appends @p cell to @p row with a @p text and a fixed @p width, in pixels at 96 dpi.
void addFixedCell(QHBoxLayout* row, QLabel* cell, const QString& text, int width);

/// Fills the background of @p row with red if @p alarm, else with green. The text is black.
void setStatusColour(QWidget* row, bool alarm);
