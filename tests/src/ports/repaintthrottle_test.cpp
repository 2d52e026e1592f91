#include "cdoutput.h"
#include "crepaintthrottle.h"
#include "qttestmain.h"
#include "scriptedwindow.h"

namespace {

/// Longer than any test takes, in milliseconds.
constexpr int kForEver = 24 * 3600 * 1000;

/// A window that holds a number and remembers what it painted.
class NumberWindow : public QWidget
{
public:
    int mNumber = 0;
    QVector<int> mPainted;

    /// Shows the window and forgets what that painted.
    void begin()
    {
        resize(100, 100);
        show();
        QVERIFY(QTest::qWaitForWindowExposed(this));
        QCoreApplication::processEvents();
        mPainted.clear();
    }

    /// Changes the number and handles what that asks for, but no timer.
    void change(int number)
    {
        mNumber = number;
        update();
        QCoreApplication::sendPostedEvents();
    }

protected:
    void paintEvent(QPaintEvent*) override { mPainted.append(mNumber); }
};

/// Counts the paintings of a row of the panel, and remembers the colour of the last one.
class RowPaintings : public QObject
{
public:
    explicit RowPaintings(QWidget* row) : mRow(row) { row->installEventFilter(this); }

    int mCount = 0;
    QColor mColour;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            ++mCount;
            mColour = mRow->palette().color(QPalette::Window);
        }
        return false;
    }

private:
    QWidget* mRow;
};

} // namespace

class TestRepaintThrottle : public QObject
{
    Q_OBJECT

private slots:
    void theFirstChangeIsPaintedAtOnce();
    void aThousandChangesAfterAPaintAreOnePaint();
    void aChangeAfterAPauseIsPaintedAtOnce();
    void theLastOfManyChangesIsPainted();
    void aPaintOfTheWindowSystemIsNotDelayed();
    void aForcedPaintWaitsToo();
    void anotherWindowIsNotDelayed();
    void aHiddenWindowPaintsNothing();
    void aWindowShownAgainPaintsWhatItDelayed();
    void theProgramsWindowIsThrottled();
    void aLongPaintIsFollowedByALongerInterval();
};

void TestRepaintThrottle::theFirstChangeIsPaintedAtOnce()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, kForEver);
    window.change(1);
    QCOMPARE(window.mPainted, QVector<int>({1}));
}

void TestRepaintThrottle::aThousandChangesAfterAPaintAreOnePaint()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, 2000);
    window.change(1);
    // No timer is handled before the last of them.
    for (int number = 2; number <= 1001; ++number) {
        window.change(number);
    }
    QTRY_COMPARE(window.mPainted.last(), 1001);
    QCOMPARE(window.mPainted, QVector<int>({1, 1001}));
}

void TestRepaintThrottle::aChangeAfterAPauseIsPaintedAtOnce()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window);
    window.change(1);
    QElapsedTimer pause;
    pause.start();
    QTRY_VERIFY(pause.elapsed() > cRepaintThrottle::kMaxIntervalMs);
    window.change(2);
    QCOMPARE(window.mPainted, QVector<int>({1, 2}));
}

void TestRepaintThrottle::theLastOfManyChangesIsPainted()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window);
    QElapsedTimer time;
    time.start();
    for (int number = 1; number <= 1000; ++number) {
        window.change(number);
        QCoreApplication::processEvents();
    }
    const qint64 frames = time.elapsed() / cRepaintThrottle::kMinIntervalMs + 1;
    QVERIFY2(window.mPainted.size() <= frames, qPrintable(QString::number(window.mPainted.size())));
    QTRY_COMPARE(window.mPainted.last(), 1000);
}

void TestRepaintThrottle::aPaintOfTheWindowSystemIsNotDelayed()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, kForEver);
    window.change(1);
    window.change(2);
    QCOMPARE(window.mPainted, QVector<int>({1}));
    window.resize(200, 200);
    QTRY_COMPARE(window.mPainted.last(), 2);
}

void TestRepaintThrottle::aForcedPaintWaitsToo()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, kForEver);
    window.change(1);
    window.mNumber = 2;
    window.repaint();
    QCOMPARE(window.mPainted, QVector<int>({1}));
}

void TestRepaintThrottle::anotherWindowIsNotDelayed()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, kForEver);
    window.change(1);
    window.change(2);
    NumberWindow popup;
    popup.setParent(&window, Qt::Popup);
    popup.begin();
    popup.change(3);
    popup.change(4);
    QCOMPARE(popup.mPainted, QVector<int>({3, 4}));
    QCOMPARE(window.mPainted, QVector<int>({1}));
}

void TestRepaintThrottle::aHiddenWindowPaintsNothing()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window);
    window.hide();
    // Were it shown, this would be painted at once.
    window.change(1);
    QVERIFY(window.mPainted.isEmpty());
}

void TestRepaintThrottle::aWindowShownAgainPaintsWhatItDelayed()
{
    NumberWindow window;
    window.begin();
    new cRepaintThrottle(&window, kForEver);
    window.change(1);
    window.change(2);
    window.hide();
    window.show();
    QTRY_COMPARE(window.mPainted, QVector<int>({1, 2}));
}

void TestRepaintThrottle::theProgramsWindowIsThrottled()
{
    ScriptedWindow run({1, 1, 0, 0, 0});
    run.window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&run.window()));
    run.device().setCurrentIndex(panelview::DIGITAL_OUTPUTS);
    QCoreApplication::processEvents();
    cDOutput* output = run.device().getOutput(0);
    RowPaintings paintings(output);
    QElapsedTimer time;
    time.start();
    for (int change = 1; change <= 1001; ++change) {
        output->updateOutput(change % 2 == 0 ? cObject::OBJ_IO_STATE_CLEAR : cObject::OBJ_IO_STATE_SET);
        QCoreApplication::processEvents();
    }
    // The window system may have asked for a frame of its own.
    const qint64 frames = time.elapsed() / cRepaintThrottle::kMinIntervalMs + 2;
    QVERIFY2(paintings.mCount <= frames, qPrintable(QString::number(paintings.mCount)));
    QTRY_COMPARE(paintings.mColour, QColor(Qt::red));
}

void TestRepaintThrottle::aLongPaintIsFollowedByALongerInterval()
{
    constexpr qint64 kMs = 1000000;
    QCOMPARE(cRepaintThrottle::intervalMsAfter(0), 16);
    QCOMPARE(cRepaintThrottle::intervalMsAfter(kMs / 10), 16);
    QCOMPARE(cRepaintThrottle::intervalMsAfter(kMs / 2), 49);
    QCOMPARE(cRepaintThrottle::intervalMsAfter(kMs), 50);
    QCOMPARE(cRepaintThrottle::intervalMsAfter(60000 * kMs), 50);
}

ZUL_QTEST(TestRepaintThrottle)
#include "repaintthrottle_test.moc"
