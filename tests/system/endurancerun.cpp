#include "endurancerun.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>
#include <csignal>
#include <utility>

namespace {

constexpr int kPorts = 251; // prime: requests a whole turn of the sequence number apart ask for other ports
constexpr int kAhead = 32;  // commands that wait in the server
constexpr int kSilent = 120000; // milliseconds without a line

struct Kind
{
    const char* word;
    const char* type;
};
constexpr Kind kKinds[] = {
    {"din", "OBJ_PORT_DIN"}, {"dout", "OBJ_PORT_DOUT"}, {"ain", "OBJ_PORT_AIN"}, {"aout", "OBJ_PORT_AOUT"}};

} // namespace

QString EnduranceResult::text() const
{
    const auto part = [](const char* name, auto value) {
        return QString(" %1=%2").arg(name).arg(static_cast<double>(value), 0, 'f', 0);
    };
    using enum proxy::eFault;
    const auto fault = [&](const char* name, proxy::eFault kind) { return part(name, faults.of(kind)); };
    QString line = QString("requests=%1").arg(requests);
    line += part("answered", answered) + part("wrong", wrong) + part("timedOut", timedOut) +
            part("cutOff", cutOff) + part("turnedAway", turnedAway) + part("wraps", wraps) +
            part("firstAfter", firstAfter) + part("connections", faults.connections) +
            fault("corrupted", CORRUPT) + fault("duplicated", DUPLICATE) + fault("dropped", LOSE) +
            fault("stalled", STALL) + fault("resets", RESET) + fault("closed", TRUNCATE) +
            fault("silenced", SILENCE) + QString(" seconds=%1").arg(seconds, 0, 'f', 1);
    return problem.isEmpty() ? line : line + " problem=\"" + problem + "\"";
}

BadLine::Rules EnduranceRun::manyFaults(double scale)
{
    const auto rule = [scale](const char* kind, double chance) {
        return std::string(kind) + " p=" + QString::number(chance * scale, 'f', 9).toStdString();
    };
    return {rule("corrupt bits=3", 0.00006),     rule("duplicate", 0.0002), rule("lose", 0.0001),
            rule("stall for=0.7", 0.00006),      rule("reset", 0.00005),    rule("truncate", 0.00005),
            rule("timeout timeout=900", 0.00003)};
}

EnduranceRun::EnduranceRun(qint64 requests, uint64_t seed, BadLine::Rules rules)
    : mRequests(requests), mSeed(seed), mRules(std::move(rules))
{}

EnduranceResult EnduranceRun::run()
{
    QElapsedTimer timer;
    timer.start();
    mSinceLine.start();
    if (startPrograms()) {
        QEventLoop loop;
        QTimer watch;
        connect(&mServer, &QProcess::readyReadStandardOutput, this, &EnduranceRun::takeLines);
        connect(&watch, &QTimer::timeout, this, [&] {
            if (mSinceLine.elapsed() > kSilent) {
                fail("nothing happens any more");
            }
            if (mServer.state() == QProcess::NotRunning ||
                mSimulator.process().state() == QProcess::NotRunning) {
                fail("a program has ended");
            }
        });
        watch.start(100);
        takeLines();
        while (!mOver) {
            loop.processEvents(QEventLoop::WaitForMoreEvents);
        }
        mResult.wraps += mOnThisOne / 256;
        mResult.faults = mLine->counts();
    }
    if (mSimulator.stop(SIGTERM) != 0) {
        fail("the simulator did not end in good order");
    }
    mServer.terminate();
    if (!mServer.waitForFinished() || mServer.exitCode() != 0) {
        fail("the server did not end in good order");
    }
    mResult.seconds = static_cast<double>(timer.elapsed()) / 1000;
    return mResult;
}

bool EnduranceRun::startPrograms()
{
    mServer.setProcessChannelMode(QProcess::SeparateChannels);
    mServer.setStandardErrorFile(mSimulator.home() + "/server-errors");
    mServer.start(ZULSERVER_PROGRAM, {"--port", "0"});
    while (mServerPort == 0 && mServer.waitForReadyRead(kSilent)) {
        takeLines();
    }
    if (mServerPort == 0) {
        fail("the server does not come up");
        return false;
    }
    mLine = std::make_unique<BadLine>(mServerPort, mRules, mSeed);
    startSimulator(&mSimulator, deviceFile(kPorts, kPorts, kPorts, kPorts, 1), mLine->port());
    return true;
}

void EnduranceRun::sendMore()
{
    QByteArray commands;
    while (mDevices > 0 && mAsked.size() < kAhead && mResult.requests + mAsked.size() < mRequests) {
        mAsked.enqueue(requestNumber(mNext++));
        commands += mAsked.last().command.toUtf8() + '\n';
    }
    if (!commands.isEmpty()) {
        mServer.write(commands);
    }
}

EnduranceRun::Asked EnduranceRun::requestNumber(qint64 number) const
{
    const Kind& kind = kKinds[number / kPorts % 4];
    const int port = static_cast<int>(1 + number % kPorts);
    // A line that stands still for a while makes some answers late.
    return {QString("get %1 %2 timeout=0.3").arg(kind.word).arg(port), kind.type, port};
}

void EnduranceRun::takeLines()
{
    while (mServer.canReadLine()) {
        mSinceLine.restart();
        takeLine(QJsonDocument::fromJson(mServer.readLine()).object());
    }
    if (mResult.requests >= mRequests) {
        mOver = true;
    } else {
        sendMore();
    }
}

void EnduranceRun::takeLine(const QJsonObject& line)
{
    const QString event = line["event"].toString();
    if (event == "reply") {
        takeReply(line);
    } else if (event == "device") {
        ++mDevices;
        mResult.wraps += mOnThisOne / 256;
        mOnThisOne = 0;
    } else if (event == "disconnected" && !line["deviceSerial"].isNull()) {
        --mDevices;
    } else if (event == "listening") {
        mServerPort = line["port"].toInt();
    }
}

void EnduranceRun::takeReply(const QJsonObject& line)
{
    if (mAsked.isEmpty() || line["command"].toString() != mAsked.head().command) {
        fail("a reply without its command: " + line["command"].toString());
        return;
    }
    const Asked asked = mAsked.dequeue();
    const QString status = line["status"].toString();
    const QString error = line["error"].toString();
    if (status == "ok") {
        takeAnswer(asked, line);
    } else if (status == "timeout") {
        ++mResult.timedOut;
        requestDone(false);
    } else if (error.startsWith("The device disconnected")) {
        ++mResult.cutOff;
        requestDone(false);
    } else if (error.startsWith("No device") || error.startsWith("Several devices")) {
        ++mResult.turnedAway;
    } else {
        fail("an error that was not expected: " + error);
    }
}

void EnduranceRun::takeAnswer(const Asked& asked, const QJsonObject& line)
{
    const QJsonArray objects = line["objects"].toArray();
    const QJsonObject object = objects.isEmpty() ? QJsonObject() : objects[0].toObject();
    const bool right = objects.size() == 1 && object["type"].toString() == asked.type &&
                       object["portId"].toInt() == asked.port;
    ++(right ? mResult.answered : mResult.wrong);
    if (!right && mResult.problem.isEmpty()) {
        mResult.problem = asked.command + " was answered with " +
                          QString::fromUtf8(QJsonDocument(objects).toJson(QJsonDocument::Compact));
    }
    requestDone(true);
}

void EnduranceRun::requestDone(bool answered)
{
    ++mResult.requests;
    ++mOnThisOne;
    mResult.firstAfter += mOnThisOne == 1 && answered ? 1 : 0;
}

void EnduranceRun::fail(const QString& problem)
{
    mOver = true;
    if (mResult.problem.isEmpty()) {
        mResult.problem = problem;
    }
}
