// The two programs together when things go wrong between them, and when they end.

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <csignal>

#include "programs.h"
#include "qttestmain.h"

class TestLink : public QObject
{
    Q_OBJECT

private slots:
    void theDeviceComesBackToAServerThatComesBack();
    void aThousandPortsOfEachKindAreAnsweredInOneMessage();
    void twoDevicesAreToldApartBySerial();
    void aServerThatSendsNonsenseIsLeftAndTriedAgain_data();
    void aServerThatSendsNonsenseIsLeftAndTriedAgain();
    void theSimulatorEndsCleanlyUnderTraffic_data();
    void theSimulatorEndsCleanlyUnderTraffic();
    void theSimulatorEndsCleanlyWithoutAServer();
    void theServerTellsWhoLeft();
    void aDeviceNeedsNoFile();
    void optionsReplaceValuesOfTheDeviceFile();
    void theDeviceStaysWhenTheReaderOfItsTraceGoes();
};

void TestLink::theDeviceComesBackToAServerThatComesBack()
{
    QScopedPointer<ServerProgram> server(new ServerProgram);
    const int port = server->port();
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), port);
    QVERIFY(!server->line("device").isEmpty());
    QCOMPARE(server->program().stop(SIGTERM), 0);

    server.reset(new ServerProgram({"--port", QString::number(port)}));
    QCOMPARE(server->port(), port);
    QCOMPARE(server->line("device")["deviceSerial"].toInt(), 1001);
    QCOMPARE(server->objects("get din").size(), 1);
    QCOMPARE(simulator.stop(SIGINT), 0);
}

void TestLink::aThousandPortsOfEachKindAreAnsweredInOneMessage()
{
    ServerProgram server;
    Program simulator;
    startSimulator(&simulator, deviceFile(1000, 1000, 1000, 1000, 1), server.port());
    QVERIFY(!server.line("device").isEmpty());
    for (const char* kind : {"din", "dout", "ain", "aout"}) {
        const QJsonObject reply = server.command(QString("get %1 * timeout=30").arg(kind));
        QCOMPARE(reply["status"].toString(), QString("ok"));
        const QJsonArray ports = reply["objects"].toArray();
        QCOMPARE(ports.size(), 1000);
        QCOMPARE(ports.last().toObject()["portId"].toInt(), 1000);
    }
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestLink::twoDevicesAreToldApartBySerial()
{
    ServerProgram server;
    Program first;
    Program second;
    startSimulator(&first, deviceFile(1, 1, 1, 1, 1, "1", "One"), server.port());
    startSimulator(&second, deviceFile(2, 1, 1, 1, 1, "2", "Two"), server.port());
    QVERIFY(!server.line("device", 2).isEmpty());
    QCOMPARE(server.command("get din")["status"].toString(), QString("error"));
    QCOMPARE(server.objects("get din device=1").size(), 1);
    QCOMPARE(server.objects("get din device=2").size(), 2);
    QCOMPARE(first.stop(SIGTERM), 0);
    QCOMPARE(second.stop(SIGTERM), 0);
}

void TestLink::aServerThatSendsNonsenseIsLeftAndTriedAgain_data()
{
    QTest::addColumn<QByteArray>("nonsense");
    const QByteArray header("\x5A\x57\x01\x08\x01\x01\x00\x00", 8);
    QTest::newRow("garbage") << QByteArray("HTTP/1.1 400 Bad Request\r\n\r\n");
    QTest::newRow("half a message") << header;
    QTest::newRow("4 GB announced") << header + QByteArray("\xFF\xFF\xFF\xFF\x00\x00\x00\x00", 8);
}

void TestLink::aServerThatSendsNonsenseIsLeftAndTriedAgain()
{
    QFETCH(QByteArray, nonsense);
    QTcpServer hostile;
    QVERIFY(hostile.listen(QHostAddress::LocalHost));
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), hostile.serverPort());
    QVERIFY(hostile.waitForNewConnection(30000));
    QScopedPointer<QTcpSocket> connection(hostile.nextPendingConnection());
    connection->write(nonsense);
    QVERIFY(connection->waitForBytesWritten(30000));
    const int port = hostile.serverPort();
    connection->disconnectFromHost();
    hostile.close();

    // A good server on the same port finds the device unharmed.
    ServerProgram good({"--port", QString::number(port)});
    QCOMPARE(good.line("device")["deviceSerial"].toInt(), 1001);
    QCOMPARE(good.objects("get din").size(), 1);
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestLink::theSimulatorEndsCleanlyUnderTraffic_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void TestLink::theSimulatorEndsCleanlyUnderTraffic()
{
    QFETCH(int, signalNumber);
    ServerProgram server;
    Program simulator;
    startSimulator(&simulator, deviceFile(20, 20, 20, 20, 1), server.port());
    QVERIFY(!server.line("device").isEmpty());
    server.command("set ain * rate=0");
    QByteArray commands;
    for (int i = 0; i < 500; ++i) {
        commands += "get din *\nset dout * state=high\n";
    }
    server.program().process().write(commands);
    QVERIFY(!server.line("reply", 50).isEmpty());
    QCOMPARE(simulator.stop(signalNumber), 0);
    QVERIFY(!server.line("disconnected").isEmpty());
}

void TestLink::theSimulatorEndsCleanlyWithoutAServer()
{
    QTcpServer placeholder;
    QVERIFY(placeholder.listen(QHostAddress::LocalHost));
    const int port = placeholder.serverPort();
    placeholder.close();
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), port);
    QVERIFY(simulator.waitFor([&] { return simulator.errors().contains("No link to 127.0.0.1"); }));
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestLink::theServerTellsWhoLeft()
{
    ServerProgram server;
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), server.port());
    QVERIFY(!server.line("device").isEmpty());
    QCOMPARE(simulator.stop(SIGTERM), 0);
    const QJsonObject line = server.line("disconnected");
    QCOMPARE(line["deviceSerial"].toInt(), 1001);
    QCOMPARE(line["peer"].toString(), server.line("connected")["peer"].toString());
    QVERIFY(!line["reason"].toString().isEmpty());
}

void TestLink::aDeviceNeedsNoFile()
{
    ServerProgram server({"--listen", "::1"});
    Program simulator;
    simulator.start(ZULBENCH_PROGRAM, {"--headless", "--server", QString("[::1]:%1").arg(server.port()),
                                       "--din", "2", "--dout", "3", "--ain", "4", "--aout", "5", "--serial",
                                       "77", "--label", "North gate", "--device-version", "6"});
    const QJsonObject device = server.line("device");
    QCOMPARE(device["deviceSerial"].toInt(), 77);
    QCOMPARE(device["deviceLabel"].toString(), QString("North gate"));
    QCOMPARE(device["deviceType"].toString(), QString("TYPE_DISCRETE_IO"));
    QCOMPARE(device["version"].toInt(), 6);
    for (const auto& [kind, count] : {std::pair("din", 2), {"dout", 3}, {"ain", 4}, {"aout", 5}}) {
        QCOMPARE(server.objects(QString("get %1").arg(kind)).size(), count);
    }
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestLink::optionsReplaceValuesOfTheDeviceFile()
{
    ServerProgram server;
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 2, 3, 4, 1), server.port(), {"--din", "5", "--serial", "9"});
    const QJsonObject device = server.line("device");
    QCOMPARE(device["deviceSerial"].toInt(), 9);
    QCOMPARE(device["deviceLabel"].toString(), QString("Panel7"));
    QCOMPARE(server.objects("get din").size(), 5);
    QCOMPARE(server.objects("get dout").size(), 2);
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestLink::theDeviceStaysWhenTheReaderOfItsTraceGoes()
{
    ServerProgram server;
    Program simulator;
    simulator.process().setStandardOutputFile(QString());
    simulator.process().setStandardErrorFile(QString());
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), server.port());
    simulator.process().closeReadChannel(QProcess::StandardOutput);
    simulator.process().closeReadChannel(QProcess::StandardError);
    QVERIFY(!server.line("device").isEmpty());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(server.objects("get ain").size(), 1);
    }
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

ZUL_QTEST_GUILESS(TestLink)
#include "link_test.moc"
