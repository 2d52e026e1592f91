#include "cconfig.h"
#include "connectionfile.h"
#include "homefiles.h"
#include "linefile.h"
#include "qttestmain.h"

namespace {

using Read = void (cConnectionFile::*)(const QByteArray&);

/// The values after @p text was read over d, a and p.
QString valuesAfter(const QByteArray& text, Read read = &cConnectionFile::read)
{
    cConnectionFile connection{"d", "a", "p"};
    (connection.*read)(text);
    return connection.descriptor + '|' + connection.address + '|' + connection.port;
}

} // namespace

class TestConnectionFile : public QObject
{
    Q_OBJECT

private slots:
    void writesThreePaddedLines();
    void readingTakesTheValuesOver_data();
    void readingTakesTheValuesOver();
    void onlyTheFieldsAskedForAreTaken();
    void aLineCountsForTheFirstFieldAskedFor();
    void savingReplacesTheFile();
    void savingWhereNoDirectoryIsFails();
    void theRecordGetsAddressPortAndPath();
    void aHugeLineIsReadInTime();
};

void TestConnectionFile::writesThreePaddedLines()
{
    QCOMPARE((cConnectionFile{"lab", "10.0.0.5", "50001"}.text()),
             QByteArray("Connection descriptor:   lab\n"
                        "Connection IP address:   10.0.0.5\n"
                        "Connection port number:  50001\n"));
}

void TestConnectionFile::readingTakesTheValuesOver_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("values");
    QTest::newRow("a file as written") << QByteArray("Connection descriptor:   lab\n"
                                                     "Connection IP address:   10.0.0.5\n"
                                                     "Connection port number:  50001\n")
                                       << "lab|10.0.0.5|50001";
    QTest::newRow("stray blanks in the address")
        << QByteArray("Connection IP address:   10. 0.0.1\n") << "d|10.0.0.1|p";
    QTest::newRow("blanks in the descriptor") << QByteArray("Connection descriptor: my lab\n") << "mylab|a|p";
    QTest::newRow("only a port") << QByteArray("Connection port number:  50001\n") << "d|a|50001";
    QTest::newRow("any order") << QByteArray("Connection port number:1\nConnection descriptor:2\n")
                               << "2|a|1";
    QTest::newRow("the last line of a key counts")
        << QByteArray("Connection port number:1\nConnection port number:2\n") << "d|a|2";
    QTest::newRow("CRLF line ends") << QByteArray("Connection port number:  1\r\n") << "d|a|1";
    QTest::newRow("no line end") << QByteArray("Connection port number:  1") << "d|a|1";
    QTest::newRow("key in the middle of a line, value behind the first colon")
        << QByteArray("x:y Connection port number: 1\n") << "d|a|yConnectionportnumber:1";
    QTest::newRow("key in other letters") << QByteArray("connection port number: 1\n") << "d|a|p";
    QTest::newRow("key without a colon") << QByteArray("Connection port number 1\n") << "d|a|p";
    QTest::newRow("tabs stay") << QByteArray("Connection IP address:\t1\n") << "d|\t1|p";
    QTest::newRow("an empty value is a value") << QByteArray("Connection IP address:   \n") << "d||p";
    QTest::newRow("empty file") << QByteArray() << "d|a|p";
    QTest::newRow("binary file") << QByteArray(5000, '\xfe') << "d|a|p";
}

void TestConnectionFile::readingTakesTheValuesOver()
{
    QFETCH(QByteArray, text);
    QTEST(valuesAfter(text), "values");
}

void TestConnectionFile::onlyTheFieldsAskedForAreTaken()
{
    const QByteArray text("Connection descriptor:1\nConnection IP address:2\nConnection port number:3\n");
    QCOMPARE(valuesAfter(text, &cConnectionFile::readServer), QString("d|2|3"));
}

void TestConnectionFile::aLineCountsForTheFirstFieldAskedFor()
{
    const QByteArray text("Connection port number: Connection IP address: Connection descriptor: 1\n");
    const QString value("ConnectionIPaddress:Connectiondescriptor:1");
    QCOMPARE(valuesAfter(text), value + "|a|p");
    QCOMPARE(valuesAfter(text, &cConnectionFile::readServer), "d|" + value + "|p");
}

void TestConnectionFile::savingReplacesTheFile()
{
    const HomeFiles home;
    const QString path = home.write("lab.con", QByteArray(1000, 'x'));
    QVERIFY(saveFile(path, cConnectionFile{"lab", "10.0.0.5", "50001"}.text()));
    QCOMPARE(home.read("lab.con"), QByteArray("Connection descriptor:   lab\n"
                                              "Connection IP address:   10.0.0.5\n"
                                              "Connection port number:  50001\n"));
}

void TestConnectionFile::savingWhereNoDirectoryIsFails()
{
    const HomeFiles home;
    QVERIFY(!saveFile(home.pathOf("missing/lab.con"), "any"));
}

void TestConnectionFile::theRecordGetsAddressPortAndPath()
{
    cConfig record;
    record.setZULCurrentFile("untouched");
    cConnectionFile{"lab", "10.0.0.5", "50001"}.fill(record, "/d/lab.con");
    QCOMPARE(record.getZULIP(), QString("10.0.0.5"));
    QCOMPARE(record.getZULPort(), QString("50001"));
    QCOMPARE(record.getZULConnectionFile(), QString("/d/lab.con"));
    QCOMPARE(record.getZULCurrentFile(), QString("untouched"));
}

void TestConnectionFile::aHugeLineIsReadInTime()
{
    const QByteArray text = "Connection port number: 1\n" + QByteArray(100 * 1000 * 1000, 'x');
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(valuesAfter(text), QString("d|a|1"));
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
}

ZUL_QTEST(TestConnectionFile)
#include "connectionfile_test.moc"
