#include "qttestmain.h"
#include "zulcommand/controlcommand.h"

#include <QFile>

Q_DECLARE_METATYPE(std::string)

/// What a line to the control socket means, and what is wrong with one.
class TestControlCommand : public QObject
{
    Q_OBJECT

private slots:
    void aMistakeIsOneSentence_data();
    void aMistakeIsOneSentence();
    void everyLineOfTheHelpIsACommand_data();
    void everyLineOfTheHelpIsACommand();
    void everyLineOfTheHelpIsInTheManual();
    void aWordMayStandInQuotationMarks();
    void aSliderHasAValueThatNoRecordHolds();
};

void TestControlCommand::aMistakeIsOneSentence_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("sentence");
    const auto row = [](const char* line, const char* sentence) {
        QTest::newRow(line) << QByteArray(line) << QString(sentence);
    };
    row("dance", "There is no command \"dance\".");
    row("a=b", "The line does not begin with a command.");
    row("get", "The command does not say what to get.");
    row("get door", "There is no \"door\" to get.");
    row("get din 0", "PORT is neither * nor a whole number from 1 to 4294967295: \"0\".");
    row("get din 1 2", "The command does not take \"2\".");
    row("get device 1", "The command does not take \"1\".");
    row("get din 1 1 x=1", "The command does not take \"1\".");
    row("get link up", "The command does not take \"up\".");
    row("set", "The command does not say what to set.");
    row("set dout 1 high", "There is no \"dout\" to set: only din and ain are the device's.");
    row("set din", "The command needs PORT.");
    row("set din 1", "The command needs high or low.");
    row("set din 1 up", "The state is neither high nor low: \"up\".");
    row("set din 1 high high", "The command does not take \"high\".");
    row("set din * high", "PORT is not a whole number from 1 to 4294967295: \"*\".");
    row("set din 4294967296 high", "PORT is not a whole number from 1 to 4294967295: \"4294967296\".");
    row("set ain 1", "The command needs N.");
    row("set ain 1 101", "N is not a whole number from 0 to 100: \"101\".");
    row("set ain 1 -1", "N is not a whole number from 0 to 100: \"-1\".");
    row("set ain 1 1.5", "N is not a whole number from 0 to 100: \"1.5\".");
    row("scan", "The command needs SCANNER.");
    row("scan 1", "The command needs CODE.");
    row("scan 1 4711 ANNA", "The command does not take \"ANNA\".");
    row("scan 1 \"4711", "The word is no text in quotation marks, as JSON has it: \"4711.");
    row("adhoc 0 a b", "ID is not a whole number from 1 to 99: \"0\".");
    row("adhoc 100 a b", "ID is not a whole number from 1 to 99: \"100\".");
    row("adhoc 7 door", "The command needs VALUE.");
    row("wire", "The command needs din or ain.");
    row("wire dout 1 1", "The input is neither din nor ain: \"dout\".");
    row("wire din 1", "The command needs the output M.");
    row("connect nowhere", "The server is not HOST:PORT, with a port from 1 to 65535: \"nowhere\".");
    row("connect a:1 timeout=0", "timeout is not a number of seconds above 0 and up to 86400: \"0\".");
    row("disconnect now", "The command does not take \"now\".");
    row("load", "The command needs FILE.");
    row("script", "The command needs FILE.");
    row("expect", "The command expects \"event\", \"no event\" or \"get\".");
    row("expect get", "The command does not say what to get.");
    row("expect get link", "The command expects no link: wait link up or wait link down does.");
    row("expect get scenario", "The command expects nothing of a scenario: a step of it may.");
    row("scenario", "The command needs FILE.");
    row("expect get din 1 value=1", "OBJ_PORT_DIN has no field \"value\".");
    row("expect get din 1 within=x", "within is not a number of seconds above 0 and up to 86400: \"x\".");
    row("expect get din 1 timeout=1", "The command takes within=S, not timeout=S.");
    row("expect event portId=1", "The field \"portId\" needs the type of its object.");
    row("expect event NOTHING", "\"NOTHING\" is no type of an object.");
    row("wait", "The command waits for \"link up\", \"link down\" or \"scripts\".");
    row("wait link", "The command waits for \"link up\", \"link down\" or \"scripts\".");
    row("wait link off", "The command waits for \"link up\", \"link down\" or \"scripts\".");
    row("sleep", "The command needs a number of seconds.");
    row("sleep -1", "The time is not a number of seconds from 0 to 86400: \"-1\".");
    row("quit now", "The command does not take \"now\".");
    row("get din 1 serial=1", "The command does not take the field \"serial\".");
    row("scan 1 \xff", "The command is not UTF-8.");
    QTest::newRow("a NUL") << QByteArray("scan 1 a\0b", 10) << "The command holds a NUL.";
    QTest::newRow("5,000 bytes") << "scan 1 " + QByteArray(4993, 'x')
                                 << "The command is longer than 4096 bytes.";
}

void TestControlCommand::aMistakeIsOneSentence()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, sentence);
    sControlCommand command;
    QCOMPARE(QString::fromStdString(parseControlCommand(line.toStdString(), &command)), sentence);
}

void TestControlCommand::everyLineOfTheHelpIsACommand_data()
{
    QTest::addColumn<QByteArray>("line");
    int commands = 0;
    for (QByteArray line : QByteArray::fromStdString(controlHelp()).split('\n')) {
        if (line.isEmpty() || (line.endsWith('.') && !line.endsWith("..."))) {
            continue;
        }
        QTest::newRow(line) << line.replace("device|capability|link|scenario", "scenario")
                                   .replace("get ... [NAME=VALUE]...", "get din 1 portId=1")
                                   .replace("din|dout|ain|aout|scanner [PORT|*]", "scanner *")
                                   .replace("high|low", "high")
                                   .replace("up|down", "up")
                                   .replace("din|ain", "din")
                                   .replace("[OBJECT-TYPE [NAME=VALUE]...]", "OBJ_PORT_DIN portId=1")
                                   .replace("[HOST:PORT]", "[::1]:50000")
                                   .replace("[ARGUMENT]...", "one two")
                                   .replace(" PORT", " 1")
                                   .replace("SCANNER", "1")
                                   .replace(" N", " 1")
                                   .replace(" M", " 2")
                                   .replace(" ID", " 7")
                                   .replace(" S", " 0.5");
        ++commands;
    }
    QCOMPARE(commands, 22);
}

void TestControlCommand::everyLineOfTheHelpIsACommand()
{
    QFETCH(QByteArray, line);
    sControlCommand command;
    QCOMPARE(parseControlCommand(line.toStdString(), &command), std::string());
}

void TestControlCommand::everyLineOfTheHelpIsInTheManual()
{
    QFile manual(CONTROL_MANUAL);
    QVERIFY(manual.open(QIODevice::ReadOnly));
    const QByteArray text = manual.readAll();
    for (QByteArray line : QByteArray::fromStdString(controlHelp()).split('\n')) {
        if (!line.isEmpty() && (!line.endsWith('.') || line.endsWith("..."))) {
            QVERIFY2(text.contains("| `" + line.replace('|', "\\|") + "` |"), line);
        }
    }
}

void TestControlCommand::aWordMayStandInQuotationMarks()
{
    sControlCommand command;
    QCOMPARE(parseControlCommand(R"(adhoc 7 "front door" "forced=open\u00e9")", &command), std::string());
    QCOMPARE(command.texts, (std::vector<std::string>{"front door", "forced=open\u00e9"}));
    QCOMPARE(parseControlCommand(R"("scan" "2" "")", &command), std::string());
    QCOMPARE(command.number, 2U);
    QCOMPARE(command.texts, std::vector<std::string>{""});
}

void TestControlCommand::aSliderHasAValueThatNoRecordHolds()
{
    sControlCommand command;
    QCOMPARE(parseControlCommand("expect get ain 1 value=42 gain=1", &command), std::string());
    QCOMPARE(command.filter.conditions.size(), size_t{2});
    QCOMPARE(parseControlCommand("expect get capability value=yes", &command), std::string());
}

ZUL_QTEST_GUILESS(TestControlCommand)
#include "controlcommand_test.moc"
