#include "caccess.h"
#include "ccontrolserver.h"
#include "cdinput.h"
#include "controlclient.h"
#include "qttestmain.h"
#include "scriptedwindow.h"

#include <QLocalServer>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const Counts kCounts{3, 3, 2, 2, 2};

/// A window with a device, and a control socket by which it is steered.
class Controlled
{
public:
    explicit Controlled(const Counts& counts = kCounts) : mRun(counts), mControl(&mRun.window())
    {
        mRun.window().whenDeviceIsReplaced([this] { mControl.deviceReplaced(); });
        QObject::connect(&mRun.window().scripts(), &cScripts::scriptChanged, &mControl,
                         &cControlServer::scriptChanged);
        const std::string problem = mControl.makeSocket(QFile::encodeName(path()).toStdString());
        if (!problem.empty() || !mControl.listen()) {
            qFatal("%s", problem.c_str());
        }
    }

    QString path() const { return mRun.home().path() + "/control"; }
    ScriptedWindow& run() { return mRun; }
    cDevice& device() { return mRun.device(); }
    cControlServer& control() { return mControl; }
    TestServer& server() { return mServer; }
    QByteArray address() const { return "127.0.0.1:" + QByteArray::number(mServer.port()); }

private:
    mutable ScriptedWindow mRun;
    TestServer mServer;
    cControlServer mControl;
};

/// What tells the lines of a client apart: the event, and of what.
QString brief(const QJsonObject& line)
{
    const QJsonObject object = line["object"].toObject();
    const QString what = object["portLabel"].toString() + line["command"].toString() +
                         line["state"].toString() +
                         (line["event"] == "set" ? object["type"].toString() : QString());
    return line["event"].toString() + (what.isEmpty() ? "" : ' ' + what);
}

/// The next @p count lines of @p client.
QStringList lines(ControlClient& client, int count)
{
    QStringList found;
    for (int i = 0; i < count; ++i) {
        found.append(brief(client.next()));
    }
    return found;
}

} // namespace

/// The device as clients of the control socket steer and watch it.
class TestControlSocket : public QObject
{
    Q_OBJECT

private slots:
    // The socket.
    void theSocketIsForItsOwnerAlone();
    void aLeftOverSocketIsReplaced();
    void aLivingSocketIsAnError();
    void aPathThatCannotBeIsOneSentence_data();
    void aPathThatCannotBeIsOneSentence();
    void theSocketIsGoneAfterwards();

    // The language.
    void everyLineGetsOneReply();
    void aReplyHasTheMembersOfTheServers();
    void commentsAndBlankLinesAreSkipped();
    void aLineInPiecesIsOneLine();
    void theLastLineNeedsNoEnd();
    void aBadLineIsAnErrorAndTheNextIsRun();
    void helpIsInTheReply();

    // Commands.
    void getShowsTheRecords();
    void getLinkShowsTheLink();
    void setActsAsTheOperatorDoes();
    void aValueThatStaysSendsASampleOfAnAnalogInputOnly();
    void scanReportsThisScanner();
    void adhocReportsItsTexts();
    void wireAndUnwireAreSo();
    void aWireStandsOnceAfterAScriptToo();
    void aWrongPortIsAnError_data();
    void aWrongPortIsAnError();
    void connectAnswersWhenTheLinkIsUp();
    void connectFailsWhileTheLinkKeepsTrying();
    void connectNeedsAServer();
    void eventsWaitWhileDisconnected();
    void loadPutsAnotherDeviceInPlace();
    void loadOfNoDeviceIsAnError_data();
    void loadOfNoDeviceIsAnError();
    void aScriptTellsItsCourse();
    void aScriptWithASyntaxErrorFailsWithItsLine();
    void expectGetWaitsUntilItIsSo();
    void expectGetFailsWithWhatCameInstead();
    void expectEventTakesWhatTheServerSet();
    void expectNoEventFailsAtOne();
    void forgetDropsWhatCameBefore();
    void sleepDelaysTheNextCommandOfThisClientOnly();
    void waitTimesOut();
    void quitAsksTheProgramToEnd();

    // Events.
    void aSetComesBeforeItsChangesAndTheseBeforeTheReply();
    void everyClientGetsEveryEvent();
    void aClientRemembersEventsFromItsConnectingOn();

    // Clients that misbehave.
    void aClientThatEndsItsSideGetsItsReplies();
    void aClientThatGoesInTheMiddleOfALineIsForgotten();
    void aClientThatGoesWhileItsCommandRunsIsForgotten();
    void aClientThatDoesNotReadIsDropped();
    void aFloodIsAnsweredInOrder();
};

void TestControlSocket::theSocketIsForItsOwnerAlone()
{
    const Controlled controlled;
    struct stat status = {};
    QCOMPARE(lstat(QFile::encodeName(controlled.path()).constData(), &status), 0);
    QVERIFY(S_ISSOCK(status.st_mode));
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

void TestControlSocket::aLeftOverSocketIsReplaced()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("control");
    const int left = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    QCOMPARE(bind(left, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(left);
    ScriptedWindow run(kCounts);
    cControlServer control(&run.window());
    QCOMPARE(control.makeSocket(path.toStdString()), std::string());
    QVERIFY(!ControlClient(path).isConnected());
    QVERIFY(control.listen());
    ControlClient client(path);
    QCOMPARE(client.status("get device"), QString("ok"));
}

void TestControlSocket::aLivingSocketIsAnError()
{
    Controlled controlled;
    cControlServer second(&controlled.run().window());
    const std::string path = controlled.path().toStdString();
    QCOMPARE(second.makeSocket(path),
             "the control socket '" + path + "' could not be made: another program listens there");
    ControlClient client(controlled.path());
    QCOMPARE(client.status("get device"), QString("ok"));
}

void TestControlSocket::aPathThatCannotBeIsOneSentence_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("empty") << ""
                           << "the path is empty";
    QTest::newRow("too long") << QString(108, 'x') << "the path is longer than 107 bytes";
    QTest::newRow("missing folder") << "/missing/folder/control"
                                    << "No such file or directory";
    QTest::newRow("a file") << "/etc/passwd"
                            << "a file that is no socket is there";
    QTest::newRow("a folder") << "/tmp"
                              << "a file that is no socket is there";
}

void TestControlSocket::aPathThatCannotBeIsOneSentence()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    ScriptedWindow run(kCounts);
    cControlServer control(&run.window());
    QCOMPARE(QString::fromStdString(control.makeSocket(path.toStdString())),
             "the control socket '" + path + "' could not be made: " + reason);
}

void TestControlSocket::theSocketIsGoneAfterwards()
{
    QString path;
    ScriptedWindow run(kCounts);
    {
        cControlServer control(&run.window());
        path = run.home().path() + "/control";
        QCOMPARE(control.makeSocket(path.toStdString()), std::string());
        QVERIFY(QFileInfo::exists(path));
    }
    QVERIFY(!QFileInfo::exists(path));
}

void TestControlSocket::everyLineGetsOneReply()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.sendBytes("get device\nnothing\nsleep 0\nget din 9\n");
    QCOMPARE(lines(client, 4),
             QStringList({"reply get device", "reply nothing", "reply sleep 0", "reply get din 9"}));
}

void TestControlSocket::aReplyHasTheMembersOfTheServers()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    const QJsonObject reply = client.ask("  get device ");
    QCOMPARE(reply.keys(),
             QStringList({"command", "event", "msgType", "objects", "seconds", "status", "time"}));
    QCOMPARE(reply["command"], QJsonValue("get device"));
    QVERIFY(reply["seconds"].isDouble());
    QVERIFY(reply["time"].toDouble() > 1.0e9);
    const QJsonObject error = client.ask("get door");
    QCOMPARE(error["status"], QJsonValue("error"));
    QCOMPARE(error["error"], QJsonValue("There is no \"door\" to get."));
}

void TestControlSocket::commentsAndBlankLinesAreSkipped()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.sendBytes("# a comment\n\n  \t\n\r\nget device\r\n");
    QCOMPARE(brief(client.next()), QString("reply get device"));
}

void TestControlSocket::aLineInPiecesIsOneLine()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    for (const char byte : QByteArray("get device\n")) {
        client.sendBytes(QByteArray(1, byte));
        QCoreApplication::processEvents();
    }
    QCOMPARE(brief(client.next()), QString("reply get device"));
}

void TestControlSocket::theLastLineNeedsNoEnd()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.sendBytes("sleep 0.01\nget device");
    QVERIFY(client.isConnected());
    QCOMPARE(::shutdown(static_cast<int>(client.socket().socketDescriptor()), SHUT_WR), 0);
    QCOMPARE(lines(client, 2), QStringList({"reply sleep 0.01", "reply get device"}));
}

void TestControlSocket::aBadLineIsAnErrorAndTheNextIsRun()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.sendBytes("scan 1 " + QByteArray(4993, 'x') + "\nscan 1 \xff\nget device\n");
    QCOMPARE(client.next()["error"], QJsonValue("The command is longer than 4096 bytes."));
    QCOMPARE(client.next()["error"], QJsonValue("The command is not UTF-8."));
    QCOMPARE(client.next()["status"], QJsonValue("ok"));
}

void TestControlSocket::helpIsInTheReply()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.ask("help")["text"], QJsonValue(QString::fromStdString(controlHelp())));
}

void TestControlSocket::getShowsTheRecords()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.object("get device")["deviceLabel"], QJsonValue("Panel"));
    QCOMPARE(client.ask("get capability")["objects"].toArray().size(), 4);
    for (const auto& [kind, count] :
         {std::pair("din", 3), {"dout", 3}, {"ain", 2}, {"aout", 2}, {"scanner", 2}}) {
        const QByteArray command = QByteArray("get ") + kind;
        QCOMPARE(client.ask(command)["objects"].toArray().size(), count);
        QCOMPARE(client.ask(command + " *")["objects"].toArray().size(), count);
        QCOMPARE(client.ask(command + " 2")["objects"].toArray().size(), 1);
    }
    QCOMPARE(client.object("get din 2")["portId"], QJsonValue(2));
    QCOMPARE(client.object("get scanner 2")["portNum"], QJsonValue(2));
    controlled.device().setAnalogInput_Slot(2, 42);
    QCOMPARE(client.object("get ain 2")["value"], QJsonValue(42));
}

void TestControlSocket::getLinkShowsTheLink()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QJsonObject link = client.ask("get link")["link"].toObject();
    QCOMPARE(link["state"], QJsonValue("off"));
    QVERIFY(link["server"].isNull());
    QCOMPARE(link.keys(), QStringList({"dropped", "server", "since", "state", "waiting"}));
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    link = client.ask("get link")["link"].toObject();
    QCOMPARE(link["state"], QJsonValue("up"));
    QCOMPARE(link["server"], QJsonValue(QString(controlled.address())));
    QVERIFY(std::abs(link["since"].toDouble() - static_cast<double>(time(nullptr))) < 60.0);
}

void TestControlSocket::setActsAsTheOperatorDoes()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    controlled.device().connectDigitalInput_Slot(1, 2, true);
    controlled.device().connectAnalogInput_Slot(2, 2, true);
    QCOMPARE(client.status("set din 1 high"), QString("ok"));
    const TestServer::Received event = controlled.server().next();
    QVERIFY(event.list && event.event && event.object<cObjectDInput>(0) != nullptr);
    QCOMPARE(event.object<cObjectDInput>(0)->getInputState(), cObject::OBJ_IO_STATE_SET);
    QCOMPARE(controlled.device().getDigitalOutputValue(2), 1);
    QCOMPARE(client.status("set ain 2 42"), QString("ok"));
    const TestServer::Received sample = controlled.server().next();
    QVERIFY(sample.list && sample.object<cObjectAnalogSample>(0) != nullptr);
    QCOMPARE(sample.object<cObjectAnalogSample>(0)->getSample(), 42.0F);
    QCOMPARE(controlled.device().getAnalogOutputValue(2), 42);
}

void TestControlSocket::aValueThatStaysSendsASampleOfAnAnalogInputOnly()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    client.sendBytes("set din 1 low\nset ain 1 0\n");
    QCOMPARE(lines(client, 2), QStringList({"reply set din 1 low", "reply set ain 1 0"}));
    const TestServer::Received sample = controlled.server().next();
    QVERIFY(sample.list && sample.object<cObjectAnalogSample>(0) != nullptr);
    QVERIFY(controlled.server().received().empty());
}

void TestControlSocket::scanReportsThisScanner()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    for (const uint32_t scanner : {1U, 2U}) {
        const QByteArray command = "scan " + QByteArray::number(scanner) + " \"4711 ANN\u00c4\"";
        QCOMPARE(client.status(command), QString("ok"));
        const TestServer::Received event = controlled.server().next();
        QVERIFY(event.list && event.object<cObjectAccess>(0) != nullptr);
        QCOMPARE(event.object<cObjectAccess>(0)->getPortNum(), scanner);
        QCOMPARE(event.object<cObjectAccess>(0)->getScanCode(), "4711 ANN\u00c4");
    }
    QCOMPARE(panelview::row<cAccess>(controlled.device(), panelview::ACCESS, 1)->getPortNum(), 1U);
}

void TestControlSocket::adhocReportsItsTexts()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    QCOMPARE(client.status(R"(adhoc 7 "front door" "forced=open")"), QString("ok"));
    const TestServer::Received event = controlled.server().next();
    QVERIFY(event.list && event.object<cObjectAdhocEvent>(0) != nullptr);
    QCOMPARE(event.object<cObjectAdhocEvent>(0)->getPortId(), 7U);
    QCOMPARE(event.object<cObjectAdhocEvent>(0)->getEventLabel(), "front door");
    QCOMPARE(event.object<cObjectAdhocEvent>(0)->getEventValue(), "forced=open");
    QCOMPARE(controlled.run().told(), QString("forced=open"));
}

void TestControlSocket::wireAndUnwireAreSo()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("wire din 1 3"), QString("ok"));
    QCOMPARE(client.status("wire din 1 3"), QString("ok"));
    QCOMPARE(controlled.device().getInput(0)->getOutputCount(), 1);
    QCOMPARE(controlled.device().getDigitalOutputValue(3), 0);
    QCOMPARE(client.status("set din 1 high"), QString("ok"));
    QCOMPARE(controlled.device().getDigitalOutputValue(3), 1);
    QCOMPARE(client.ask("wire din 2 3")["error"], QJsonValue("Another input drives digital output 3."));
    QCOMPARE(client.status("unwire din 1 3"), QString("ok"));
    QCOMPARE(client.status("unwire din 1 3"), QString("ok"));
    QCOMPARE(controlled.device().getInput(0)->getOutputCount(), 0);
    QCOMPARE(client.status("set din 1 low"), QString("ok"));
    QCOMPARE(controlled.device().getDigitalOutputValue(3), 1);
    QCOMPARE(client.status("wire din 2 3"), QString("ok"));
}

void TestControlSocket::aWireStandsOnceAfterAScriptToo()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    controlled.device().connectDigitalInput_Slot(1, 2, true);
    QCOMPARE(client.status("wire din 1 2"), QString("ok"));
    QCOMPARE(controlled.device().getInput(0)->getOutputCount(), 1);
    QCOMPARE(client.status("unwire din 1 2"), QString("ok"));
    QCOMPARE(controlled.device().getInput(0)->getOutputCount(), 0);
}

void TestControlSocket::aWrongPortIsAnError_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* command, const char* error) {
        QTest::newRow(command) << QByteArray(command) << QString(error);
    };
    row("get din 4", "There is no digital input 4: the device has 3.");
    row("get dout 4294967295", "There is no digital output 4294967295: the device has 3.");
    row("get ain 3", "There is no analog input 3: the device has 2.");
    row("get aout 3", "There is no analog output 3: the device has 2.");
    row("get scanner 3", "There is no scanner 3: the device has 2.");
    row("set din 4 high", "There is no digital input 4: the device has 3.");
    row("set din 4294967295 high", "There is no digital input 4294967295: the device has 3.");
    row("set ain 3 1", "There is no analog input 3: the device has 2.");
    row("scan 3 x", "There is no scanner 3: the device has 2.");
    row("wire din 4 1", "There is no digital input 4: the device has 3.");
    row("wire din 1 4", "There is no digital output 4: the device has 3.");
    row("unwire ain 3 1", "There is no analog input 3: the device has 2.");
    row("wire ain 1 3", "There is no analog output 3: the device has 2.");
    row("expect get din 4 portId=4", "There is no digital input 4: the device has 3.");
}

void TestControlSocket::aWrongPortIsAnError()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, error);
    Controlled controlled;
    ControlClient client(controlled.path());
    const QJsonObject reply = client.ask(command);
    QCOMPARE(reply["status"], QJsonValue("error"));
    QCOMPARE(reply["error"], QJsonValue(error));
}

void TestControlSocket::connectAnswersWhenTheLinkIsUp()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.send("connect " + controlled.address());
    QCOMPARE(lines(client, 3),
             QStringList({"link down", "link up", "reply connect " + controlled.address()}));
    QCOMPARE(client.status("connect"), QString("ok"));
    QCOMPARE(controlled.server().connections(), 1);
    TestServer other;
    QCOMPARE(client.status("connect 127.0.0.1:" + QByteArray::number(other.port())), QString("ok"));
    QTRY_COMPARE(other.connections(), 1);
    QCOMPARE(client.status("disconnect"), QString("ok"));
    QCOMPARE(client.status("wait link down"), QString("ok"));
    QCOMPARE(client.ask("get link")["link"].toObject()["state"], QJsonValue("off"));
    QTRY_VERIFY(!other.hasClient());
}

void TestControlSocket::connectFailsWhileTheLinkKeepsTrying()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    quint16 port = 0;
    {
        const TestServer closed;
        port = closed.port();
    }
    const QJsonObject reply = client.ask("connect 127.0.0.1:" + QByteArray::number(port) + " timeout=0.2");
    QCOMPARE(reply["status"], QJsonValue("failed"));
    QCOMPARE(reply["error"], QJsonValue("The link did not come up within 0.2 seconds."));
    QCOMPARE(client.ask("get link")["link"].toObject()["state"], QJsonValue("down"));
    TestServer server(port);
    QVERIFY(server.isListening());
    QCOMPARE(client.status("wait link up timeout=30"), QString("ok"));
}

void TestControlSocket::connectNeedsAServer()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.ask("connect")["error"], QJsonValue("No server is known: the command needs HOST:PORT."));
    QCOMPARE(client.status("disconnect"), QString("ok"));
}

void TestControlSocket::eventsWaitWhileDisconnected()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    QCOMPARE(client.status("disconnect"), QString("ok"));
    QCOMPARE(client.status("set ain 1 42"), QString("ok"));
    QCOMPARE(client.ask("get link")["link"].toObject()["waiting"], QJsonValue(1));
    QCOMPARE(client.status("connect"), QString("ok"));
    QVERIFY(controlled.server().next().object<cObjectAnalogSample>(0) != nullptr);
}

void TestControlSocket::loadPutsAnotherDeviceInPlace()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    controlled.run().run("for (;;) {}");
    QTRY_COMPARE(controlled.run().window().runningScripts(), size_t{1});
    const QByteArray path =
        QFile::encodeName(controlled.run().home().write("other.dev", deviceText({7, 1, 1, 1, 1})));
    QCOMPARE(client.status("load \"" + path + '"'), QString("ok"));
    QCOMPARE(controlled.run().window().runningScripts(), size_t{0});
    QCOMPARE(client.ask("get din")["objects"].toArray().size(), 7);
    QTRY_COMPARE(controlled.server().connections(), 2);
    QCOMPARE(client.status("wait link up"), QString("ok"));
    client.send("set din 7 high");
    QCOMPARE(client.next("changed")["object"].toObject()["portLabel"], QJsonValue("INPUT 7"));
    client.next("reply");
    QCOMPARE(client.status("disconnect"), QString("ok"));
    QCOMPARE(client.status("load \"" + path + '"'), QString("ok"));
    QCOMPARE(client.ask("get link")["link"].toObject()["state"], QJsonValue("off"));
}

void TestControlSocket::loadOfNoDeviceIsAnError_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing.dev";
    QTest::newRow("a folder") << ".";
    QTest::newRow("a pipe") << "pipe";
    QTest::newRow("too many ports") << "many.dev";
}

void TestControlSocket::loadOfNoDeviceIsAnError()
{
    QFETCH(QString, name);
    Controlled controlled;
    const HomeFiles& home = controlled.run().home();
    home.write("many.dev", deviceText({100001, 0, 0, 0, 0}));
    QCOMPARE(mkfifo(QFile::encodeName(home.pathOf("pipe")).constData(), 0600), 0);
    ControlClient client(controlled.path());
    const QString path = home.pathOf(name);
    QCOMPARE(client.ask("load \"" + path.toUtf8() + '"')["error"],
             QJsonValue("The device file \"" + path + "\" could not be opened."));
    QCOMPARE(client.ask("get din")["objects"].toArray().size(), 3);
}

void TestControlSocket::aScriptTellsItsCourse()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    const QString path = controlled.run().home().write("good.js", "receiver.setDigitalInput_Slot(1, 1);");
    QCOMPARE(client.ask("script \"" + path.toUtf8() + "\" one two")["status"], QJsonValue("ok"));
    QCOMPARE(client.next("script")["state"], QJsonValue("ended"));
    QCOMPARE(client.status("wait scripts"), QString("ok"));
    const QString bad = controlled.run().home().write("bad.js", "\nthrow Error('no');");
    client.send("script \"" + bad.toUtf8() + '"');
    QJsonObject line = client.next("script");
    QCOMPARE(line["state"], QJsonValue("started"));
    QCOMPARE(line["file"], QJsonValue(bad));
    line = client.next("script");
    QCOMPARE(line["state"], QJsonValue("failed"));
    QCOMPARE(line["line"], QJsonValue(2));
    QVERIFY(line["error"].toString().contains("no"));
    QCOMPARE(client.ask("script /missing.js")["error"],
             QJsonValue("The script file \"/missing.js\" could not be opened."));
}

void TestControlSocket::aScriptWithASyntaxErrorFailsWithItsLine()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    const QString path = controlled.run().home().write("bad.js", "var a;\nvar var;\n");
    client.send("script \"" + path.toUtf8() + '"');
    const QJsonObject line = client.next("script");
    QCOMPARE(line["state"], QJsonValue("failed"));
    QCOMPARE(line["line"], QJsonValue(2));
    const QJsonObject reply = client.next("reply");
    QCOMPARE(reply["status"], QJsonValue("failed"));
    QCOMPARE(reply["line"], QJsonValue(2));
    QVERIFY(reply["error"].toString().startsWith("Line 2: "));
}

void TestControlSocket::expectGetWaitsUntilItIsSo()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("expect get din 1 inputState=OBJ_IO_STATE_CLEAR"), QString("ok"));
    client.send("expect get ain 2 value=42 within=30");
    ControlClient other(controlled.path());
    QCOMPARE(other.status("set ain 2 41"), QString("ok"));
    QCOMPARE(other.status("set ain 2 42"), QString("ok"));
    const QJsonObject reply = client.next("reply");
    QCOMPARE(reply["status"], QJsonValue("ok"));
    QCOMPARE(reply["objects"].toArray()[0].toObject()["value"], QJsonValue(42));
}

void TestControlSocket::expectGetFailsWithWhatCameInstead()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    const QJsonObject reply = client.ask("expect get din 1 inputState=OBJ_IO_STATE_SET within=0.05");
    QCOMPARE(reply["status"], QJsonValue("failed"));
    QCOMPARE(reply["error"],
             QJsonValue("No answer had an OBJ_PORT_DIN with inputState=OBJ_IO_STATE_SET within 0.05 seconds; "
                        "1 answer came, the last one with inputState=OBJ_IO_STATE_CLEAR."));
}

void TestControlSocket::expectEventTakesWhatTheServerSet()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    cObjectDOutput first;
    first.setPortId(1);
    first.setDeviceSerial(1001);
    first.setOutputState(cObject::OBJ_IO_STATE_SET);
    cObjectDOutput second;
    second.setPortId(2);
    second.setDeviceSerial(1001);
    second.setOutputState(cObject::OBJ_IO_STATE_SET);
    controlled.server().send(cObjectList::kSet, 1, {&first, &second});
    for (const char* port : {"1", "2"}) {
        const QJsonObject reply = client.ask(QByteArray("expect event OBJ_PORT_DOUT portId=") + port);
        QCOMPARE(reply["status"], QJsonValue("ok"));
        QCOMPARE(reply["objects"].toArray()[0].toObject()["portId"], QJsonValue(QByteArray(port).toInt()));
    }
    controlled.server().send(cObjectList::kSet, 2, {&second});
    const QJsonObject reply = client.ask("expect event OBJ_PORT_DOUT portId=1 within=0.2");
    QCOMPARE(reply["status"], QJsonValue("failed"));
    QCOMPARE(reply["error"],
             QJsonValue("No event OBJ_PORT_DOUT with portId=1 came within 0.2 seconds; 1 message with "
                        "OBJ_PORT_DOUT came instead, the last one with portId=2."));
    QCOMPARE(reply["came"].toArray()[0].toObject()["object"].toObject()["portId"], QJsonValue(2));
}

void TestControlSocket::expectNoEventFailsAtOne()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    QCOMPARE(client.status("expect no event within=0.05"), QString("ok"));
    client.send("expect no event OBJ_PORT_AOUT within=30");
    cObjectAOutput output;
    output.setDeviceSerial(1001);
    output.setPortId(1);
    output.setSampledValue(5.0F);
    controlled.server().send(cObjectList::kSet, 1, {&output});
    QCOMPARE(client.next("reply")["status"], QJsonValue("failed"));
}

void TestControlSocket::forgetDropsWhatCameBefore()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    cObjectDOutput output;
    output.setDeviceSerial(1001);
    output.setPortId(1);
    controlled.server().send(cObjectList::kSet, 1, {&output});
    QVERIFY(!client.next("set").isEmpty());
    QCOMPARE(client.status("forget"), QString("ok"));
    QCOMPARE(client.ask("expect event within=0.05")["error"],
             QJsonValue("No event came within 0.05 seconds; nothing else came."));
}

void TestControlSocket::sleepDelaysTheNextCommandOfThisClientOnly()
{
    Controlled controlled;
    ControlClient sleeping(controlled.path());
    sleeping.sendBytes("sleep 0.3\nset din 1 high\n");
    ControlClient other(controlled.path());
    QCOMPARE(other.status("set din 2 high"), QString("ok"));
    QCOMPARE(lines(sleeping, 4),
             QStringList({"changed INPUT 2", "reply sleep 0.3", "changed INPUT 1", "reply set din 1 high"}));
}

void TestControlSocket::waitTimesOut()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("wait link down"), QString("ok"));
    const QJsonObject reply = client.ask("wait link up timeout=0.05");
    QCOMPARE(reply["status"], QJsonValue("timeout"));
    QCOMPARE(reply["error"], QJsonValue("The link did not come up within 0.05 seconds."));
}

void TestControlSocket::quitAsksTheProgramToEnd()
{
    Controlled controlled;
    QSignalSpy asked(&controlled.control(), &cControlServer::quitRequested);
    ControlClient client(controlled.path());
    QCOMPARE(client.status("quit"), QString("ok"));
    QCOMPARE(asked.count(), 1);
}

void TestControlSocket::aSetComesBeforeItsChangesAndTheseBeforeTheReply()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    QCOMPARE(client.status("connect " + controlled.address()), QString("ok"));
    cObjectDOutput every;
    every.setDeviceSerial(1001);
    every.setPortId(cObject::kWildcard);
    every.setOutputState(cObject::OBJ_IO_STATE_SET);
    controlled.server().send(cObjectList::kSet, 1, {&every});
    QCOMPARE(lines(client, 4),
             QStringList({"set OBJ_PORT_DOUT", "changed OUTPUT 1", "changed OUTPUT 2", "changed OUTPUT 3"}));
    QCOMPARE(client.status("wire din 1 2"), QString("ok"));
    QCOMPARE(client.status("unwire din 1 2"), QString("ok"));
    client.sendBytes("wire din 1 2\nset din 1 high\nset din 1 low\n");
    QCOMPARE(lines(client, 6), QStringList({"reply wire din 1 2", "changed INPUT 1", "reply set din 1 high",
                                            "changed INPUT 1", "changed OUTPUT 2", "reply set din 1 low"}));
}

void TestControlSocket::everyClientGetsEveryEvent()
{
    Controlled controlled;
    ControlClient first(controlled.path());
    ControlClient second(controlled.path());
    QCOMPARE(second.status("get device"), QString("ok"));
    first.send("set ain 1 5");
    QCOMPARE(lines(first, 2), QStringList({"changed AIN 1", "reply set ain 1 5"}));
    QCOMPARE(lines(second, 1), QStringList("changed AIN 1"));
    controlled.device().setDigitalInput_Slot(3, 1);
    QCOMPARE(lines(first, 1), QStringList("changed INPUT 3"));
    QCOMPARE(lines(second, 1), QStringList("changed INPUT 3"));
}

void TestControlSocket::aClientRemembersEventsFromItsConnectingOn()
{
    Controlled controlled;
    ControlClient first(controlled.path());
    QCOMPARE(first.status("connect " + controlled.address()), QString("ok"));
    cObjectDOutput output;
    output.setDeviceSerial(1001);
    output.setPortId(1);
    controlled.server().send(cObjectList::kSet, 1, {&output});
    QVERIFY(!first.next("set").isEmpty());
    ControlClient second(controlled.path());
    QCOMPARE(second.status("expect event within=0.05"), QString("failed"));
    QCOMPARE(first.status("expect event"), QString("ok"));
}

void TestControlSocket::aClientThatEndsItsSideGetsItsReplies()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    client.sendBytes("sleep 0.05\nset din 1 high\nget device\n");
    QVERIFY(client.isConnected());
    QCOMPARE(::shutdown(static_cast<int>(client.socket().socketDescriptor()), SHUT_WR), 0);
    QCOMPARE(lines(client, 4), QStringList({"reply sleep 0.05", "changed INPUT 1", "reply set din 1 high",
                                            "reply get device"}));
    QTRY_COMPARE(client.socket().state(), QLocalSocket::UnconnectedState);
}

void TestControlSocket::aClientThatGoesInTheMiddleOfALineIsForgotten()
{
    Controlled controlled;
    {
        ControlClient client(controlled.path());
        client.sendBytes("set din 1 hi");
        client.close();
    }
    ControlClient other(controlled.path());
    QCOMPARE(other.object("get din 1")["inputState"], QJsonValue("OBJ_IO_STATE_CLEAR"));
}

void TestControlSocket::aClientThatGoesWhileItsCommandRunsIsForgotten()
{
    Controlled controlled;
    const auto descriptors = [] {
        return QDir("/proc/self/fd").entryList(QDir::Files | QDir::System).size();
    };
    QCOMPARE(ControlClient(controlled.path()).status("get device"), QString("ok"));
    const auto before = descriptors();
    {
        ControlClient client(controlled.path());
        client.sendBytes("get device\nsleep 86400\n");
        client.next("reply");
        QVERIFY(descriptors() > before);
    }
    QTRY_COMPARE_WITH_TIMEOUT(descriptors(), before, 30000);
}

void TestControlSocket::aClientThatDoesNotReadIsDropped()
{
    Controlled controlled;
    const int silent = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(controlled.path()).constData(), sizeof address.sun_path);
    QCOMPARE(::connect(silent, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ControlClient other(controlled.path());
    QCOMPARE(other.status("get device"), QString("ok"));
    // Each reply repeats its line, so these are more than the bound and the system's buffers.
    const QByteArray lines = (QByteArray(4000, 'x') + '\n').repeated(1300);
    int sent = 0;
    const auto isGone = [&] {
        const ssize_t size = ::send(silent, lines.constData() + sent,
                                    static_cast<size_t>(lines.size() - sent), MSG_NOSIGNAL | MSG_DONTWAIT);
        sent += size > 0 ? static_cast<int>(size) : 0;
        return size < 0 && (errno == EPIPE || errno == ECONNRESET);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGone(), 60000);
    ::close(silent);
    QCOMPARE(other.status("get device"), QString("ok"));
}

void TestControlSocket::aFloodIsAnsweredInOrder()
{
    Controlled controlled;
    ControlClient client(controlled.path());
    constexpr int kCommands = 5000;
    QByteArray flood;
    for (int i = 0; i < kCommands; ++i) {
        flood += "set ain 1 " + QByteArray::number(i % 101) + '\n';
    }
    client.sendBytes(flood);
    for (int i = 0; i < kCommands; ++i) {
        QCOMPARE(client.next("reply")["command"].toString(), QString("set ain 1 %1").arg(i % 101));
    }
}

ZUL_QTEST(TestControlSocket)
#include "controlsocket_test.moc"
