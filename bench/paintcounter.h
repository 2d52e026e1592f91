#ifndef PAINTCOUNTER_H
#define PAINTCOUNTER_H

#include <QApplication>
#include <QEvent>
#include <atomic>
#include <cstdint>

/// Counts how often the program's window is painted, as a whole or in parts.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(std::atomic<uint32_t>* paints) : mPaints(paints) { qApp->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        // A request to update the window begins a turn, in which each dirty widget is painted.
        if (event->type() == QEvent::UpdateRequest) {
            mCounted = false;
        } else if (event->type() == QEvent::Paint && !mCounted) {
            mCounted = true;
            ++*mPaints;
        }
        return false;
    }

private:
    std::atomic<uint32_t>* mPaints;
    bool mCounted = false;
};

#endif
