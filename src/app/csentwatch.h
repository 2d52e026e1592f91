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

    /// Ends with @p status, after @p maxMs at the latest; -1 for no limit.
    void endWith(int status, qint64 maxMs);

private:
    void look();

    static constexpr int kCheckIntervalMs = 10;

    MainWindow& mWindow;
    int mStatus = 0;
    QDeadlineTimer mDeadline;
    QTimer mCheck;
};
