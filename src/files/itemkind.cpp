#include "itemkind.h"

#include "linerewrite.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <limits>

namespace {

struct Kind
{
    const char* caption;
    const char* key;
    const char* writtenByAdd;
    const char* writtenByRemove;
};

// Adding and removing pad the line of the analog inputs differently; files have either form.
constexpr std::array<Kind, 5> kKinds{{
    {QT_TRANSLATE_NOOP("itemkind", "Number of Digital Inputs:"),
     "Digital input(s):", "Digital input(s):    ", "Digital input(s):    "},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Digital Outputs:"),
     "Digital output(s):", "Digital output(s):    ", "Digital output(s):    "},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Analog Inputs:"),
     "Analog input(s):", "Analog input(s):     ", "Analog input(s):    "},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Analog Outputs:"),
     "Analog output(s):", "Analog output(s):    ", "Analog output(s):    "},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Access Events:"),
     "Scanner(s):", "Scanner(s):    ", "Scanner(s):    "},
}};

/// Returns null for no kind.
const Kind* kindOf(int instructionType)
{
    const bool known = instructionType >= 1 && static_cast<size_t>(instructionType) <= kKinds.size();
    return known ? &kKinds.at(static_cast<size_t>(instructionType) - 1) : nullptr;
}

qint64 countIn(const QByteArray& line)
{
    return QString::fromLocal8Bit(line.mid(line.indexOf(':') + 1)).toLongLong();
}

qint64 sum(qint64 count, int number)
{
    return std::min(count, std::numeric_limits<qint64>::max() - number) + number;
}

qint64 difference(qint64 count, int number) { return std::max<qint64>(count, number) - number; }

bool change(const QString& path, const Kind* kind, const char* Kind::*text,
            qint64 (*newCount)(qint64 count, int number), int number)
{
    return linerewrite::rewrite(path, [=](const QByteArray& line) {
               return kind != nullptr && line.contains(kind->key)
                          ? kind->*text + QByteArray::number(newCount(countIn(line), number))
                          : line;
           }) != linerewrite::NOT_COPIED;
}

} // namespace

namespace itemkind {

QString caption(int instructionType)
{
    const Kind* kind = kindOf(instructionType);
    return kind == nullptr ? QString() : QCoreApplication::translate("itemkind", kind->caption);
}

bool add(const QString& path, int instructionType, int number)
{
    return change(path, kindOf(instructionType), &Kind::writtenByAdd, sum, number);
}

bool remove(const QString& path, int instructionType, int number)
{
    return change(path, kindOf(instructionType), &Kind::writtenByRemove, difference, number);
}

} // namespace itemkind
