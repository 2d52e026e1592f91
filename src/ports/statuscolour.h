#ifndef STATUSCOLOUR_H
#define STATUSCOLOUR_H

class QWidget;

/// Fills the background of @p row with red when @p alarm, else with green; its text is black on both.
void setStatusColour(QWidget* row, bool alarm);

#endif
