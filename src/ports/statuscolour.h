#pragma once

class QWidget;

/// Fills the background of @p row with red if @p alarm, else with green. The text is black.
void setStatusColour(QWidget* row, bool alarm);
