// Device and connection files. The input: a byte that picks the kind of file, and what is in it.

#include <QStringList>
#include <QTextCodec>
#include <QTextStream>

#include "cconfig.h"
#include "connectionfile.h"
#include "devicefile.h"
#include "fuzzinput.h"
#include "linefile.h"
#include "property.h"

namespace {

/// The lines of a file, each without its end.
QStringList linesOf(const QByteArray& file)
{
    QStringList lines = QTextStream(file).readAll().split('\n');
    if (lines.last().isEmpty()) {
        lines.removeLast();
    }
    for (QString& line : lines) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
    }
    return lines;
}

QString valueOf(const QString& line)
{
    const int colon = line.indexOf(':');
    return QString(colon < 0 ? line : line.mid(colon + 1)).remove(' ');
}

/// What @p value is after a file in UTF-8 has held it at the end of a line.
QString writtenAndRead(const QString& value)
{
    // Only at the front of a file a byte order mark is one. A NUL is a character as any other.
    const QByteArray bytes = ('>' + value).toUtf8();
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size()).mid(1);
    return text.endsWith('\r') ? text.chopped(1) : text;
}

void checkNumber(const QString& value, uint32_t number)
{
    const QByteArray digits = value.toUtf8();
    if (digits.isEmpty() || digits.size() > 15) {
        require(number == 0 || !digits.isEmpty(), "nothing is 0");
        return;
    }
    uint64_t expected = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') {
            return; // Qt also takes a plus and white space.
        }
        expected = expected * 10 + static_cast<uint64_t>(digit - '0');
    }
    require(number == (expected > 0xFFFFFFFF ? 0 : expected), "digits are a number, or 0 beyond 32 bits");
}

void checkDeviceFile(const QByteArray& bytes)
{
    const cDeviceFile values = cDeviceFile::read(bytes);
    QStringList lines = linesOf(bytes);
    while (lines.size() < 9) {
        lines.append(QString());
    }
    const uint32_t numbers[] = {values.digitalInputs,   values.digitalOutputs, values.analogInputs,
                                values.analogOutputs,   values.scanners,       0,
                                values.versionNumber(), values.serialNumber()};
    for (int line = 0; line < 8; ++line) {
        if (line != 5) {
            checkNumber(valueOf(lines[line]), numbers[line]);
        }
    }
    require(values.type == valueOf(lines[5]), "line 6 is the type");
    require(values.version == valueOf(lines[6]), "line 7 is the version");
    require(values.serial == valueOf(lines[7]), "line 8 is the serial number");
    require(values.label == valueOf(lines[8]), "line 9 is the label");

    const QByteArray written = values.text();
    require(written.count('\n') == 9, "a device file has nine lines");
    const cDeviceFile again = cDeviceFile::read(written);
    require(again.digitalInputs == values.digitalInputs && again.digitalOutputs == values.digitalOutputs &&
                again.analogInputs == values.analogInputs && again.analogOutputs == values.analogOutputs &&
                again.scanners == values.scanners,
            "counts read back as they were written");
    require(again.type == writtenAndRead(values.type) && again.version == writtenAndRead(values.version) &&
                again.serial == writtenAndRead(values.serial) && again.label == writtenAndRead(values.label),
            "texts read back as they were written");
}

/// What the last line with @p key, and with none of @p earlier, says; @p former if there is none.
QString expectedOf(const QStringList& lines, const QString& key, const QStringList& earlier,
                   const QString& former)
{
    QString value = former;
    for (const QString& line : lines) {
        bool counts = line.contains(key);
        for (const QString& other : earlier) {
            counts = counts && !line.contains(other);
        }
        value = counts ? valueOf(line) : value;
    }
    return value;
}

void checkConnectionFile(const QByteArray& bytes)
{
    const QString descriptor("Connection descriptor:");
    const QString address("Connection IP address:");
    const QString port("Connection port number:");
    const QStringList lines = linesOf(bytes);

    cConnectionFile values{"d", "a", "p"};
    values.read(bytes);
    require(values.descriptor == expectedOf(lines, descriptor, {}, "d"), "the descriptor's line counts");
    require(values.address == expectedOf(lines, address, {descriptor}, "a"), "the address's line counts");
    require(values.port == expectedOf(lines, port, {descriptor, address}, "p"), "the port's line counts");

    cConnectionFile loaded{"d", "a", "p"};
    loaded.readServer(bytes);
    require(loaded.descriptor == "d", "a field that was not asked for stays");
    require(loaded.address == expectedOf(lines, address, {}, "a"), "the address counts before the port");
    require(loaded.port == expectedOf(lines, port, {address}, "p"), "the port counts after the address");

    const QByteArray written = values.text();
    require(written.count('\n') == 3, "a connection file has three lines");
    cConnectionFile again;
    again.read(written);
    require(again.descriptor == writtenAndRead(values.descriptor) &&
                again.address == writtenAndRead(values.address) && again.port == writtenAndRead(values.port),
            "values read back as they were written");

    cConfig record;
    values.fill(record, "lab.con");
    require(record.getZULIP() == values.address && record.getZULPort() == values.port &&
                record.getZULConnectionFile() == "lab.con",
            "the record gets address, port and path");
}

void dropMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    qInstallMessageHandler(dropMessage);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const bool isConnection = (input.number8() & 1) != 0;
    const std::vector<uint8_t> file = input.rest();
    const QByteArray bytes(reinterpret_cast<const char*>(file.data()), static_cast<int>(file.size()));
    if (isConnection) {
        checkConnectionFile(bytes);
    } else {
        checkDeviceFile(bytes);
    }
    return 0;
}
