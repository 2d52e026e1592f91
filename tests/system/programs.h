#pragma once

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>
#include <functional>

/// A program of this tree that runs as a process of its own, in an empty HOME.
class Program
{
public:
    Program();
    /// Kills the program if a test has left it running.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void start(const QString& path, const QStringList& arguments);
    QProcess& process() { return mProcess; }
    QString home() const { return mHome.path(); }

    /// Writes a file below HOME and returns its path.
    QString write(const QString& name, const QByteArray& content) const;

    /// What has come on standard output and standard error so far.
    QByteArray output();
    QByteArray errors();

    /// What has come on standard output since the last call.
    QByteArray newOutput();

    /// Waits until @p condition holds, handling events meanwhile. False after a time that only a program
    /// that hangs needs.
    static bool waitFor(const std::function<bool()>& condition);

    /// Sends the signal and waits for the end. The exit status, or -1 for a crash, -2 for no end at all.
    int stop(int signalNumber);
    int waitForEnd();

private:
    QTemporaryDir mHome;
    QProcess mProcess;
    QFile mOutput;
    QFile mErrors;
    qint64 mTaken = 0;
};

/// zulserver with its standard input and output at hand.
class ServerProgram
{
public:
    /// Listens on a free port of the loopback address, unless the arguments say otherwise.
    explicit ServerProgram(const QStringList& arguments = {});

    /// False if it did not come up.
    bool isListening() const { return mPort != 0; }
    int port() const { return mPort; }
    Program& program() { return mProgram; }

    /// Types @p command and waits for nothing.
    void type(const QString& command);

    /// Types @p command and returns its reply line; an empty object when none comes.
    QJsonObject command(const QString& command);

    /// The objects of the reply to @p command.
    QJsonArray objects(const QString& command) { return this->command(command)["objects"].toArray(); }

    /// Waits for the @p count-th line of this event and returns it.
    QJsonObject line(const QString& event, int count = 1);

    /// All lines so far.
    const QVector<QJsonObject>& lines();

    /// How many lines of this event there are so far.
    int count(const QString& event);

private:
    Program mProgram;
    QVector<QJsonObject> mLines;
    QByteArray mUnparsed;
    int mReplies = 0;
    int mPort = 0;
};

/// The text of a device file.
QByteArray deviceFile(int dins, int douts, int ains, int aouts, int scanners,
                      const QByteArray& serial = "1001", const QByteArray& label = "Panel7");

/// The text of a connection file for the loopback address.
QByteArray connectionFile(int port);

/// Starts the simulator without a display, with these files, connected.
void startSimulator(Program* simulator, const QByteArray& device, int port,
                    const QStringList& furtherArguments = {});
