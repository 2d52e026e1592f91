// What both programs record with --capture, read by Wireshark's command line program with the dissector.

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <csignal>
#include <sys/stat.h>

#include "capturereader.h"
#include "programs.h"
#include "qttestmain.h"
#include "tshark.h"

class TestCapture : public QObject
{
    Q_OBJECT

private slots:
    void bothProgramsRecordTheSameMessages();
    void everyConnectionIsAStreamOfItsOwn();
    void everyDeviceIsAStreamOfItsOwn();
    void pingsAndBrokenBytesAreRecordedAsTheyCame();
    void whatTheLastCommandSentIsRecorded();
    void fileOfAKilledProgramIsWhole();
    void fileThatCannotBeWrittenEndsTheProgramAtOnce_data();
    void fileThatCannotBeWrittenEndsTheProgramAtOnce();
    void diskThatFillsUpIsSaidOnceAndTheLinkGoesOn();

private:
    using Rows = std::vector<Tshark::Words>;
    Rows rows(const QString& path, const std::string& filter, const Tshark::Words& names,
              const Tshark::Words& options = {});
    std::vector<std::string> values(const QString& path, const std::string& filter, const std::string& name);
    void checkFlawless(const QString& path);

    const Tshark mTshark{DISSECTOR};
};

TestCapture::Rows TestCapture::rows(const QString& path, const std::string& filter,
                                    const Tshark::Words& names, const Tshark::Words& options)
{
    // The system's free ports may be known to Wireshark as somebody else's.
    Tshark::Words all{"-o", "tcp.try_heuristic_first:TRUE"};
    all.insert(all.end(), options.begin(), options.end());
    std::string complaints;
    Rows found = mTshark.rows(path.toStdString(), filter, names, all, &complaints);
    if (!complaints.empty()) {
        QTest::qFail(complaints.c_str(), __FILE__, __LINE__);
    }
    return found;
}

/// Every value of one field, however many there are in a frame.
std::vector<std::string> TestCapture::values(const QString& path, const std::string& filter,
                                             const std::string& name)
{
    std::vector<std::string> found;
    for (const Tshark::Words& row : rows(path, filter, {name})) {
        const Tshark::Words some = Tshark::split(row[0], '|');
        found.insert(found.end(), some.begin(), some.end());
    }
    return found;
}

/// Neither TCP nor the protocol has anything to say against the file.
void TestCapture::checkFlawless(const QString& path)
{
    const Tshark::Words checks{"-o", "tcp.check_checksum:TRUE", "-o", "ip.check_checksum:TRUE", "-2"};
    QCOMPARE(rows(path, "tcp.analysis.flags", {"frame.number"}, checks), Rows{});
    QCOMPARE(rows(path, "_ws.expert.severity >= 0x600000 or _ws.malformed", {"_ws.expert.message"}, checks),
             Rows{});
    QCOMPARE(rows(path, "tcp.checksum.status != 1 or ip.checksum.status != 1", {"frame.number"}, checks),
             Rows{});
    QCOMPARE(rows(path,
                  "zul.expert.answer_stray or (zul.header.type < 2 and !zul.answer_in and !zul.answer_to and "
                  "!zul.message.reassembled_in)",
                  {"frame.number"}, checks),
             Rows{});
}

void TestCapture::bothProgramsRecordTheSameMessages()
{
    const QTemporaryDir folder;
    const QString servers = folder.filePath("server.pcapng");
    const QString devices = folder.filePath("device.pcapng");
    ServerProgram server({"--port", "0", "--capture", servers});
    Program simulator;
    startSimulator(&simulator, deviceFile(200, 2, 2, 2, 1), server.port(), {"--capture", devices});
    QVERIFY(!server.line("device").isEmpty());
    QCOMPARE(server.objects("get din *").size(), 200);
    QCOMPARE(server.command("set dout 1 state=high")["status"].toString(), QString("ok"));
    QCOMPARE(server.command("set ain * rate=0 gain=2.5")["status"].toString(), QString("ok"));
    QVERIFY(!server.line("message", 2).isEmpty());
    QCOMPARE(server.command("set ain * rate=60")["status"].toString(), QString("ok"));
    QCOMPARE(server.objects("get aout 2").size(), 1);
    QCOMPARE(simulator.stop(SIGTERM), 0);
    QVERIFY(!server.line("disconnected").isEmpty());
    QCOMPARE(server.program().stop(SIGTERM), 0);

    checkFlawless(servers);
    checkFlawless(devices);
    const std::string port = std::to_string(server.port());
    for (const std::string direction : {"tcp.srcport == ", "tcp.dstport == "}) {
        for (const char* name : {"zul.message", "zul.header.checksum", "zul.portId", "zul.object"}) {
            const auto recorded = values(servers, direction + port, name);
            QVERIFY(!recorded.empty());
            QCOMPARE(values(devices, direction + port, name), recorded);
        }
    }
    QCOMPARE(rows(devices, "zul.gain == 2.5 and zul.sampleRate == 0", {"zul.message", "frame.p2p_dir"}),
             (Rows{{"set 4", "1"}}));
    QCOMPARE(rows(servers, "zul.gain == 2.5 and zul.sampleRate == 0", {"zul.message", "frame.p2p_dir"}),
             (Rows{{"set 4", "0"}}));
    QVERIFY(!rows(servers, "zul.message contains \"event\" and zul.sample", {"frame.number"}).empty());
    // The answer with all inputs takes several segments.
    const Rows answer =
        rows(servers, "zul.message == \"answer to 2\"", {"zul.message.segments", "zul.message.objects"});
    QCOMPARE(answer.size(), size_t{1});
    QVERIFY(std::stoi(answer[0][0]) > 5);
    QCOMPARE(answer[0][1], std::string("200"));
}

void TestCapture::everyConnectionIsAStreamOfItsOwn()
{
    const QTemporaryDir folder;
    const QString devices = folder.filePath("device.pcapng");
    QScopedPointer<ServerProgram> server(new ServerProgram);
    const int port = server->port();
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), port, {"--capture", devices});
    QVERIFY(!server->line("device").isEmpty());
    QCOMPARE(server->program().stop(SIGTERM), 0);
    server.reset(new ServerProgram({"--port", QString::number(port)}));
    QVERIFY(!server->line("device").isEmpty());
    QCOMPARE(simulator.stop(SIGTERM), 0);

    checkFlawless(devices);
    QCOMPARE(rows(devices, "tcp.flags.syn == 1 and tcp.flags.ack == 0", {"tcp.stream"}),
             (Rows{{"0"}, {"1"}}));
    // Who closes first is seen: the server the first time, the device the second.
    QCOMPARE(rows(devices, "tcp.flags.fin == 1", {"tcp.stream", "frame.p2p_dir"}).front(),
             (Tshark::Words{"0", "1"}));
    QCOMPARE(rows(devices, "tcp.flags.fin == 1", {"tcp.stream", "frame.p2p_dir"}).back(),
             (Tshark::Words{"1", "0"}));
    QCOMPARE(rows(devices, "zul.message contains \"answer\"", {"tcp.stream", "zul.object"}),
             (Rows{{"0", "0"}, {"1", "0"}}));
}

void TestCapture::everyDeviceIsAStreamOfItsOwn()
{
    const QTemporaryDir folder;
    const QString servers = folder.filePath("server.pcapng");
    ServerProgram server({"--port", "0", "--capture", servers});
    Program first;
    Program second;
    startSimulator(&first, deviceFile(1, 1, 1, 1, 1, "1", "One"), server.port());
    QVERIFY(!server.line("device").isEmpty());
    startSimulator(&second, deviceFile(2, 1, 1, 1, 1, "2", "Two"), server.port());
    QVERIFY(!server.line("device", 2).isEmpty());
    QCOMPARE(server.objects("get din device=2").size(), 2);
    QCOMPARE(first.stop(SIGTERM), 0);
    QCOMPARE(second.stop(SIGTERM), 0);
    QVERIFY(!server.line("disconnected", 2).isEmpty());
    checkFlawless(servers);
    QCOMPARE(rows(servers, "zul.deviceLabel", {"tcp.stream", "zul.deviceLabel"}),
             (Rows{{"0", "One"}, {"1", "Two"}}));
    QCOMPARE(rows(servers, "zul.portLabel", {"tcp.stream"}), (Rows{{"1"}}));
}

void TestCapture::pingsAndBrokenBytesAreRecordedAsTheyCame()
{
    const QTemporaryDir folder;
    const QString devices = folder.filePath("device.pcapng");
    QTcpServer hostile;
    QVERIFY(hostile.listen(QHostAddress::LocalHost));
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), hostile.serverPort(), {"--capture", devices});
    QVERIFY(hostile.waitForNewConnection(30000));
    QScopedPointer<QTcpSocket> connection(hostile.nextPendingConnection());
    connection->write(QByteArray::fromHex("5a57010c0000000000000000a5a8fef3"));
    QVERIFY(connection->waitForBytesWritten(30000));
    QByteArray answer;
    QVERIFY(Program::waitFor([&] { return (answer += connection->readAll()).size() >= 16; }));
    connection->write("this is no message");
    // The device closes the connection.
    QVERIFY(Program::waitFor([&] { return connection->state() == QAbstractSocket::UnconnectedState; }));
    hostile.close();
    QCOMPARE(simulator.stop(SIGTERM), 0);

    const std::string port = "zul.ports:" + std::to_string(hostile.serverPort());
    const Rows found = rows(devices, "zul", {"zul.message", "zul.answer_to", "zul.rest"}, {"-o", port});
    QCOMPARE(found, (Rows{{"ping", "", ""},
                          {"answer to ping", "4", ""},
                          {"", "", "74686973206973206e6f206d657373616765"}}));
    QCOMPARE(rows(devices, "tcp.analysis.flags", {"frame.number"}), Rows{});
}

void TestCapture::whatTheLastCommandSentIsRecorded()
{
    const QTemporaryDir folder;
    const QString servers = folder.filePath("server.pcapng");
    ServerProgram server(
        {"--port", "0", "--capture", servers, "--command", "wait device", "--command", "send type=3"});
    Program simulator;
    startSimulator(&simulator, deviceFile(1, 1, 1, 1, 1), server.port());
    QCOMPARE(server.program().waitForEnd(), 0);
    QCOMPARE(rows(servers, "zul.message contains \"event\"", {"zul.message"}), (Rows{{"event 2"}}));
    QCOMPARE(simulator.stop(SIGTERM), 0);
}

void TestCapture::fileOfAKilledProgramIsWhole()
{
    const QTemporaryDir folder;
    const QString servers = folder.filePath("server.pcapng");
    const QString devices = folder.filePath("device.pcapng");
    ServerProgram server({"--port", "0", "--capture", servers});
    Program simulator;
    startSimulator(&simulator, deviceFile(20, 20, 20, 20, 1), server.port(), {"--capture", devices});
    QVERIFY(!server.line("device").isEmpty());
    QByteArray commands;
    for (int i = 0; i < 500; ++i) {
        commands += "get din *\n";
    }
    server.program().process().write(commands);
    QVERIFY(!server.line("reply", 50).isEmpty());
    for (const QString& path : {servers, devices}) {
        // What is queued when the program is killed is lost.
        bool isWhole = false;
        QTRY_VERIFY(packetsIn(fileBytes(path.toStdString()), &isWhole).size() > 150);
    }
    simulator.process().kill();
    server.program().process().kill();
    QVERIFY(simulator.process().waitForFinished());
    QVERIFY(server.program().process().waitForFinished());
    for (const QString& path : {servers, devices}) {
        bool isWhole = false;
        QVERIFY(packetsIn(fileBytes(path.toStdString()), &isWhole).size() > 50);
        QVERIFY(isWhole);
        QVERIFY(rows(path, "zul.message contains \"answer\"", {"frame.number"}).size() >= 50);
    }
}

void TestCapture::fileThatCannotBeWrittenEndsTheProgramAtOnce_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    static const QTemporaryDir folder;
    const QString fifo = folder.filePath("fifo");
    QCOMPARE(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    const QStringList anyPort{"--port", "0"};
    QTest::newRow("server, no such folder") << ZULSERVER_PROGRAM << anyPort << "/no/such/file"
                                            << "No such file or directory";
    QTest::newRow("server, full disk") << ZULSERVER_PROGRAM << anyPort << "/dev/full"
                                       << "No space left on device";
    QTest::newRow("server, a FIFO that nobody reads")
        << ZULSERVER_PROGRAM << anyPort << fifo << "No such device or address";
    const QStringList headless{"--headless"};
    QTest::newRow("simulator, no such folder") << ZULBENCH_PROGRAM << headless << "/no/such/file"
                                               << "No such file or directory";
    QTest::newRow("simulator, full disk") << ZULBENCH_PROGRAM << headless << "/dev/full"
                                          << "No space left on device";
    QTest::newRow("simulator, a folder") << ZULBENCH_PROGRAM << headless << "/tmp"
                                         << "Is a directory";
    QTest::newRow("simulator, a FIFO that nobody reads")
        << ZULBENCH_PROGRAM << headless << fifo << "No such device or address";
}

void TestCapture::fileThatCannotBeWrittenEndsTheProgramAtOnce()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QString, path);
    QFETCH(QString, reason);
    Program run;
    run.start(program, arguments << "--capture" << path);
    QVERIFY(run.process().waitForFinished());
    QCOMPARE(run.process().exitCode(), 1);
    QCOMPARE(run.output(), QByteArray());
    const QString sentence = program == ZULSERVER_PROGRAM
                                 ? "zulserver: The capture file \"%1\" cannot be written: %2."
                                 : "zulbench: the capture file '%1' cannot be written: %2";
    // The simulator has said where its files are.
    QCOMPARE(QString(run.errors().trimmed().split('\n').last()), sentence.arg(path, reason));
}

void TestCapture::diskThatFillsUpIsSaidOnceAndTheLinkGoesOn()
{
    const QTemporaryDir folder;
    const QString servers = folder.filePath("server.pcapng");
    const QString devices = folder.filePath("device.pcapng");
    // A limit on the size of files stands for a full disk; what the programs print is less than that.
    const QString limited = "trap '' XFSZ; ulimit -f 32; exec \"$0\" \"$@\"";
    Program server;
    server.start("bash", {"-c", limited, ZULSERVER_PROGRAM, "--port", "0", "--capture", servers});
    QVERIFY(server.waitFor([&] { return server.output().contains("\"port\":"); }));
    const int port = QJsonDocument::fromJson(server.output())["port"].toInt();
    Program simulator;
    const QString deviceName = simulator.write("test.dev", deviceFile(200, 1, 1, 1, 1));
    const QString connectionName = simulator.write("test.con", connectionFile(port));
    simulator.start("bash", {"-c", limited, ZULBENCH_PROGRAM, "--headless", "--device", deviceName,
                             "--connection", connectionName, "--connect", "--capture", devices});
    QVERIFY(server.waitFor([&] { return server.output().contains("\"device\""); }));
    // A request for ports that are not there is answered with none: the file fills, the output does not.
    QByteArray commands;
    for (int i = 0; i < 150; ++i) {
        commands += "get din 999\n";
    }
    const auto replies = [&] { return server.output().count("\"objects\":[]"); };
    server.process().write(commands);
    QVERIFY(server.waitFor([&] { return replies() == 150; }));
    const QByteArray sentence = "ends here, as it could not be written: File too large.";
    QVERIFY(server.waitFor([&] { return server.errors().contains(sentence); }));
    QVERIFY(simulator.waitFor([&] { return simulator.errors().contains(sentence); }));
    QCOMPARE(simulator.stop(SIGTERM), 0);
    QCOMPARE(server.stop(SIGTERM), 0);
    QCOMPARE(server.errors().count(sentence), 1);
    QCOMPARE(simulator.errors().count(sentence), 1);
    for (const QString& path : {servers, devices}) {
        bool isWhole = false;
        const auto file = fileBytes(path.toStdString());
        QVERIFY(!packetsIn(file, &isWhole).empty());
        QVERIFY(isWhole);
        QVERIFY(file.size() > 32 * 1024 - 400);
    }
}

ZUL_QTEST_GUILESS(TestCapture)
#include "capture_test.moc"
