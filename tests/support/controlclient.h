#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QtTest>
#include <optional>

/// A client of a control socket that keeps the lines received until a test takes them.
class ControlClient
{
public:
    explicit ControlClient(const QString& path) { mSocket.connectToServer(path); }

    bool isConnected() const { return mSocket.state() == QLocalSocket::ConnectedState; }

    void send(const QByteArray& line) { sendBytes(line + '\n'); }

    void sendBytes(const QByteArray& bytes)
    {
        mSocket.write(bytes);
        mSocket.flush();
    }

    void close() { mSocket.abort(); }

    /// Takes the next line, waiting for it; an empty object if none comes.
    QJsonObject next()
    {
        return QTest::qWaitFor([this] { return mSocket.canReadLine(); }, kPatienceMs)
                   ? QJsonDocument::fromJson(mSocket.readLine()).object()
                   : QJsonObject();
    }

    /// The same for the next line with this "event"; what comes before it is passed over.
    QJsonObject next(const QString& event)
    {
        QJsonObject line = next();
        while (!line.isEmpty() && line["event"] != event) {
            line = next();
        }
        return line;
    }

    /// Sends @p command and takes its reply.
    QJsonObject ask(const QByteArray& command)
    {
        send(command);
        return next("reply");
    }

    /// The status of the reply to @p command.
    QString status(const QByteArray& command) { return ask(command)["status"].toString(); }

    /// The first object of the reply to @p command.
    QJsonObject object(const QByteArray& command) { return ask(command)["objects"].toArray()[0].toObject(); }

    QLocalSocket& socket() { return mSocket; }

private:
    static constexpr int kPatienceMs = 30000;

    QLocalSocket mSocket;
};
