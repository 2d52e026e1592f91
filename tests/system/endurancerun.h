#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QProcess>
#include <QQueue>
#include <QString>

#include "badline.h"
#include "programs.h"

/// What a run of many requests over a bad line came to.
struct EnduranceResult
{
    qint64 requests = 0;   ///< that were sent
    qint64 answered = 0;   ///< with what was asked for
    qint64 wrong = 0;      ///< with anything else
    qint64 timedOut = 0;   ///< of these the answer came late or never
    qint64 cutOff = 0;     ///< the connection ended before the answer came
    qint64 turnedAway = 0; ///< commands that were not sent, as no device was there
    qint64 wraps = 0;      ///< how often the sequence number began again within a connection
    qint64 firstAfter = 0; ///< connections whose first request was answered
    double seconds = 0;
    BadLine::Counts faults;
    QString problem; ///< why the run ended early, or what was wrong first

    QString text() const;
};

/// Sends many requests from the real server to the real simulator through a line full of faults.
///
/// The kind and the port number of an answer tell which request it belongs to.
class EnduranceRun : public QObject
{
    Q_OBJECT

public:
    EnduranceRun(qint64 requests, uint64_t seed, BadLine::Rules rules);

    /// Faults of many kinds: @p scale 1 ends some connection every 2500 requests or so.
    static BadLine::Rules manyFaults(double scale);

    /// Runs to the end. Once only.
    EnduranceResult run();

private:
    struct Asked
    {
        QString command;
        QString type;
        int port;
    };

    bool startPrograms();
    void sendMore();
    Asked requestNumber(qint64 number) const;
    void takeLines();
    void takeLine(const QJsonObject& line);
    void takeReply(const QJsonObject& line);
    void takeAnswer(const Asked& asked, const QJsonObject& line);
    void requestDone(bool answered);
    void fail(const QString& problem);

    const qint64 mRequests;
    const uint64_t mSeed;
    const BadLine::Rules mRules;
    QProcess mServer;
    Program mSimulator;
    std::unique_ptr<BadLine> mLine;
    QQueue<Asked> mAsked;
    qint64 mNext = 0; ///< number of the next request
    int mServerPort = 0;
    int mDevices = 0;      ///< that the server knows now
    qint64 mOnThisOne = 0; ///< requests on the present connection
    bool mOver = false;
    QElapsedTimer mSinceLine;
    EnduranceResult mResult;
};
