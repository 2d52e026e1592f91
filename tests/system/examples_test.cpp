// The scripts in examples/, run by the real simulator: what each comment promises, seen at the real server.

#include <QtTest>
#include <csignal>

#include "programs.h"
#include "qttestmain.h"

namespace {

constexpr char kDin[] = "OBJ_PORT_DIN";
constexpr char kSample[] = "OBJ_ANALOG_SAMPLE";
constexpr char kScan[] = "OBJ_ACCESS";
constexpr char kNote[] = "OBJ_ADHOC_EVENT";

/// What is replaced in an example, so that a test need not wait: first by second.
using Changes = QVector<QPair<QByteArray, QByteArray>>;

QByteArray example(const QString& name)
{
    QFile file(QStringLiteral(EXAMPLES_DIRECTORY "/") + name);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s cannot be read", qPrintable(file.fileName()));
    }
    return file.readAll();
}

QByteArray changed(QByteArray script, const Changes& changes)
{
    for (const auto& change : changes) {
        if (script.count(change.first) != 1) {
            qFatal("The script does not hold '%s' once", change.first.constData());
        }
        script.replace(change.first, change.second);
    }
    return script;
}

} // namespace

class TestExamples : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theSineRisesFallsAndComesBack();
    void thePeopleAtTheDoorAreReportedWithTheirBadges();
    void theRandomWalkIsTheSameAtEveryStart();
    void anotherSeedWalksAnotherWay();
    void theMirrorBringsOutputsBackAsInputs();
    void theTimetableIsCarriedOutRowByRow();
    void everyExampleIsTested();

private:
    void run(const QString& name, const Changes& changes = {});
    void stopSimulator();
    QJsonObject nextEvent();
    QVector<int> firstSamples(int port, int count);

    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Program> mSimulator;
};

void TestExamples::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
}

void TestExamples::cleanup()
{
    stopSimulator();
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    mServer.reset();
}

void TestExamples::run(const QString& name, const Changes& changes)
{
    mSimulator.reset(new Program);
    const QString device = mSimulator->write("demo.dev", example("demo.dev"));
    const QString connection = mSimulator->write("test.con", connectionFile(mServer->port()));
    const QString script = mSimulator->write(name, changed(example(name), changes));
    mSimulator->start(ZULBENCH_PROGRAM, {"--headless", "--device", device, "--connection", connection,
                                         "--connect", "--script", script});
}

void TestExamples::stopSimulator()
{
    if (mSimulator) {
        QCOMPARE(mSimulator->stop(SIGTERM), 0);
        mSimulator.reset();
    }
}

QJsonObject TestExamples::nextEvent()
{
    return mServer->command("wait event timeout=30")["objects"].toArray()[0].toObject();
}

/// The values of the first samples; a negative one stands for an event that is no sample of this port. Fewer
/// than asked for when no more come.
QVector<int> TestExamples::firstSamples(int port, int count)
{
    // An endless script goes on meanwhile: its events are taken from the server's lines, not one by one.
    mServer->line("message", count);
    QVector<int> values;
    for (const QJsonObject& line : mServer->lines()) {
        if (line["event"].toString() == "message" && values.size() < count) {
            const QJsonObject sample = line["objects"].toArray()[0].toObject();
            const bool ours = sample["type"].toString() == kSample && sample["portNum"].toInt() == port;
            values.append(ours ? sample["sample"].toInt(-1) : -1);
        }
    }
    return values;
}

void TestExamples::theSineRisesFallsAndComesBack()
{
    run("sine.js", {{"STEP = 1000", "STEP = 5"}});
    const QVector<int> samples = firstSamples(1, 120);
    QCOMPARE(samples.size(), 120);
    const QVector<int> turn = samples.mid(0, 60);
    QCOMPARE(turn.mid(0, 17),
             QVector<int>({50, 54, 58, 62, 66, 70, 74, 77, 80, 82, 85, 87, 88, 89, 90, 90, 90}));
    QCOMPARE(*std::max_element(turn.begin(), turn.end()), 90);
    QCOMPARE(turn[30], 50);
    QCOMPARE(turn[45], 10);
    QCOMPARE(*std::min_element(turn.begin(), turn.end()), 10);
    QCOMPARE(samples.mid(60), turn);
}

void TestExamples::thePeopleAtTheDoorAreReportedWithTheirBadges()
{
    run("door.js", {{"SECOND = 1000", "SECOND = 1"}});
    const QStringList badges{"4711-ANNA", "4712-BORIS", "4713-CHLOE"};
    for (const QString& badge : badges) {
        const QJsonObject stray = nextEvent();
        QCOMPARE(stray["type"].toString(), QString(kScan));
        QCOMPARE(stray["portNum"].toInt(), 3);
        QVERIFY(stray["scanCode"].isNull());

        const QJsonObject scan = nextEvent();
        QCOMPARE(scan["type"].toString(), QString(kScan));
        QCOMPARE(scan["portNum"].toInt(), 2);
        QCOMPARE(scan["scanCode"].toString(), badge);

        const QJsonObject open = nextEvent();
        QCOMPARE(open["type"].toString(), QString(kDin));
        QCOMPARE(open["portId"].toInt(), 1);
        QCOMPARE(open["inputState"].toString(), QString("OBJ_IO_STATE_SET"));
        if (badge != badges.last()) {
            const QJsonObject closed = nextEvent();
            QCOMPARE(closed["type"].toString(), QString(kDin));
            QCOMPARE(closed["portId"].toInt(), 1);
            QCOMPARE(closed["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
        }
    }
    const QJsonObject note = nextEvent();
    QCOMPARE(note["type"].toString(), QString(kNote));
    QCOMPARE(note["portId"].toInt(), 7);
    QCOMPARE(note["eventLabel"].toString(), QString("door"));
    QCOMPARE(note["eventValue"].toString(), QString("held open"));

    // The trace ended at the first record without a code; the program goes on.
    QVERIFY(mSimulator->output().contains("Port 3\n"));
    QVERIFY(!mSimulator->output().contains("Port 2\n"));
    QCOMPARE(mServer->objects("get din 1")[0].toObject()["inputState"].toString(),
             QString("OBJ_IO_STATE_SET"));
}

void TestExamples::theRandomWalkIsTheSameAtEveryStart()
{
    const Changes quick{{"STEP = 1000", "STEP = 5"}};
    run("randomwalk.js", quick);
    const QVector<int> walk = firstSamples(2, 200);
    QCOMPARE(walk.size(), 200);
    QCOMPARE(walk.mid(0, 10), QVector<int>({45, 49, 44, 46, 41, 44, 43, 39, 35, 31}));
    for (int i = 1; i < walk.size(); ++i) {
        QVERIFY(walk[i] >= 0 && walk[i] <= 100);
        QVERIFY(std::abs(walk[i] - walk[i - 1]) <= 5);
    }

    // Another server, so that nothing of the first run is left over.
    cleanup();
    init();
    run("randomwalk.js", quick);
    QCOMPARE(firstSamples(2, 200), walk);
}

void TestExamples::anotherSeedWalksAnotherWay()
{
    run("randomwalk.js", {{"STEP = 1000", "STEP = 5"}, {"SEED = 2024;", "SEED = 2025;"}});
    const QVector<int> walk = firstSamples(2, 10);
    QCOMPARE(walk.size(), 10);
    QVERIFY(walk != QVector<int>({45, 49, 44, 46, 41, 44, 43, 39, 35, 31}));
}

void TestExamples::theMirrorBringsOutputsBackAsInputs()
{
    run("mirror.js", {});
    QVERIFY(!mServer->line("device").isEmpty());

    mServer->command("set dout 2 state=high");
    QJsonObject event = nextEvent();
    QCOMPARE(event["type"].toString(), QString(kDin));
    QCOMPARE(event["portId"].toInt(), 2);
    QCOMPARE(event["inputState"].toString(), QString("OBJ_IO_STATE_SET"));

    mServer->command("set aout 1 value=70.9");
    event = nextEvent();
    QCOMPARE(event["type"].toString(), QString(kSample));
    QCOMPARE(event["portNum"].toInt(), 1);
    QCOMPARE(event["sample"].toDouble(), 70.0);

    // Nothing was reported twice: the next event is the next change.
    mServer->command("set dout 2 state=low");
    event = nextEvent();
    QCOMPARE(event["type"].toString(), QString(kDin));
    QCOMPARE(event["portId"].toInt(), 2);
    QCOMPARE(event["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
}

void TestExamples::theTimetableIsCarriedOutRowByRow()
{
    run("timetable.js", {{"HOUR = 1000", "HOUR = 1"}});
    QStringList events;
    do {
        const QJsonObject event = nextEvent();
        const QString type = event["type"].toString();
        if (type == kDin) {
            events.append(
                QString("input %1 %2").arg(event["portId"].toInt()).arg(event["inputState"].toString()));
        } else if (type == kSample) {
            events.append(QString("sample %1 %2").arg(event["portNum"].toInt()).arg(event["sample"].toInt()));
        } else {
            events.append(QString("%1 %2 %3 %4")
                              .arg(type)
                              .arg(event["portId"].toInt())
                              .arg(event["eventLabel"].toString(), event["eventValue"].toString()));
        }
    } while (events.last().startsWith("input") || events.last().startsWith("sample"));
    QCOMPARE(events,
             QStringList({"input 3 OBJ_IO_STATE_SET", "sample 1 18", "sample 1 21",
                          "input 4 OBJ_IO_STATE_SET", "input 4 OBJ_IO_STATE_CLEAR", "sample 1 19",
                          "input 3 OBJ_IO_STATE_CLEAR", "OBJ_ADHOC_EVENT 1 timetable the day is over"}));
}

void TestExamples::everyExampleIsTested()
{
    QCOMPARE(QDir(EXAMPLES_DIRECTORY).entryList({"*.js"}, QDir::Files, QDir::Name),
             QStringList({"door.js", "mirror.js", "randomwalk.js", "sine.js", "timetable.js"}));
}

ZUL_QTEST_GUILESS(TestExamples)
#include "examples_test.moc"
