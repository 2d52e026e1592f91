#include "devicefile.h"
#include "devicefiles.h"
#include "linefile.h"
#include "qttestmain.h"

#include <QTemporaryFile>

namespace {

const qint64 kHundredMegabytes = 100 * 1000 * 1000;

cDeviceFile parsed(const QByteArray& text) { return cDeviceFile::read(text); }

QByteArray summary(const cDeviceFile& values)
{
    const QString text = QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9")
                             .arg(values.digitalInputs)
                             .arg(values.digitalOutputs)
                             .arg(values.analogInputs)
                             .arg(values.analogOutputs)
                             .arg(values.scanners)
                             .arg(values.type)
                             .arg(values.versionNumber())
                             .arg(values.serialNumber())
                             .arg(values.label);
    return text.toUtf8();
}

} // namespace

class TestDeviceFile : public QObject
{
    Q_OBJECT

private slots:
    void creationWritesTheNineLines();
    void spinBoxCountsAreWrittenPlainly();
    void readingGivesTheValues_data();
    void readingGivesTheValues();
    void numbersConvertOrAreZero_data();
    void numbersConvertOrAreZero();
    void upToAHundredThousandItemsAreADevice();
    void lineValues_data();
    void lineValues();
    void theLabelIsLogged();
    void aMissingLabelIsNotLogged();
    void aFileWithoutUseHasADefinedOutcome_data();
    void aFileWithoutUseHasADefinedOutcome();
    void aHugeFileIsReadInPart_data();
    void aHugeFileIsReadInPart();
    void anEndlessFileIsReadInPart();
};

void TestDeviceFile::creationWritesTheNineLines()
{
    cDeviceFile values;
    values.digitalInputs = 4;
    values.digitalOutputs = 4;
    values.analogInputs = 2;
    values.analogOutputs = 2;
    values.scanners = 1;
    values.type = "TYPE_DISCRETE_IO";
    values.version = "3";
    values.serial = "1001";
    values.label = "Panel7";
    QCOMPARE(values.text(), kPanel7);
    QCOMPARE(summary(parsed(values.text())), QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 Panel7"));
}

void TestDeviceFile::spinBoxCountsAreWrittenPlainly()
{
    cDeviceFile values;
    values.digitalInputs = 1000000;
    values.serial = "0x3E9";
    values.label = "Panel 7";
    QVERIFY(values.text().startsWith("Digital input(s):    1000000\nDigital output(s):   0\n"));
    QVERIFY(values.text().endsWith("Device serial:       0x3E9\nDevice label:        Panel 7\n"));
}

void TestDeviceFile::readingGivesTheValues_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("values");
    const QByteArray panel7("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 Panel7");

    QTest::newRow("a file as created") << kPanel7 << panel7;
    QTest::newRow("hexadecimal serial is 0") << panelWithLine(8, "Device serial:       0x3E9")
                                             << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 0 Panel7");
    QTest::newRow("blank inside the serial") << panelWithLine(8, "Device serial:       1 001") << panel7;
    QTest::newRow("blank inside the version") << panelWithLine(7, "Device version:      4 0")
                                              << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 40 1001 Panel7");
    QTest::newRow("blank inside the label") << panelWithLine(9, "Device label:        Panel 7\n") << panel7;
    QTest::newRow("first line without a colon")
        << panelWithLine(1, "12") << QByteArray("12 4 2 2 1 TYPE_DISCRETE_IO 3 1001 Panel7");
    QTest::newRow("wider output label") << panelWithLine(2, "Digital output(s):    4") << panel7;
    QTest::newRow("narrower analog input label") << panelWithLine(3, "Analog input(s):    2") << panel7;
    QTest::newRow("narrower scanner label") << panelWithLine(5, "Scanner(s):    1") << panel7;
    QTest::newRow("narrower serial label") << panelWithLine(8, "Device serial:      1001") << panel7;
    QTest::newRow("narrower label label") << panelWithLine(9, "Device label:      Panel7\n") << panel7;
    QTest::newRow("CRLF line ends") << QByteArray(kPanel7).replace("\n", "\r\n") << panel7;
    QTest::newRow("last line without a line feed") << kPanel7.chopped(1) << panel7;
    QTest::newRow("tenth and eleventh line")
        << kPanel7 + "Digital input(s):    9\nDevice label:        Other\n"
        << panel7;
    QTest::newRow("byte order mark before the label, which is a character there")
        << panelWithLine(9, "Device label:        \xEF\xBB\xBFPanel7\n")
        << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 \xEF\xBB\xBFPanel7");
    QTest::newRow("colon inside the label") << panelWithLine(9, "Device label:        a:b\n")
                                            << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 a:b");
    QTest::newRow("another type is still text") << panelWithLine(6, "Device type:         TYPE_MODBUS")
                                                << QByteArray("4 4 2 2 1 TYPE_MODBUS 3 1001 Panel7");
    QTest::newRow("labels are never compared") << panelWithLine(1, "Device label:        5")
                                               << QByteArray("5 4 2 2 1 TYPE_DISCRETE_IO 3 1001 Panel7");
    QTest::newRow("an empty line is a line") << "\n" + kPanel7 << QByteArray("0 4 4 2 2 1 0 3 1001");
    QTest::newRow("nine blank lines") << QByteArray("\n\n\n\n\n\n\n\n\n") << QByteArray("0 0 0 0 0  0 0 ");
    QTest::newRow("only three lines") << QByteArray("a:1\na:2\na:3\n") << QByteArray("1 2 3 0 0  0 0 ");
    QTest::newRow("empty label") << panelWithLine(9, "Device label:        \n")
                                 << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 ");
    QTest::newRow("label beyond ASCII") << panelWithLine(9, "Device label:        Gr\xc3\xbc\xc3\x9f"
                                                            "e\n")
                                        << QByteArray("4 4 2 2 1 TYPE_DISCRETE_IO 3 1001 Gr\xc3\xbc\xc3\x9f"
                                                      "e");
}

void TestDeviceFile::readingGivesTheValues()
{
    QFETCH(QByteArray, text);
    QTEST(summary(parsed(text)), "values");
}

void TestDeviceFile::numbersConvertOrAreZero_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<uint>("number");
    QTest::newRow("plain") << QByteArray("17") << 17u;
    QTest::newRow("leading zeros") << QByteArray("0017") << 17u;
    QTest::newRow("the largest") << QByteArray("4294967295") << 4294967295u;
    QTest::newRow("one too large") << QByteArray("4294967296") << 0u;
    QTest::newRow("far too large") << QByteArray("99999999999999999999999") << 0u;
    QTest::newRow("nothing") << QByteArray("") << 0u;
    QTest::newRow("letters") << QByteArray("abc") << 0u;
    QTest::newRow("digits and letters") << QByteArray("12abc") << 0u;
    QTest::newRow("hexadecimal prefix") << QByteArray("0x10") << 0u;
    QTest::newRow("minus") << QByteArray("-1") << 0u;
    QTest::newRow("fraction") << QByteArray("1.5") << 0u;
    QTest::newRow("separator") << QByteArray("1,000") << 0u;
}

void TestDeviceFile::numbersConvertOrAreZero()
{
    QFETCH(QByteArray, text);
    QFETCH(uint, number);
    const cDeviceFile values = parsed("a: " + text + "\nb: " + text + "\nc: " + text + "\nd: " + text +
                                      "\ne: " + text + "\nf:\ng: " + text + "\nh: " + text + "\n");
    QCOMPARE(values.digitalInputs, number);
    QCOMPARE(values.digitalOutputs, number);
    QCOMPARE(values.analogInputs, number);
    QCOMPARE(values.analogOutputs, number);
    QCOMPARE(values.scanners, number);
    QCOMPARE(values.versionNumber(), number);
    QCOMPARE(values.serialNumber(), number);
}

void TestDeviceFile::upToAHundredThousandItemsAreADevice()
{
    cDeviceFile values;
    values.digitalInputs = values.digitalOutputs = values.analogInputs = values.analogOutputs = 20000;
    values.scanners = 20000;
    QVERIFY(!values.hasTooManyItems());
    ++values.scanners;
    QVERIFY(values.hasTooManyItems());
    // The sum exceeds 32 bits.
    values.digitalInputs = values.digitalOutputs = 0x80000000U;
    QVERIFY(values.hasTooManyItems());
}

void TestDeviceFile::lineValues_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("value");
    QTest::newRow("behind the first colon") << "a: b:c"
                                            << "b:c";
    QTest::newRow("whole line without a colon") << "1 2"
                                                << "12";
    QTest::newRow("every space goes") << "a:  1  2  "
                                      << "12";
    QTest::newRow("tabs stay") << "a:\t1\t"
                               << "\t1\t";
    QTest::newRow("nothing behind the colon") << "a:"
                                              << "";
    QTest::newRow("colon first") << ":1"
                                 << "1";
    QTest::newRow("empty line") << ""
                                << "";
}

void TestDeviceFile::lineValues()
{
    QFETCH(QString, line);
    QTEST(lineValue(line), "value");
}

void TestDeviceFile::theLabelIsLogged()
{
    QTest::ignoreMessage(QtDebugMsg, "Read Label As:\"Panel7\"");
    parsed(kPanel7);
    QTest::ignoreMessage(QtDebugMsg, "Read Label As:\"\"");
    parsed("\n\n\n\n\n\n\n\n\n");
}

void TestDeviceFile::aMissingLabelIsNotLogged()
{
    static int messages;
    messages = 0;
    const QtMessageHandler former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
    parsed("\n\n\n\n\n\n\n\n");
    const int without = messages;
    parsed(kPanel7);
    qInstallMessageHandler(former);
    QCOMPARE(without, 0);
    QCOMPARE(messages, 1);
}

void TestDeviceFile::aFileWithoutUseHasADefinedOutcome_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("zero bytes") << QByteArray(5000, '\0');
    QTest::newRow("bytes that are no text") << QByteArray(5000, '\xfe');
    QByteArray everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte.append(static_cast<char>(byte)).append(static_cast<char>(255 - byte));
    }
    QTest::newRow("every byte") << everyByte;
    QTest::newRow("only carriage returns") << QByteArray(100, '\r');
}

void TestDeviceFile::aFileWithoutUseHasADefinedOutcome()
{
    QFETCH(QByteArray, text);
    const cDeviceFile values = parsed(text);
    QCOMPARE(values.digitalInputs + values.digitalOutputs + values.analogInputs + values.analogOutputs +
                 values.scanners + values.versionNumber() + values.serialNumber(),
             0u);
    QVERIFY(values.label.isEmpty());
}

void TestDeviceFile::aHugeFileIsReadInPart_data()
{
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<QByteArray>("values");
    QTest::newRow("one line of digits") << QByteArray("1") << QByteArray("0 0 0 0 0  0 0 ");
    QTest::newRow("one line of blanks") << QByteArray(" ") << QByteArray("0 0 0 0 0  0 0 ");
    QTest::newRow("zero bytes") << QByteArray(1, '\0') << QByteArray("0 0 0 0 0  0 0 ");
    QTest::newRow("many lines") << QByteArray("a:1\n") << QByteArray("1 1 1 1 1 1 1 1 1");
}

void TestDeviceFile::aHugeFileIsReadInPart()
{
    QFETCH(QByteArray, pattern);
    QTemporaryFile file;
    QVERIFY(file.open());
    const QByteArray block = pattern.repeated(1000 * 1000);
    while (file.size() < kHundredMegabytes) {
        QVERIFY(file.write(block) == block.size());
    }
    const QByteArray content = readLineFile(file.fileName()).value_or("(unreadable)");
    QCOMPARE(content.size(), int(kMaxLineFileBytes));
    QTEST(summary(parsed(content)), "values");
}

void TestDeviceFile::anEndlessFileIsReadInPart()
{
    QCOMPARE(readLineFile("/dev/zero"), QByteArray(int(kMaxLineFileBytes), '\0'));
}

ZUL_QTEST(TestDeviceFile)
#include "devicefile_test.moc"
