// A device that is steered by its control socket, as the real server sees it, and a server as the device
// tells of it.

#include "controlclient.h"
#include "programs.h"
#include "qttestmain.h"

#include <QScopedPointer>
#include <csignal>

class TestControl : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theServerSeesWhatAClientDoes();
    void aClientSeesWhatTheServerSets();
    void theServerMayGoAndComeAgain();
    void scriptsAndClientsWorkSideBySide();

private:
    void ask(const QByteArray& command);

    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Program> mSimulator;
    QScopedPointer<ControlClient> mClient;
};

void TestControl::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new Program);
    const QString path = mSimulator->home() + "/control";
    mSimulator->start(ZULBENCH_PROGRAM, {"--headless", "--din", "4", "--dout", "4", "--ain", "2", "--aout",
                                         "2", "--scanners", "2", "--serial", "1001", "--control", path,
                                         "--server", "127.0.0.1:" + QString::number(mServer->port())});
    QVERIFY(!mServer->line("device").isEmpty());
    mClient.reset(new ControlClient(path));
    ask("wait link up");
}

void TestControl::cleanup()
{
    ask("quit");
    QCOMPARE(mSimulator->waitForEnd(), 0);
    QVERIFY(!QFile::exists(mSimulator->home() + "/control"));
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
}

/// Asks for something that works.
void TestControl::ask(const QByteArray& command)
{
    const QJsonObject reply = mClient->ask(command);
    QVERIFY2(reply["status"] == "ok", QJsonDocument(reply).toJson());
}

void TestControl::theServerSeesWhatAClientDoes()
{
    ask("set din 2 high");
    QCOMPARE(mServer->command("expect event OBJ_PORT_DIN portId=2 inputState=OBJ_IO_STATE_SET")["status"],
             QJsonValue("ok"));
    ask("set ain 1 42");
    QCOMPARE(mServer->command("expect event OBJ_ANALOG_SAMPLE portNum=1 sample=42")["status"],
             QJsonValue("ok"));
    ask("scan 2 \"4711 ANN\u00c4\"");
    QCOMPARE(mServer->command("expect event OBJ_ACCESS portNum=2 scanCode=\"4711 ANN\u00c4\"")["status"],
             QJsonValue("ok"));
    ask(R"(adhoc 7 "front door" "forced=open")");
    QCOMPARE(mServer->command(R"(expect event OBJ_ADHOC_EVENT portId=7 eventValue="forced=open")")["status"],
             QJsonValue("ok"));
}

void TestControl::aClientSeesWhatTheServerSets()
{
    QCOMPARE(mServer->command("set dout 1 state=high")["status"], QJsonValue("ok"));
    ask("expect event OBJ_PORT_DOUT portId=1 outputState=OBJ_IO_STATE_SET");
    ask("expect get dout 1 outputState=OBJ_IO_STATE_SET portStatus=OBJ_STATUS_ALARM_SET");
    QCOMPARE(mServer->command("set ain 2 rate=5 gain=2")["status"], QJsonValue("ok"));
    ask("expect get ain 2 sampleRate=5 gain=2");
}

void TestControl::theServerMayGoAndComeAgain()
{
    const int port = mServer->port();
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    ask("wait link down");
    ask("set din 1 high");
    QCOMPARE(mClient->ask("get link")["link"].toObject()["waiting"], QJsonValue(1));
    mServer.reset(new ServerProgram({"--port", QString::number(port)}));
    QVERIFY(mServer->isListening());
    ask("wait link up timeout=60");
    QVERIFY(!mServer->line("message").isEmpty());
}

void TestControl::scriptsAndClientsWorkSideBySide()
{
    const QByteArray path = QFile::encodeName(mSimulator->write(
        "script.js", "for (var i = 1; i <= 200; ++i) receiver.setAnalogInput_Slot(1, i % 100);"));
    ask("script \"" + path + '"');
    ControlClient second(mSimulator->home() + "/control");
    for (int i = 0; i < 200; ++i) {
        ask(i % 2 == 0 ? "set din 1 high" : "set din 1 low");
        QCOMPARE(second.status("get ain 1"), QString("ok"));
    }
    ask("wait scripts timeout=60");
    QCOMPARE(mClient->object("get ain 1")["value"], QJsonValue(0));
}

ZUL_QTEST_GUILESS(TestControl)
#include "control_test.moc"
