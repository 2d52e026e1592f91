#include "programs.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QtTest>
#include <csignal>

namespace {

constexpr int kHangs = 120000; // milliseconds

QByteArray contentOf(QFile* file, qint64 from = 0)
{
    if (!file->isOpen() && !file->open(QIODevice::ReadOnly)) {
        return {};
    }
    file->seek(from);
    return file->readAll();
}

} // namespace

Program::Program()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", mHome.path());
    environment.remove("DISPLAY");
    environment.remove("QT_QPA_PLATFORM");
    mProcess.setProcessEnvironment(environment);
    // A file never fills up, unlike a pipe: a program whose output is read late goes on.
    mOutput.setFileName(mHome.path() + "/output");
    mErrors.setFileName(mHome.path() + "/errors");
    mProcess.setStandardOutputFile(mOutput.fileName());
    mProcess.setStandardErrorFile(mErrors.fileName());
}

Program::~Program()
{
    if (mProcess.state() != QProcess::NotRunning) {
        mProcess.kill();
        mProcess.waitForFinished();
    }
}

void Program::start(const QString& path, const QStringList& arguments)
{
    mProcess.start(path, arguments);
    mProcess.waitForStarted();
}

QString Program::write(const QString& name, const QByteArray& content) const
{
    QFile file(mHome.path() + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("%s cannot be written", qPrintable(file.fileName()));
    }
    return file.fileName();
}

QByteArray Program::output() { return contentOf(&mOutput); }

QByteArray Program::newOutput()
{
    const QByteArray added = contentOf(&mOutput, mTaken);
    mTaken += added.size();
    return added;
}

QByteArray Program::errors() { return contentOf(&mErrors); }

bool Program::waitFor(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > kHangs) {
            return false;
        }
        QTest::qWait(5);
    }
    return true;
}

int Program::stop(int signalNumber)
{
    // Process 0 would mean this test and all that runs with it.
    const auto process = static_cast<pid_t>(mProcess.processId());
    if (process > 0) {
        ::kill(process, signalNumber);
    }
    return waitForEnd();
}

int Program::waitForEnd()
{
    if (mProcess.state() != QProcess::NotRunning && !mProcess.waitForFinished(kHangs)) {
        return -2;
    }
    const int status = mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    if (status != 0) {
        qWarning("%s", errors().constData());
    }
    return status;
}

ServerProgram::ServerProgram(const QStringList& arguments)
{
    mProgram.start(ZULSERVER_PROGRAM, arguments.isEmpty() ? QStringList{"--port", "0"} : arguments);
    mPort = line("listening")["port"].toInt();
}

void ServerProgram::type(const QString& command)
{
    mProgram.process().write(command.toUtf8() + '\n');
    mProgram.process().waitForBytesWritten();
    ++mReplies;
}

QJsonObject ServerProgram::command(const QString& command)
{
    type(command);
    return line("reply", mReplies);
}

QJsonObject ServerProgram::line(const QString& event, int count)
{
    if (!mProgram.waitFor([&] { return this->count(event) >= count; })) {
        return {};
    }
    for (const QJsonObject& candidate : mLines) {
        if (candidate["event"].toString() == event && --count == 0) {
            return candidate;
        }
    }
    return {};
}

const QVector<QJsonObject>& ServerProgram::lines()
{
    mUnparsed += mProgram.newOutput();
    for (int end = mUnparsed.indexOf('\n'); end >= 0; end = mUnparsed.indexOf('\n')) {
        mLines.append(QJsonDocument::fromJson(mUnparsed.left(end)).object());
        mUnparsed.remove(0, end + 1);
    }
    return mLines;
}

int ServerProgram::count(const QString& event)
{
    int count = 0;
    for (const QJsonObject& candidate : lines()) {
        count += candidate["event"].toString() == event ? 1 : 0;
    }
    return count;
}

QByteArray deviceFile(int dins, int douts, int ains, int aouts, int scanners, const QByteArray& serial,
                      const QByteArray& label)
{
    return "Digital input(s):    " + QByteArray::number(dins) +       //
           "\nDigital output(s):   " + QByteArray::number(douts) +    //
           "\nAnalog input(s):     " + QByteArray::number(ains) +     //
           "\nAnalog output(s):    " + QByteArray::number(aouts) +    //
           "\nScanner(s):          " + QByteArray::number(scanners) + //
           "\nDevice type:         TYPE_DISCRETE_IO"
           "\nDevice version:      3"
           "\nDevice serial:       " +
           serial + "\nDevice label:        " + label + "\n";
}

QByteArray connectionFile(int port)
{
    return "Connection descriptor:   test\n"
           "Connection IP address:   127.0.0.1\n"
           "Connection port number:  " +
           QByteArray::number(port) + "\n";
}

void startSimulator(Program* simulator, const QByteArray& device, int port,
                    const QStringList& furtherArguments)
{
    const QString deviceName = simulator->write("test.dev", device);
    const QString connectionName = simulator->write("test.con", connectionFile(port));
    QStringList arguments{"--headless", "--device", deviceName, "--connection", connectionName, "--connect"};
    arguments += furtherArguments;
    simulator->start(ZULBENCH_PROGRAM, arguments);
}
