#pragma once

class QHBoxLayout;
class QLabel;
class QString;

/// Adds the first columns of an analog row to @p box: the name, the gain, 1, and the offset, 0.
void beginAnalogRow(QHBoxLayout* box, QLabel* name, const QString& nameText, QLabel* gain, QLabel* offset);
