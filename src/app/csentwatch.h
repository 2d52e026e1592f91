#pragma once

#include <QDeadlineTimer>
#include <QTimer>

class MainWindow;

/// Ends the program once the link has taken what the device has sent.
class cSentWatch
{
public:
    /// @p window outlives it.
    explicit cSentWatch(MainWindow& window);

    /// Ends with @p status, after @p maxMs at the latest.
    void endWith(int status, qint64 maxMs);

    /// Ends with @p status when the server has read everything, however long it takes to reach it. A link
    /// that is off is not waited for.
    void endWhenRead(int status);

private:
    void look();

    static constexpr int kCheckIntervalMs = 10;

    MainWindow& mWindow;
    int mStatus = 0;
    bool mAwaitsReading = false;
    QDeadlineTimer mDeadline;
    QTimer mCheck;
};
