#ifndef LINEVALUE_H
#define LINEVALUE_H

#include <QString>

/// The value of one line of a device or connection file: what follows the first colon, or the whole line if
/// it has none, without any space character. Other white space stays.
QString lineValue(const QString& line);

#endif
