#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QProcess>
#include <csignal>

/// One run of the program, without a display, in a HOME of its own.
class HeadlessProgram
{
public:
    HeadlessProgram()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
            environment.remove(name);
        }
        // Some builds of Qt would send debug lines to the system's journal.
        environment.insert("QT_LOGGING_TO_CONSOLE", "1");
        mProcess.setProcessEnvironment(environment);
    }

    ~HeadlessProgram()
    {
        if (mProcess.state() != QProcess::NotRunning) {
            mProcess.kill();
            mProcess.waitForFinished();
        }
    }

    void setEnvironment(const QString& name, const QString& value)
    {
        QProcessEnvironment environment = mProcess.processEnvironment();
        environment.insert(name, value);
        mProcess.setProcessEnvironment(environment);
    }

    void start(const QStringList& arguments) { mProcess.start(ZULBENCH_PROGRAM, arguments); }

    /// Waits until standard error holds @p text.
    bool waitForError(const QByteArray& text)
    {
        QElapsedTimer timer;
        timer.start();
        while (!mError.contains(text) && timer.elapsed() < kPatience) {
            if (!mProcess.waitForReadyRead(100) && mProcess.state() == QProcess::NotRunning) {
                break;
            }
            mError += mProcess.readAllStandardError();
        }
        return mError.contains(text);
    }

    void send(int signalNumber)
    {
        // Process 0 would mean this test and all that runs with it.
        const auto process = static_cast<pid_t>(mProcess.processId());
        if (process > 0) {
            kill(process, signalNumber);
        }
    }

    /// The exit status; -1 if the program crashed or goes on.
    int status()
    {
        if (mProcess.state() != QProcess::NotRunning && !mProcess.waitForFinished(kPatience)) {
            return -1;
        }
        return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }

    QByteArray out() { return mProcess.readAllStandardOutput(); }

    QByteArray error()
    {
        mError += mProcess.readAllStandardError();
        return mError;
    }

    /// The lines of standard error that the program itself addresses to the operator.
    QList<QByteArray> complaints()
    {
        QList<QByteArray> lines;
        for (const QByteArray& line : error().split('\n')) {
            if (line.startsWith("zulbench: ")) {
                lines.append(line);
            }
        }
        return lines;
    }

private:
    static constexpr int kPatience = 60000;

    QProcess mProcess;
    QByteArray mError;
};
