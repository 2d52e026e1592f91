// What an operator does in the window, as the real server sees it.

#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "mainwindow.h"
#include "programs.h"
#include "qttestmain.h"

#include <csignal>
#include <iostream>

namespace {

/// The row of the panel that bears the 1-based number.
template <class Row>
Row* row(const MainWindow& window, int number)
{
    const QList<Row*> rows = window.device()->findChildren<Row*>();
    return rows.value(number - 1);
}

void press(QWidget* within) { QTest::mouseClick(within->findChild<QPushButton*>(), Qt::LeftButton); }

} // namespace

class TestOperator : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anInputThatIsSetIsReported();
    void aSliderThatIsMovedIsReported();
    void aScanIsReportedAsTheNextScanners();
    void anAdHocEventIsReported();
    void anOutputThatTheServerSetsIsShown();
    void aRateThatTheServerSetsIsUsed();
    void aSampleIsFetchedUntilItIsOverwritten();
    void eventsOfAnOutageArriveInOrder();
    void aReloadClosesTheLinkFirst();

private:
    /// Types @p command at the server while the window goes on.
    QJsonObject command(const QString& command) { return mServer->command(command); }
    QJsonObject nextEvent(const QString& type);

    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<QTemporaryDir> mFiles;
    QScopedPointer<MainWindow> mWindow;
    QString write(const QString& name, const QByteArray& content);
};

QString TestOperator::write(const QString& name, const QByteArray& content)
{
    QFile file(mFiles->filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("%s cannot be written", qPrintable(file.fileName()));
    }
    return file.fileName();
}

QJsonObject TestOperator::nextEvent(const QString& type)
{
    const QJsonObject reply = command("wait event " + type + " timeout=30");
    return reply["objects"].toArray()[0].toObject();
}

void TestOperator::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mFiles.reset(new QTemporaryDir);
    mWindow.reset(new MainWindow(nullptr));
    QVERIFY(mWindow->openDeviceFile(write("test.dev", deviceFile(3, 3, 3, 3, 3))));
    QVERIFY(mWindow->openConnectionFile(write("test.con", connectionFile(mServer->port()))));
    mWindow->show();
    QVERIFY(!mWindow->connectToServer());
    QVERIFY(!mServer->line("device").isEmpty());
}

void TestOperator::cleanup()
{
    mWindow.reset();
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    mServer.reset();
}

void TestOperator::anInputThatIsSetIsReported()
{
    auto* state = row<cDInput>(*mWindow, 3)->findChild<QComboBox*>();
    state->setCurrentIndex(1);
    QJsonObject input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["portId"].toInt(), 3);
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_SET"));
    QCOMPARE(input["portStatus"].toString(), QString("OBJ_STATUS_ALARM_SET"));
    state->setCurrentIndex(0);
    input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
    QCOMPARE(input["portStatus"].toString(), QString("OBJ_STATUS_ALARM_CLEAR"));
    const QJsonObject message = mServer->line("message");
    QCOMPARE(message["msgType"].toInt(), 3);
    QCOMPARE(message["msgSeq"].toInt(), 1);
    QCOMPARE(message["deviceSerial"].toInt(), 1001);
}

void TestOperator::aSliderThatIsMovedIsReported()
{
    row<cAInput>(*mWindow, 2)->findChild<QSlider*>()->setValue(73);
    const QJsonObject sample = nextEvent("OBJ_ANALOG_SAMPLE");
    QCOMPARE(sample["deviceSerial"].toInt(), 1001);
    QCOMPARE(sample["portNum"].toInt(), 2);
    QCOMPARE(sample["sample"].toDouble(), 73.0);
    QCOMPARE(sample["seqNum"].toInt(), 0);
}

void TestOperator::aScanIsReportedAsTheNextScanners()
{
    auto* second = row<cAccess>(*mWindow, 2);
    second->findChild<QLineEdit*>()->setText("CARD-2");
    press(second);
    QJsonObject scan = nextEvent("OBJ_ACCESS");
    QCOMPARE(scan["portNum"].toInt(), 3);
    QCOMPARE(scan["label"].toString(), QString("SCANNER 3"));
    QVERIFY(scan["scanCode"].isNull());

    press(row<cAccess>(*mWindow, 1));
    scan = nextEvent("OBJ_ACCESS");
    QCOMPARE(scan["portNum"].toInt(), 2);
    QCOMPARE(scan["label"].toString(), QString("SCANNER 2"));
    QCOMPARE(scan["scanCode"].toString(), QString("CARD-2"));
    QCOMPARE(scan["deviceSerial"].toInt(), 1001);
    std::cout.clear();
}

void TestOperator::anAdHocEventIsReported()
{
    auto* editor = row<cAdHocEvent>(*mWindow, 1);
    editor->findChild<QSpinBox*>()->setValue(10);
    // The id's own line edit is a child of the spin box.
    const QList<QGroupBox*> groups = editor->findChildren<QGroupBox*>();
    groups[1]->findChild<QLineEdit*>()->setText("door");
    groups[2]->findChild<QLineEdit*>()->setText("opened \xC3\xA9");
    press(editor);
    const QJsonObject event = nextEvent("OBJ_ADHOC_EVENT");
    QCOMPARE(event["deviceSerial"].toInt(), 1001);
    QCOMPARE(event["portId"].toInt(), 10);
    QCOMPARE(event["eventLabel"].toString(), QString("door"));
    QVERIFY(event["eventValue"].toString().startsWith("opened "));
}

void TestOperator::anOutputThatTheServerSetsIsShown()
{
    command("set dout 2 state=high");
    command("set aout 3 value=57.9");
    const auto* output = row<cDOutput>(*mWindow, 2);
    QCOMPARE(output->findChildren<QLabel*>().last()->text(), QString("HIGH"));
    QCOMPARE(output->palette().color(QPalette::Window), QColor(Qt::red));
    QCOMPARE(row<cAOutput>(*mWindow, 3)->findChild<QProgressBar*>()->value(), 57);
    QCOMPARE(row<cAOutput>(*mWindow, 1)->findChild<QProgressBar*>()->value(), 0);
}

void TestOperator::aRateThatTheServerSetsIsUsed()
{
    row<cAInput>(*mWindow, 1)->findChild<QSlider*>()->setValue(40);
    nextEvent("OBJ_ANALOG_SAMPLE");
    command("set ain 1 rate=0");
    const QJsonObject first = nextEvent("OBJ_ANALOG_SAMPLE");
    QCOMPARE(first["portNum"].toInt(), 1);
    QCOMPARE(first["sample"].toDouble(), 40.0);
    QCOMPARE(first["seqNum"].toInt(), 1);
    QCOMPARE(nextEvent("OBJ_ANALOG_SAMPLE")["seqNum"].toInt(), 2);
}

void TestOperator::aSampleIsFetchedUntilItIsOverwritten()
{
    auto* input = row<cAInput>(*mWindow, 1);
    time_t now = time(nullptr);
    const auto sampleOnce = [&] { input->checkSample(now += 601); };
    for (int i = 0; i < 32; ++i) {
        sampleOnce();
    }
    QCOMPARE(mServer->objects("get sample 1 1").size(), 1);
    sampleOnce();
    QCOMPARE(mServer->objects("get sample 1 1").size(), 0);
    const QJsonObject latest = mServer->objects("get sample 1 33")[0].toObject();
    QCOMPARE(latest["seqNum"].toInt(), 33);
    QCOMPARE(latest["portNum"].toInt(), 1);
}

void TestOperator::eventsOfAnOutageArriveInOrder()
{
    const int port = mServer->port();
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    auto* slider = row<cAInput>(*mWindow, 1)->findChild<QSlider*>();
    for (int value = 1; value <= 50; ++value) {
        slider->setValue(value);
    }
    mServer.reset(new ServerProgram({"--port", QString::number(port)}));
    QVERIFY(!mServer->line("device").isEmpty());
    QVERIFY(!mServer->line("message", 49).isEmpty());
    double last = 0;
    for (const QJsonObject& line : mServer->lines()) {
        if (line["event"].toString() == "message") {
            const double sample = line["objects"].toArray()[0].toObject()["sample"].toDouble();
            QVERIFY(sample > last);
            last = sample;
        }
    }
    QCOMPARE(nextEvent("OBJ_ANALOG_SAMPLE")["portNum"].toInt(), 1);
}

void TestOperator::aReloadClosesTheLinkFirst()
{
    QVERIFY(mWindow->openDeviceFile(write("other.dev", deviceFile(1, 1, 1, 1, 1, "2002", "Other"))));
    QCOMPARE(mServer->line("disconnected")["deviceSerial"].toInt(), 1001);
    QVERIFY(!mWindow->connectToServer());
    QCOMPARE(mServer->line("device", 2)["deviceSerial"].toInt(), 2002);
    QCOMPARE(mServer->objects("get din *").size(), 1);
}

ZUL_QTEST(TestOperator)
#include "operator_test.moc"
