#ifndef ANALOGROW_H
#define ANALOGROW_H

class QHBoxLayout;
class QLabel;
class QString;

/// Puts the columns that all analog rows begin with into @p box: the name, the gain at 1 and the offset at 0.
void beginAnalogRow(QHBoxLayout* box, QLabel* name, const QString& nameText, QLabel* gain, QLabel* offset);

#endif
