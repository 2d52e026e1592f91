#ifndef CREPAINTTHROTTLE_H
#define CREPAINTTHROTTLE_H

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;

/// Keeps a window from painting more often than a screen shows.
///
/// The first change after a pause is painted at once; those that follow within the rest are painted together,
/// as they stand by then. A frame that took long is followed by a longer rest, so that under many changes the
/// thread has its time for messages. What the window system asks for is not held back: a window that is
/// shown, uncovered or resized paints at once.
class cRepaintThrottle : public QObject
{
public:
    /// The rest from the end of one frame to the next, in milliseconds.
    static constexpr int kMinIntervalMs = 16;

    /// A frame's part of the time, and the rest that this leads to at most.
    static constexpr int kParts = 100;
    static constexpr int kLongestRest = 50;

    /// @p window is paced from now on and owns the pace.
    explicit cRepaintThrottle(QWidget* window, int rest = kMinIntervalMs);

    /// The rest in milliseconds that follows a frame of so many nanoseconds.
    static int restAfter(qint64 frame);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paint();

    QWidget* mWindow;
    const int mLeastRest;
    int mRest;
    QTimer mNextFrame;        // runs only while changes wait
    QElapsedTimer mLastFrame; // invalid before the first one
    bool mPainting = false;
};

#endif
