#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;

/// Limits how often a window paints.
///
/// The first change after a pause is painted at once; those that follow within the interval are painted
/// together when it ends. The interval grows with the duration of the last paint, so that many changes leave
/// the thread time for messages. Paints that the window system asks for, when a window is shown, uncovered or
/// resized, are not delayed.
class cRepaintThrottle : public QObject
{
public:
    // From the end of one paint to the next.
    static constexpr int kMinIntervalMs = 16;
    static constexpr int kMaxIntervalMs = 50;

    /// Between the two, the interval and the paint before it last this many times as long as the paint.
    static constexpr int kIntervalFactor = 100;

    /// @p window becomes the parent.
    explicit cRepaintThrottle(QWidget* window, int minIntervalMs = kMinIntervalMs);

    /// The interval after a paint. @p paintNs duration of the paint, in ns
    static int intervalMsAfter(qint64 paintNs);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paint();

    QWidget* mWindow;
    const int mMinIntervalMs;
    int mIntervalMs;
    QTimer mNextPaint;        // runs only while changes wait
    QElapsedTimer mLastPaint; // invalid before the first one
    bool mPainting = false;
};
