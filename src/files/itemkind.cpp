#include "itemkind.h"

#include "linefile.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <limits>

namespace {

struct Kind
{
    const char* caption;
    const char* key;
};

constexpr std::array<Kind, 5> kKinds{{
    {QT_TRANSLATE_NOOP("itemkind", "Number of Digital Inputs:"), "Digital input(s):"},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Digital Outputs:"), "Digital output(s):"},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Analog Inputs:"), "Analog input(s):"},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Analog Outputs:"), "Analog output(s):"},
    {QT_TRANSLATE_NOOP("itemkind", "Number of Access Events:"), "Scanner(s):"},
}};

constexpr int kAnalogInputs = 3;

/// Returns null for no kind.
const Kind* kindOf(int instructionType)
{
    const bool known = instructionType >= 1 && static_cast<size_t>(instructionType) <= kKinds.size();
    return known ? &kKinds.at(static_cast<size_t>(instructionType) - 1) : nullptr;
}

bool change(const QString& path, int instructionType, int padding,
            const std::function<qint64(qint64 count)>& newCount)
{
    const auto edit = [&, kind = kindOf(instructionType)](const QByteArray& line) {
        if (kind == nullptr || !line.contains(kind->key)) {
            return line;
        }
        const qint64 count = QString::fromLocal8Bit(line.mid(line.indexOf(':') + 1)).toLongLong();
        return kind->key + QByteArray(padding, ' ') + QByteArray::number(newCount(count));
    };
    return rewriteLines(path, edit) != eRewrite::NOT_COPIED;
}

} // namespace

QString itemkind::caption(int instructionType)
{
    const Kind* kind = kindOf(instructionType);
    return kind == nullptr ? QString() : QCoreApplication::translate("itemkind", kind->caption);
}

bool itemkind::add(const QString& path, int instructionType, int number)
{
    // Adding and removing pad the line of the analog inputs differently; files have either form.
    const int padding = instructionType == kAnalogInputs ? 5 : 4;
    const qint64 max = std::numeric_limits<qint64>::max() - number;
    return change(path, instructionType, padding,
                  [=](qint64 count) { return std::min(count, max) + number; });
}

bool itemkind::remove(const QString& path, int instructionType, int number)
{
    return change(path, instructionType, 4,
                  [number](qint64 count) { return std::max<qint64>(count, number) - number; });
}
