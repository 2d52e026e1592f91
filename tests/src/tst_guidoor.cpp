#include "cguidoor.h"
#include "qttestmain.h"

#include <atomic>
#include <thread>

namespace {

/// Starts threads that go through a door, and joins them.
class Visitors
{
public:
    ~Visitors() { join(); }

    void send(const std::function<void()>& body) { mThreads.emplace_back(body); }

    void join()
    {
        for (std::thread& thread : mThreads) {
            thread.join();
        }
        mThreads.clear();
    }

private:
    std::vector<std::thread> mThreads;
};

/// Counts the visitors that stand at a door: each has posted one event to it.
class CountedDoor : public cGuiDoor
{
public:
    std::atomic<int> mArrivals{0};

    /// Runs like run(), and counts the caller before it may have to wait.
    bool visit(const std::function<void()>& call)
    {
        ++mArrivals;
        return run(call);
    }
};

const int kPatience = 30000;

/// Waits without handling events, so that the door stays as it is meanwhile.
template <class Condition>
bool waitOutside(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < kPatience) {
        std::this_thread::yield();
    }
    return condition();
}

} // namespace

class TestGuiDoor : public QObject
{
    Q_OBJECT

private slots:
    void onTheGuiThreadACallRunsAtOnce();
    void aCallMayGoThroughTheDoorAgain();
    void aCallOfAnotherThreadRunsOnTheGuiThread();
    void theOtherThreadSeesWhatItsCallDid();
    void callsOfOneThreadRunInTheirOrder();
    void manyThreadsAllGetThrough();
    void closingReleasesThoseWhoWait();
    void aClosedDoorTurnsEveryoneAway();
    void eventsThatAreLeftAfterClosingDoNothing();
    void aClosedDoorMayGoOnAnyThread();

    void onTheGuiThreadACallThatIsLeftRunsAtOnce();
    void leavingACallDoesNotWaitForIt();
    void callsThatAreLeftAndCallsThatAreWaitedForKeepOneOrder();
    void whereTooManyCallsAreLeftTheCallerWaits();
    void closingDropsTheCallsThatAreLeft();
    void closingReleasesThoseWhoWaitForRoom();
    void aCallThatIsLeftGoesWhenItHasRun();
    void callsOfManyThreadsThatAreLeftAllRun();
    void aLongTurnEndsBeforeItsLastCall();
};

void TestGuiDoor::onTheGuiThreadACallRunsAtOnce()
{
    cGuiDoor door;
    bool ran = false;
    QVERIFY(door.run([&] { ran = true; }));
    QVERIFY(ran);
}

void TestGuiDoor::aCallMayGoThroughTheDoorAgain()
{
    cGuiDoor door;
    QStringList order;
    QVERIFY(door.run([&] {
        order << "before";
        QVERIFY(door.run([&] { order << "within"; }));
        order << "after";
    }));
    QCOMPARE(order, QStringList({"before", "within", "after"}));
}

void TestGuiDoor::aCallOfAnotherThreadRunsOnTheGuiThread()
{
    cGuiDoor door;
    QThread* ranOn = nullptr;
    std::atomic<bool> returned{false};
    Visitors visitors;
    visitors.send([&] {
        door.run([&] { ranOn = QThread::currentThread(); });
        returned = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(returned, kPatience);
    QCOMPARE(ranOn, QThread::currentThread());
}

void TestGuiDoor::theOtherThreadSeesWhatItsCallDid()
{
    cGuiDoor door;
    int value = 0;
    std::atomic<int> seen{-1};
    std::atomic<bool> accepted{false};
    Visitors visitors;
    visitors.send([&] {
        accepted = door.run([&] { value = 42; });
        seen = value;
    });
    QTRY_COMPARE_WITH_TIMEOUT(seen.load(), 42, kPatience);
    QVERIFY(accepted);
}

void TestGuiDoor::callsOfOneThreadRunInTheirOrder()
{
    cGuiDoor door;
    QVector<int> order;
    std::atomic<bool> done{false};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 30; ++i) {
            door.run([&order, i] { order.append(i); });
        }
        done = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(done, kPatience);
    QCOMPARE(order.size(), 30);
    QVERIFY(std::is_sorted(order.begin(), order.end()));
}

void TestGuiDoor::manyThreadsAllGetThrough()
{
    cGuiDoor door;
    int calls = 0; // no lock: the GUI thread alone touches it
    std::atomic<int> done{0};
    Visitors visitors;
    for (int thread = 0; thread < 4; ++thread) {
        visitors.send([&] {
            for (int i = 0; i < 30; ++i) {
                door.run([&calls] { ++calls; });
            }
            ++done;
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(done.load(), 4, kPatience);
    QCOMPARE(calls, 120);
}

void TestGuiDoor::closingReleasesThoseWhoWait()
{
    CountedDoor door;
    std::atomic<int> turnedAway{0};
    std::atomic<int> ran{0};
    Visitors visitors;
    for (int thread = 0; thread < 3; ++thread) {
        visitors.send([&] { turnedAway += door.visit([&] { ++ran; }) ? 0 : 1; });
    }
    QVERIFY(waitOutside([&] { return door.mArrivals == 3; }));
    door.close();
    visitors.join();
    QCOMPARE(turnedAway.load(), 3);
    QCOMPARE(ran.load(), 0);
}

void TestGuiDoor::aClosedDoorTurnsEveryoneAway()
{
    cGuiDoor door;
    door.close();
    bool ran = false;
    QVERIFY(!door.run([&] { ran = true; }));
    std::atomic<bool> accepted{true};
    Visitors visitors;
    visitors.send([&] { accepted = door.run([&] { ran = true; }); });
    visitors.join();
    QVERIFY(!accepted);
    QVERIFY(!ran);
}

void TestGuiDoor::eventsThatAreLeftAfterClosingDoNothing()
{
    CountedDoor door;
    std::atomic<bool> accepted{true};
    bool ran = false;
    Visitors visitors;
    visitors.send([&] { accepted = door.visit([&] { ran = true; }); });
    QVERIFY(waitOutside([&] { return door.mArrivals == 1; }));
    door.close();
    visitors.join();
    QCoreApplication::processEvents();
    QVERIFY(!accepted);
    QVERIFY(!ran);
}

void TestGuiDoor::aClosedDoorMayGoOnAnyThread()
{
    // Qt warns of what stays registered with the thread that it belongs to.
    static std::atomic<int> warnings;
    warnings = 0;
    const QtMessageHandler former = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext&, const QString&) { warnings += type == QtWarningMsg; });
    auto door = std::make_shared<CountedDoor>();
    Visitors visitors;
    visitors.send([door] { door->visit([] {}); });
    QVERIFY(waitOutside([&door] { return door->mArrivals == 1; }));
    door->close();
    visitors.send([last = std::move(door)]() mutable { last.reset(); });
    visitors.join();
    qInstallMessageHandler(former);
    QCOMPARE(warnings.load(), 0);
}

void TestGuiDoor::onTheGuiThreadACallThatIsLeftRunsAtOnce()
{
    cGuiDoor door;
    bool ran = false;
    QVERIFY(door.post([&ran] { ran = true; }));
    QVERIFY(ran);
}

void TestGuiDoor::leavingACallDoesNotWaitForIt()
{
    cGuiDoor door;
    int calls = 0;
    std::atomic<int> accepted{0};
    Visitors visitors;
    visitors.send([&] {
        accepted += door.post([&calls] { ++calls; });
        accepted += door.post([&calls] { ++calls; });
    });
    // This thread handles no events meanwhile.
    visitors.join();
    QCOMPARE(accepted.load(), 2);
    QCOMPARE(calls, 0);
    QTRY_COMPARE_WITH_TIMEOUT(calls, 2, kPatience);
}

void TestGuiDoor::callsThatAreLeftAndCallsThatAreWaitedForKeepOneOrder()
{
    cGuiDoor door;
    QVector<int> order;
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 300; i += 3) {
            door.post([&order, i] { order.append(i); });
            door.post([&order, i] { order.append(i + 1); });
            int seen = -1;
            door.run([&order, &seen, i] {
                seen = order.size();
                order.append(i + 2);
            });
            wrong += seen == i + 2 ? 0 : 1;
        }
        done = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(done, kPatience);
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(order.size(), 300);
    QVERIFY(std::is_sorted(order.begin(), order.end()));
}

void TestGuiDoor::whereTooManyCallsAreLeftTheCallerWaits()
{
    const auto most = static_cast<int>(cGuiDoor::kMostLeft);
    cGuiDoor door;
    int calls = 0;
    int ahead = 0;
    std::atomic<int> left{0};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 5 * most; ++i) {
            door.post([&] {
                ++calls;
                // A call that is being left is not counted yet.
                ahead = std::max(ahead, left - calls);
            });
            ++left;
        }
    });
    QVERIFY(waitOutside([&] { return left == most; }));
    QTRY_COMPARE_WITH_TIMEOUT(calls, 5 * most, kPatience);
    QVERIFY2(ahead <= most, qPrintable(QString::number(ahead)));
}

void TestGuiDoor::closingDropsTheCallsThatAreLeft()
{
    cGuiDoor door;
    bool ran = false;
    const auto held = std::make_shared<int>(0);
    Visitors visitors;
    visitors.send([&door, &ran, held] { door.post([&ran, held] { ran = true; }); });
    visitors.join();
    QCOMPARE(held.use_count(), 2L);
    door.close();
    QCOMPARE(held.use_count(), 1L);
    QCoreApplication::processEvents();
    QVERIFY(!ran);
    QVERIFY(!door.post([&ran] { ran = true; }));
    QVERIFY(!ran);
}

void TestGuiDoor::closingReleasesThoseWhoWaitForRoom()
{
    cGuiDoor door;
    std::atomic<size_t> left{0};
    std::atomic<int> turnedAway{0};
    std::atomic<int> ran{0};
    Visitors visitors;
    for (int thread = 0; thread < 3; ++thread) {
        visitors.send([&] {
            while (door.post([&ran] { ++ran; })) {
                ++left;
            }
            ++turnedAway;
        });
    }
    QVERIFY(waitOutside([&] { return left == cGuiDoor::kMostLeft; }));
    door.close();
    visitors.join();
    QCOMPARE(left.load(), cGuiDoor::kMostLeft);
    QCOMPARE(turnedAway.load(), 3);
    QCOMPARE(ran.load(), 0);
}

void TestGuiDoor::aCallThatIsLeftGoesWhenItHasRun()
{
    cGuiDoor door;
    const auto held = std::make_shared<int>(0);
    Visitors visitors;
    visitors.send([&door, held] { door.post([held] { ++*held; }); });
    visitors.join();
    QTRY_COMPARE_WITH_TIMEOUT(*held, 1, kPatience);
    QCOMPARE(held.use_count(), 1L);
}

void TestGuiDoor::callsOfManyThreadsThatAreLeftAllRun()
{
    cGuiDoor door;
    int calls = 0; // no lock: the GUI thread alone touches it
    Visitors visitors;
    for (int thread = 0; thread < 4; ++thread) {
        visitors.send([&] {
            for (int i = 0; i < 1000; ++i) {
                door.post([&calls] { ++calls; });
            }
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(calls, 4000, kPatience);
}

void TestGuiDoor::aLongTurnEndsBeforeItsLastCall()
{
    cGuiDoor door;
    QStringList order;
    const auto slow = [&order] {
        order << "call";
        QElapsedTimer time;
        for (time.start(); !time.hasExpired(cGuiDoor::kTurn);) {
        }
    };
    Visitors visitors;
    visitors.send([&] {
        door.post(slow);
        door.post(slow);
    });
    visitors.join();
    QTimer window;
    connect(&window, &QTimer::timeout, this, [&order] { order << "window"; });
    window.start(0);
    QTRY_COMPARE_WITH_TIMEOUT(order.count("call"), 2, kPatience);
    QVERIFY(order.lastIndexOf("call") - order.indexOf("call") > 1);
}

ZUL_QTEST_MAIN(TestGuiDoor)
#include "tst_guidoor.moc"
