// The two programs with a bad line between them.

#include <QtTest>
#include <csignal>

#include "endurancerun.h"
#include "qttestmain.h"

Q_DECLARE_METATYPE(proxy::eFault)

namespace {

/// Sends events numbered from 1 for ever.
const char* const kCountingScript =
    "for (var i = 1; ; ++i) { sender.adhoc(1, 'count', String(i)); sender.sleep(2); }";

/// The numbers of the counting script's events that the server has had so far.
QVector<int> countedEvents(ServerProgram* server)
{
    QVector<int> numbers;
    for (const QJsonObject& line : server->lines()) {
        if (line["event"].toString() == "message") {
            numbers.append(line["objects"].toArray()[0].toObject()["eventValue"].toString().toInt());
        }
    }
    return numbers;
}

/// How many events the simulator says it has handed to the link.
int madeEvents(Program* simulator) { return simulator->output().count("Transmit an ad-hoc event"); }

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyCutPointDecodesTheSame();
    void singleBytesDecodeTheSame();
    void aSlowAndUnsteadyLineDelaysAndSpoilsNothing();
    void theDeviceComesBackByItself_data();
    void theDeviceComesBackByItself();
    void eventsOfAnOutageArriveInOrder_data();
    void eventsOfAnOutageArriveInOrder();
    void everyAnswerBelongsToItsRequestWhateverTheLineDoes();

private:
    void start(int ports, const QByteArray& script = {});
    int devices() { return mServer->count("device"); }

    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<BadLine> mLine;
    QScopedPointer<Program> mSimulator;
};

void TestFaults::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mLine.reset(new BadLine(static_cast<uint16_t>(mServer->port())));
    QVERIFY(mLine->port() != 0);
}

void TestFaults::cleanup()
{
    if (mSimulator) {
        QCOMPARE(mSimulator->stop(SIGTERM), 0);
    }
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    mSimulator.reset();
    mLine.reset();
}

/// Starts a device with so many ports of each kind behind the line.
void TestFaults::start(int ports, const QByteArray& script)
{
    mSimulator.reset(new Program);
    QStringList arguments{"--headless",
                          "--device",
                          mSimulator->write("test.dev", deviceFile(ports, ports, ports, ports, 1)),
                          "--connection",
                          mSimulator->write("test.con", connectionFile(mLine->port())),
                          "--connect"};
    if (!script.isEmpty()) {
        arguments << "--script" << mSimulator->write("test.js", script);
    }
    mSimulator->start(ZULBENCH_PROGRAM, arguments);
    QVERIFY(!mServer->line("device").isEmpty());
}

void TestFaults::everyCutPointDecodesTheSame()
{
    // One request of one segment, one answer of two: pieces of each size cut them at every byte.
    constexpr int kPorts = 40;
    constexpr int kBytes = 2 * 2048;
    start(kPorts);
    const QJsonArray whole = mServer->objects("get din *");
    QCOMPARE(whole.size(), kPorts);
    for (int size = 1; size <= kBytes; ++size) {
        mLine->setRules({"slice gap=0.02 bytes=" + std::to_string(size)});
        QCOMPARE(mServer->objects("get din * timeout=30"), whole);
    }
    QCOMPARE(mLine->counts().of(proxy::eFault::SLICE), uint64_t(2 * kBytes));
    QCOMPARE(mLine->counts().connections, uint64_t(1));
}

void TestFaults::singleBytesDecodeTheSame()
{
    start(70);
    QMap<QString, QJsonArray> whole;
    const QStringList commands{"get device", "get capability", "get din *", "get dout *",
                               "get ain *",  "get aout *",     "get din 7", "get sample 1 1"};
    for (const QString& command : commands) {
        whole[command] = mServer->objects(command);
    }
    mLine->setRules({"slice bytes=1"});
    for (const QString& command : commands) {
        QCOMPARE(mServer->objects(command), whole[command]);
    }
    QCOMPARE(mServer->command("set ain 3 gain=2.5")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->objects("get ain 3")[0].toObject()["gain"].toDouble(), 2.5);
    QCOMPARE(mLine->counts().connections, uint64_t(1));
}

void TestFaults::aSlowAndUnsteadyLineDelaysAndSpoilsNothing()
{
    start(20);
    mLine->setRules({"delay ms=10 jitter=5", "rate bytes=100000"});
    for (int port = 1; port <= 20; ++port) {
        mServer->type(QString("get din %1 timeout=30").arg(port));
    }
    QVERIFY(!mServer->line("reply", 20).isEmpty());
    for (int port = 1; port <= 20; ++port) {
        const QJsonArray objects = mServer->line("reply", port)["objects"].toArray();
        QCOMPARE(objects.size(), 1);
        QCOMPARE(objects[0].toObject()["portId"].toInt(), port);
    }
    QCOMPARE(mLine->counts().connections, uint64_t(1));
}

void TestFaults::theDeviceComesBackByItself_data()
{
    QTest::addColumn<QString>("rule");
    QTest::newRow("changed bits") << "corrupt bits=3 dir=to-server";
    QTest::newRow("a lost answer") << "lose msg=answer";
    QTest::newRow("a segment that is too long") << "too-long msg=answer";
    QTest::newRow("a reset") << "reset every=1 dir=to-server";
    QTest::newRow("an end in a segment") << "truncate msg=answer";
    QTest::newRow("silence, then an end") << "timeout timeout=50";
}

void TestFaults::theDeviceComesBackByItself()
{
    QFETCH(QString, rule);
    start(70);
    mLine->setRules({rule.toStdString()});
    const QString status = mServer->command("get din * timeout=0.5")["status"].toString();
    QVERIFY2(status == "error" || status == "timeout", qPrintable(status));
    mLine->setRules({});
    mLine->command(proxy::eFault::RESET);

    QVERIFY(!mServer->line("device", 2).isEmpty());
    for (int port = 70; port > 65; --port) {
        const QJsonArray objects = mServer->objects(QString("get din %1").arg(port));
        QCOMPARE(objects.size(), 1);
        QCOMPARE(objects[0].toObject()["portId"].toInt(), port);
    }
}

void TestFaults::eventsOfAnOutageArriveInOrder_data()
{
    QTest::addColumn<proxy::eFault>("kind");
    QTest::newRow("reset") << proxy::eFault::RESET;
    QTest::newRow("closed") << proxy::eFault::CUT;
}

void TestFaults::eventsOfAnOutageArriveInOrder()
{
    QFETCH(proxy::eFault, kind);
    start(1, kCountingScript);
    QVERIFY(!mServer->line("message", 50).isEmpty());
    mLine->goDown(kind);
    QVERIFY(mSimulator->waitFor([&] { return mSimulator->errors().contains("No link to"); }));
    // From here on events wait in the device.
    const int lastBefore = madeEvents(mSimulator.data());
    QVERIFY(mSimulator->waitFor([&] { return madeEvents(mSimulator.data()) > lastBefore + 300; }));
    QCOMPARE(devices(), 1);
    mLine->comeBack();
    QVERIFY(mServer->program().waitFor([&] {
        return !countedEvents(mServer.data()).isEmpty() &&
               countedEvents(mServer.data()).last() > lastBefore + 300;
    }));

    const QVector<int> numbers = countedEvents(mServer.data());
    int missing = 0;
    for (int i = 1; i < numbers.size(); ++i) {
        QVERIFY2(numbers[i] > numbers[i - 1], "in order, and none twice");
        if (numbers[i] != numbers[i - 1] + 1) {
            ++missing;
            QVERIFY2(numbers[i] <= lastBefore + 1, "what was made without a link is all there");
        }
    }
    QVERIFY2(missing <= 1, "what was on the line when it broke is all that may be missing");
}

void TestFaults::everyAnswerBelongsToItsRequestWhateverTheLineDoes()
{
    EnduranceRun run(3000, 7, EnduranceRun::manyFaults(6));
    const EnduranceResult result = run.run();
    qInfo("%s", qPrintable(result.text()));
    QCOMPARE(result.problem, QString());
    QCOMPARE(result.wrong, qint64(0));
    QCOMPARE(result.requests, qint64(3000));
    QCOMPARE(result.answered + result.timedOut + result.cutOff, result.requests);
    QVERIFY(result.answered > result.requests * 9 / 10);
    QVERIFY(result.wraps >= 4);
    using enum proxy::eFault;
    QVERIFY(result.faults.of(RESET) + result.faults.of(TRUNCATE) + result.faults.of(SILENCE) > 0);
    QVERIFY(result.firstAfter > 1);
}

ZUL_QTEST_GUILESS(TestFaults)
#include "faults_test.moc"
