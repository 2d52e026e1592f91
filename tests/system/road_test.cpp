// The two programs together: everything that a server asks of a device and sets on it.

#include <QtTest>
#include <csignal>

#include "programs.h"
#include "qttestmain.h"

namespace {

QJsonArray texts(const QJsonArray& objects, const QString& key)
{
    QJsonArray values;
    for (const QJsonValue& object : objects) {
        values.append(object.toObject()[key]);
    }
    return values;
}

} // namespace

class TestRoad : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theDeviceSaysWhoItIsFirst();
    void capabilitiesAreAnnouncedInOrder();
    void everyKindOfPortIsAnswered_data();
    void everyKindOfPortIsAnswered();
    void theWildcardAnswersEveryPortInOrder_data();
    void theWildcardAnswersEveryPortInOrder();
    void aPortThatDoesNotExistIsAnsweredWithNothing();
    void anotherSerialIsAnsweredWithNothing_data();
    void anotherSerialIsAnsweredWithNothing();
    void anotherPortTypeIsAnsweredWithPlainPorts_data();
    void anotherPortTypeIsAnsweredWithPlainPorts();
    void aDefaultStateIsSetOnADigitalInput();
    void anInputStateIsNeverSetByTheServer();
    void anOutputFollowsTheServer();
    void aSetWithoutAnyStateChangesNothing();
    void anAnalogInputTakesRateGainAndOffset();
    void anAnalogOutputKeepsItsFraction();
    void aSetForAnotherDeviceChangesNothing();
    void aSetMayMeanEveryPort();
    void aPeriodicSampleArrivesAndCanBeFetched();
    void aSampleThatWasNeverTakenIsNotFound();
    void unknownMessageTypesAreTracedInHexadecimal();
    void unknownObjectsAreTracedAndTheRestIsAnswered();
    void theTraceOfASetStandsAsItIs();

private:
    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Program> mSimulator;
};

void TestRoad::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new Program);
    startSimulator(mSimulator.data(), deviceFile(3, 3, 12, 3, 2), mServer->port());
    QCOMPARE(mServer->line("device")["event"].toString(), QString("device"));
}

void TestRoad::cleanup()
{
    QCOMPARE(mSimulator->stop(SIGTERM), 0);
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    mSimulator.reset();
    mServer.reset();
}

void TestRoad::theDeviceSaysWhoItIsFirst()
{
    const QJsonObject device = mServer->line("device");
    QCOMPARE(device["deviceSerial"].toInt(), 1001);
    QCOMPARE(device["deviceLabel"].toString(), QString("Panel7"));
    QCOMPARE(device["deviceType"].toString(), QString("TYPE_DISCRETE_IO"));
    QCOMPARE(device["version"].toInt(), 3);
    QCOMPARE(device["discreteInCount"].toInt(), 3);
    QCOMPARE(device["discreteOutCount"].toInt(), 3);
    QCOMPARE(device["analogInCount"].toInt(), 12);
    QCOMPARE(device["analogOutCount"].toInt(), 3);
    QStringList events;
    for (const QJsonObject& line : mServer->lines()) {
        events.append(line["event"].toString());
    }
    QCOMPARE(events, QStringList({"listening", "connected", "device"}));
    QVERIFY(mSimulator->waitFor([this] { return mSimulator->output().contains("DEVICE Object\n"); }));
}

void TestRoad::capabilitiesAreAnnouncedInOrder()
{
    const QJsonArray capabilities = mServer->objects("get capability");
    QCOMPARE(texts(capabilities, "capId"), QJsonArray({1, 2, 3, 4}));
    QCOMPARE(texts(capabilities, "label"),
             QJsonArray({"analogout", "version", "access_reader", "access_reader"}));
    QCOMPARE(texts(capabilities, "value"), QJsonArray({"yes", "4.0.2", "SCANNER 1", "SCANNER 2"}));
    QCOMPARE(texts(capabilities, "deviceSerial"), QJsonArray({1001, 1001, 1001, 1001}));
}

void TestRoad::everyKindOfPortIsAnswered_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QJsonObject>("port2");

    QTest::newRow("digital input") << "din"
                                   << QJsonObject{{"type", "OBJ_PORT_DIN"},
                                                  {"deviceSerial", 1001},
                                                  {"portId", 2},
                                                  {"portLabel", "INPUT 2"},
                                                  {"portStatus", "OBJ_STATUS_ALARM_CLEAR"},
                                                  {"portType", "OBJ_PORT_DIN"},
                                                  {"inputState", "OBJ_IO_STATE_CLEAR"},
                                                  {"defaultState", "OBJ_IO_STATE_CLEAR"}};
    QTest::newRow("digital output") << "dout"
                                    << QJsonObject{{"type", "OBJ_PORT_DOUT"},
                                                   {"deviceSerial", 1001},
                                                   {"portId", 2},
                                                   {"portLabel", "OUTPUT 2"},
                                                   {"portStatus", "OBJ_STATUS_ALARM_CLEAR"},
                                                   {"portType", "OBJ_PORT_DOUT"},
                                                   {"outputState", "OBJ_IO_STATE_CLEAR"},
                                                   {"defaultState", "OBJ_IO_STATE_CLEAR"}};
    QTest::newRow("analog input") << "ain"
                                  << QJsonObject{{"type", "OBJ_PORT_AIN"},
                                                 {"deviceSerial", 1001},
                                                 {"portId", 2},
                                                 {"portLabel", "AIN 2"},
                                                 {"portStatus", "OBJ_STATUS_ALARM_UNKNOWN"},
                                                 {"portType", "OBJ_PORT_AIN"},
                                                 {"gain", 1.0},
                                                 {"offset", 0.0},
                                                 {"sampleRate", 10},
                                                 {"displayUnit", "fT %"},
                                                 {"sampledValue", 0.0},
                                                 {"lastSampleSeq", 0}};
    QTest::newRow("analog output") << "aout"
                                   << QJsonObject{{"type", "OBJ_PORT_AOUT"},
                                                  {"deviceSerial", 1001},
                                                  {"portId", 2},
                                                  {"portLabel", "AOUT 2"},
                                                  {"portStatus", "OBJ_STATUS_ALARM_UNKNOWN"},
                                                  {"portType", "OBJ_PORT_AOUT"},
                                                  {"gain", 1.0},
                                                  {"offset", 0.0},
                                                  {"minimumValue", 0.0},
                                                  {"maximumValue", 100.0},
                                                  {"displayUnit", "fT %"},
                                                  {"sampledValue", 0.0}};
}

void TestRoad::everyKindOfPortIsAnswered()
{
    QFETCH(QString, kind);
    QFETCH(QJsonObject, port2);
    const QJsonObject reply = mServer->command("get " + kind + " 2");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["msgType"].toInt(-1), 1);
    QCOMPARE(reply["objects"].toArray(), QJsonArray({port2}));
}

void TestRoad::theWildcardAnswersEveryPortInOrder_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("count");
    QTest::newRow("digital inputs") << "get din *" << 3;
    QTest::newRow("digital outputs") << "get dout *" << 3;
    QTest::newRow("analog inputs") << "get ain *" << 12;
    QTest::newRow("analog outputs") << "get aout *" << 3;
    QTest::newRow("no port at all means every port") << "get ain" << 12;
}

void TestRoad::theWildcardAnswersEveryPortInOrder()
{
    QFETCH(QString, command);
    QFETCH(int, count);
    QJsonArray ids;
    for (int id = 1; id <= count; ++id) {
        ids.append(id);
    }
    QCOMPARE(texts(mServer->objects(command), "portId"), ids);
}

void TestRoad::aPortThatDoesNotExistIsAnsweredWithNothing()
{
    const QJsonObject reply = mServer->command("get din 4");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["msgType"].toInt(-1), 1);
    QCOMPARE(reply["objects"].toArray(), QJsonArray());
}

void TestRoad::anotherSerialIsAnsweredWithNothing_data()
{
    QTest::addColumn<QString>("command");
    for (const char* what : {"device", "capability", "din", "dout", "ain", "aout", "sample 1 1"}) {
        QTest::newRow(what) << QString("get %1 serial=77").arg(what);
    }
}

void TestRoad::anotherSerialIsAnsweredWithNothing()
{
    QFETCH(QString, command);
    const QJsonObject reply = mServer->command(command);
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["objects"].toArray(), QJsonArray());
    QVERIFY(!mServer->objects("get din serial=1001").isEmpty());
}

void TestRoad::anotherPortTypeIsAnsweredWithPlainPorts_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("portType");
    QTest::addColumn<QString>("label");
    QTest::newRow("digital input") << "get din 1 portType=1"
                                   << "OBJ_PORT_DIN"
                                   << "INPUT 1";
    QTest::newRow("digital output") << "get dout 1 portType=2"
                                    << "OBJ_PORT_DOUT"
                                    << "OUTPUT 1";
    QTest::newRow("analog input") << "get ain 1 portType=1"
                                  << "OBJ_PORT_AIN"
                                  << "AIN 1";
    QTest::newRow("analog output") << "get aout 1 portType=99"
                                   << "OBJ_PORT_AOUT"
                                   << "AOUT 1";
}

void TestRoad::anotherPortTypeIsAnsweredWithPlainPorts()
{
    QFETCH(QString, command);
    QFETCH(QString, portType);
    QFETCH(QString, label);
    const QJsonArray objects = mServer->objects(command);
    QCOMPARE(objects.size(), 1);
    const QJsonObject port = objects[0].toObject();
    QCOMPARE(port.keys(),
             QStringList({"deviceSerial", "portId", "portLabel", "portStatus", "portType", "type"}));
    QCOMPARE(port["type"].toString(), QString("OBJ_PORT"));
    QCOMPARE(port["portType"].toString(), portType);
    QCOMPARE(port["portLabel"].toString(), label);
}

void TestRoad::aDefaultStateIsSetOnADigitalInput()
{
    const QJsonObject reply = mServer->command("set din 2 default=high");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["msgType"].toInt(-1), 0);
    QCOMPARE(reply["objects"].toArray(), QJsonArray());
    const QJsonObject input = mServer->objects("get din 2")[0].toObject();
    QCOMPARE(input["defaultState"].toString(), QString("OBJ_IO_STATE_SET"));
    QCOMPARE(input["portStatus"].toString(), QString("OBJ_STATUS_ALARM_SET"));
    const QJsonObject other = mServer->objects("get din 1")[0].toObject();
    QCOMPARE(other["defaultState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
}

void TestRoad::anInputStateIsNeverSetByTheServer()
{
    mServer->command("set din * default=high");
    for (const QJsonValue& input : mServer->objects("get din *")) {
        QCOMPARE(input.toObject()["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
    }
}

void TestRoad::anOutputFollowsTheServer()
{
    QCOMPARE(mServer->command("set dout 3 state=high")["status"].toString(), QString("ok"));
    QJsonObject output = mServer->objects("get dout 3")[0].toObject();
    QCOMPARE(output["outputState"].toString(), QString("OBJ_IO_STATE_SET"));
    QCOMPARE(output["portStatus"].toString(), QString("OBJ_STATUS_ALARM_SET"));
    mServer->command("set dout 3 default=high");
    output = mServer->objects("get dout 3")[0].toObject();
    QCOMPARE(output["portStatus"].toString(), QString("OBJ_STATUS_ALARM_CLEAR"));
    mServer->command("set dout 3 state=low default=low");
    output = mServer->objects("get dout 3")[0].toObject();
    QCOMPARE(output["outputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
    QCOMPARE(output["defaultState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
}

void TestRoad::aSetWithoutAnyStateChangesNothing()
{
    const QJsonArray before = mServer->objects("get dout *");
    QCOMPARE(mServer->command("set dout *")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->objects("get dout *"), before);
    const QJsonArray inputs = mServer->objects("get ain *");
    QCOMPARE(mServer->command("set ain *")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->objects("get ain *"), inputs);
}

void TestRoad::anAnalogInputTakesRateGainAndOffset()
{
    QCOMPARE(mServer->command("set ain 1 rate=7 gain=2.5 offset=-0.25")["status"].toString(), QString("ok"));
    const QJsonObject input = mServer->objects("get ain 1")[0].toObject();
    QCOMPARE(input["sampleRate"].toInt(), 7);
    QCOMPARE(input["gain"].toDouble(), 2.5);
    QCOMPARE(input["offset"].toDouble(), -0.25);
    mServer->command("set ain 1 gain=3");
    const QJsonObject again = mServer->objects("get ain 1")[0].toObject();
    QCOMPARE(again["sampleRate"].toInt(), 7);
    QCOMPARE(again["gain"].toDouble(), 3.0);
    QCOMPARE(again["offset"].toDouble(), -0.25);
}

void TestRoad::anAnalogOutputKeepsItsFraction()
{
    mServer->command("set aout 2 value=57.9");
    const QJsonObject output = mServer->objects("get aout 2")[0].toObject();
    QCOMPARE(static_cast<float>(output["sampledValue"].toDouble()), 57.9F);
    const QJsonObject other = mServer->objects("get aout 1")[0].toObject();
    QCOMPARE(other["sampledValue"].toDouble(), 0.0);
}

void TestRoad::aSetForAnotherDeviceChangesNothing()
{
    const QJsonArray outputs = mServer->objects("get dout *");
    const QJsonArray analog = mServer->objects("get ain *");
    for (const char* command : {"set dout * state=high serial=77", "set din * default=high serial=77",
                                "set ain * gain=9 serial=77", "set aout * value=9 serial=77"}) {
        QCOMPARE(mServer->command(command)["status"].toString(), QString("ok"));
    }
    QCOMPARE(mServer->objects("get dout *"), outputs);
    QCOMPARE(mServer->objects("get ain *"), analog);
    QCOMPARE(texts(mServer->objects("get aout *"), "sampledValue"), QJsonArray({0.0, 0.0, 0.0}));
}

void TestRoad::aSetMayMeanEveryPort()
{
    mServer->command("set dout * state=high");
    mServer->command("set aout * value=12");
    QCOMPARE(texts(mServer->objects("get dout *"), "outputState"),
             QJsonArray({"OBJ_IO_STATE_SET", "OBJ_IO_STATE_SET", "OBJ_IO_STATE_SET"}));
    QCOMPARE(texts(mServer->objects("get aout *"), "sampledValue"), QJsonArray({12.0, 12.0, 12.0}));
}

void TestRoad::aPeriodicSampleArrivesAndCanBeFetched()
{
    QCOMPARE(mServer->command("set ain 4 rate=0")["status"].toString(), QString("ok"));
    const QJsonObject reply = mServer->command("wait event OBJ_ANALOG_SAMPLE timeout=20");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["msgType"].toInt(-1), 3);
    const QJsonObject sample = reply["objects"].toArray()[0].toObject();
    QCOMPARE(sample["deviceSerial"].toInt(), 1001);
    QCOMPARE(sample["portNum"].toInt(), 4);
    QCOMPARE(sample["seqNum"].toInt(), 1);
    QCOMPARE(mServer->objects("get sample 4 1"), QJsonArray({sample}));
    QVERIFY(mSimulator->waitFor([this] {
        return QRegularExpression("Sample time for port 4 : \\d+ : 0\nGot Sample event from port 4\n")
            .match(mSimulator->output())
            .hasMatch();
    }));
}

void TestRoad::aSampleThatWasNeverTakenIsNotFound()
{
    for (const char* command : {"get sample 1 0", "get sample 1 1", "get sample 99 0"}) {
        const QJsonObject reply = mServer->command(command);
        QCOMPARE(reply["status"].toString(), QString("ok"));
        QCOMPARE(reply["objects"].toArray(), QJsonArray());
    }
}

void TestRoad::unknownMessageTypesAreTracedInHexadecimal()
{
    QCOMPARE(mServer->command("send type=2")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->command("send type=10")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->command("get ain 10")["status"].toString(), QString("ok"));
    const QByteArray trace = "Unknown type 2 Unknown type a AIN Object\nPacking Ananlog Port portId a\n";
    QVERIFY2(mSimulator->waitFor([&] { return mSimulator->output().endsWith(trace); }),
             mSimulator->output().constData());
}

void TestRoad::unknownObjectsAreTracedAndTheRestIsAnswered()
{
    const QJsonObject reply = mServer->command("get object=13");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["objects"].toArray(), QJsonArray());
    QCOMPARE(mServer->command("set object=12")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->command("get object=4000000000")["status"].toString(), QString("ok"));
    QCOMPARE(mServer->command("get object=10")["status"].toString(), QString("ok"));
    const QByteArray trace =
        "Unknown object 13\nUnknown object 12\nUnknown object 4000000000\nAccess Object\n";
    QVERIFY2(mSimulator->waitFor([&] { return mSimulator->output().endsWith(trace); }),
             mSimulator->output().constData());
}

void TestRoad::theTraceOfASetStandsAsItIs()
{
    mServer->command("set din * default=high");
    mServer->command("set object=0 ");
    mServer->command("set aout 1 value=5");
    const QByteArray trace =
        "DIN Object\nSetting default1Setting default1Setting default1DEVICE Object\nAOUT Object\n";
    QVERIFY2(mSimulator->waitFor([&] { return mSimulator->output().endsWith(trace); }),
             mSimulator->output().constData());
    QVERIFY(mSimulator->errors().contains("SET \n"));
}

ZUL_QTEST_GUILESS(TestRoad)
#include "road_test.moc"
