#include "cdinput.h"
#include "failingcalls.h"
#include "linkpeer.h"
#include "loglines.h"
#include "qttestmain.h"
#include "testdevice.h"

#include <limits>

namespace {

void expectStartingWith(const QString& text)
{
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Starting with " + text));
}

} // namespace

class TestDeviceStart : public QObject
{
    Q_OBJECT

private slots:
    void theConnectionArrivesWhereItIsSaid();
    void aPortTextIsCutTo16Bits_data();
    void aPortTextIsCutTo16Bits();
    void aPortBeyond16BitsArrivesAtTheRest();
    void aPeerThatDoesNotAnswerDoesNotHoldTheStartUp();
    void withoutAThreadThereAreNoSamples();
    void samplingStartsWhateverComesOfTheConnection_data();
    void samplingStartsWhateverComesOfTheConnection();
    void aSecondStartSamplesTwice();
    void aSecondStartAnswersTwice();
    void aPlaceholderConnectsToo();
    void samplesFollowTheClockOfTheDevice();
};

void TestDeviceStart::theConnectionArrivesWhereItIsSaid()
{
    TestServer server;
    const auto device = makeDevice({});
    expectStartingWith(QString("127.0.0.1:%1").arg(server.port()));
    QVERIFY(connectTo(*device, server));
    QCOMPARE(server.connections(), 1);
    QCOMPARE(device->samplingThreads(), size_t{1});
}

void TestDeviceStart::aPortTextIsCutTo16Bits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("port");
    QTest::newRow("one beyond the last is port 0") << "65536" << 0;
    QTest::newRow("no number is port 0") << "abc" << 0;
    QTest::newRow("an empty text is port 0") << "" << 0;
    QTest::newRow("a number with a tail is port 0") << "12x" << 0;
    QTest::newRow("twice around is port 1") << "131073" << 1;
    QTest::newRow("minus 65535 is port 1") << "-65535" << 1;
}

void TestDeviceStart::aPortTextIsCutTo16Bits()
{
    QFETCH(QString, text);
    QFETCH(int, port);
    LogLines log;
    const auto device = makeDevice({});
    cConfig config;
    setServer(&config, text);
    expectStartingWith("127.0.0.1:" + text);
    device->start(&config);
    QVERIFY(log.waitFor("No link to 127.0.0.1 port " + QByteArray::number(port) + ":"));
}

void TestDeviceStart::aPortBeyond16BitsArrivesAtTheRest()
{
    TestServer fixed(4464);
    TestServer free;
    const TestServer& server = fixed.isListening() ? fixed : free; // somebody may have that port
    const QString text = QString::number(65536 + server.port());
    if (fixed.isListening()) {
        QCOMPARE(text, QString("70000"));
    }
    const auto device = makeDevice({});
    cConfig config;
    setServer(&config, text);
    expectStartingWith("127.0.0.1:" + text);
    device->start(&config);
    QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 30000);
}

void TestDeviceStart::aPeerThatDoesNotAnswerDoesNotHoldTheStartUp()
{
    const FullPort peer;
    qint64 shortest = std::numeric_limits<qint64>::max();
    // A busy machine may hold any one of them up.
    for (int attempt = 0; attempt < 10 && shortest >= 1000; ++attempt) {
        const auto device = makeDevice({});
        cConfig config;
        setServer(&config, QString::number(peer.port()));
        QElapsedTimer timer;
        timer.start();
        device->start(&config);
        shortest = std::min(shortest, timer.elapsed());
        QCOMPARE(device->samplingThreads(), size_t{1});
    }
    QVERIFY2(shortest < 1000, qPrintable(QString::number(shortest)));
}

void TestDeviceStart::withoutAThreadThereAreNoSamples()
{
    LogLines log;
    const auto device = makeDevice({1, 0, 1, 0, 0});
    cConfig config;
    setServer(&config, "1", ""); // so that the link starts no thread
    FailingCalls::arm("pthread_create", 1, EAGAIN);
    device->start(&config);
    QVERIFY(FailingCalls::disarm());
    QCOMPARE(device->samplingThreads(), size_t{0});
    QVERIFY(log.waitFor("No periodic samples"));
    device->getInput(0)->scriptInputChange(1);
    QCOMPARE(device->getDigitalInputValue(1), 1);
}

void TestDeviceStart::samplingStartsWhateverComesOfTheConnection_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::newRow("nobody listens") << "127.0.0.1"
                                    << "1";
    QTest::newRow("no address") << ""
                                << "1";
    QTest::newRow("not an address") << "127.0.0.1.9"
                                    << "1";
}

void TestDeviceStart::samplingStartsWhateverComesOfTheConnection()
{
    QFETCH(QString, address);
    QFETCH(QString, port);
    const auto device = makeDevice({1, 0, 0, 0, 0});
    cConfig config;
    setServer(&config, port, address);
    expectStartingWith(address + ":" + port);
    device->start(&config);
    QCOMPARE(device->samplingThreads(), size_t{1});
    device->getInput(0)->findChild<QComboBox*>()->setCurrentIndex(1);
    QCOMPARE(device->getDigitalInputValue(1), 1);
}

void TestDeviceStart::aSecondStartSamplesTwice()
{
    TestServer server;
    const auto device = makeDevice({});
    QVERIFY(connectTo(*device, server));
    QVERIFY(connectTo(*device, server));
    QCOMPARE(device->samplingThreads(), size_t{2});
    QCOMPARE(server.connections(), 2);
}

void TestDeviceStart::aSecondStartAnswersTwice()
{
    LinkedDevice link({});
    QVERIFY(link.connect());
    QVERIFY(link.connect());
    cObjectDevice request;
    request.setDeviceSerial(cObject::kWildcard);
    for (int time = 0; time < 2; ++time) {
        const auto answer =
            time == 0 ? link.ask(cObjectList::kRequest, {&request}, 77) : link.server().next();
        QVERIFY(answer.answer);
        QCOMPARE(answer.seq, uint8_t{77});
        QCOMPARE(answer.size(), size_t{1});
    }
    QCOMPARE(link.console().text(), QByteArray("DEVICE Object\nDEVICE Object\n"));
}

void TestDeviceStart::aPlaceholderConnectsToo()
{
    const ConsoleCapture console;
    TestServer server;
    cDevice device;
    QVERIFY(connectTo(device, server));
    cObjectDevice request;
    server.send(cObjectList::kRequest, 1, {&request});
    const auto answer = server.next();
    QCOMPARE(answer.size(), size_t{1});
    QCOMPARE(answer.object<cObjectDevice>(0)->getDiscreteInCount(), 0U);
}

void TestDeviceStart::samplesFollowTheClockOfTheDevice()
{
    LinkedDevice link({0, 0, 1, 0, 0});
    link.device().setClock(cScaledClock(cScaledClock::kMaxScale)); // the rate is 10 minutes
    QVERIFY(link.connect());
    const auto sample = link.server().next();
    QCOMPARE(sample.object<cObjectAnalogSample>(0)->getSeqNum(), 1U);
}

ZUL_QTEST(TestDeviceStart)
#include "devicestart_test.moc"
