#include "cguiexecutor.h"
#include "qttestmain.h"

#include <atomic>
#include <thread>

namespace {

/// Starts threads that go through a executor, and joins them.
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

/// Counts the visitors that stand at a executor: each has posted one event to it.
class CountingExecutor : public cGuiExecutor
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

/// Waits without handling events, so that the executor stays as it is meanwhile.
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

class TestGuiExecutor : public QObject
{
    Q_OBJECT

private slots:
    void onTheGuiThreadACallRunsAtOnce();
    void aCallMayCallAgain();
    void aCallOfAnotherThreadRunsOnTheGuiThread();
    void theOtherThreadSeesWhatItsCallDid();
    void callsOfOneThreadRunInTheirOrder();
    void manyThreadsAllGetThrough();
    void closingReleasesThoseWhoWait();
    void aClosedExecutorRejectsEveryCall();
    void eventsThatAreLeftAfterClosingDoNothing();
    void aClosedExecutorMayBeDestroyedOnAnyThread();

    void onTheGuiThreadACallThatIsLeftRunsAtOnce();
    void leavingACallDoesNotWaitForIt();
    void callsThatAreLeftAndCallsThatAreWaitedForKeepOneOrder();
    void whereTooManyCallsAreLeftTheCallerWaits();
    void closingDropsTheCallsThatAreLeft();
    void closingReleasesThoseWhoWaitForRoom();
    void aCallThatIsLeftGoesWhenItHasRun();
    void callsOfManyThreadsThatAreLeftAllRun();
    void aLongTurnEndsBeforeItsLastCall();
    void whatIsQueuedMayBeRunAtOnce();
};

void TestGuiExecutor::onTheGuiThreadACallRunsAtOnce()
{
    cGuiExecutor executor;
    bool ran = false;
    QVERIFY(executor.run([&] { ran = true; }));
    QVERIFY(ran);
}

void TestGuiExecutor::aCallMayCallAgain()
{
    cGuiExecutor executor;
    QStringList order;
    QVERIFY(executor.run([&] {
        order << "before";
        QVERIFY(executor.run([&] { order << "within"; }));
        order << "after";
    }));
    QCOMPARE(order, QStringList({"before", "within", "after"}));
}

void TestGuiExecutor::aCallOfAnotherThreadRunsOnTheGuiThread()
{
    cGuiExecutor executor;
    QThread* ranOn = nullptr;
    std::atomic<bool> returned{false};
    Visitors visitors;
    visitors.send([&] {
        executor.run([&] { ranOn = QThread::currentThread(); });
        returned = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(returned, kPatience);
    QCOMPARE(ranOn, QThread::currentThread());
}

void TestGuiExecutor::theOtherThreadSeesWhatItsCallDid()
{
    cGuiExecutor executor;
    int value = 0;
    std::atomic<int> seen{-1};
    std::atomic<bool> accepted{false};
    Visitors visitors;
    visitors.send([&] {
        accepted = executor.run([&] { value = 42; });
        seen = value;
    });
    QTRY_COMPARE_WITH_TIMEOUT(seen.load(), 42, kPatience);
    QVERIFY(accepted);
}

void TestGuiExecutor::callsOfOneThreadRunInTheirOrder()
{
    cGuiExecutor executor;
    QVector<int> order;
    std::atomic<bool> done{false};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 30; ++i) {
            executor.run([&order, i] { order.append(i); });
        }
        done = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(done, kPatience);
    QCOMPARE(order.size(), 30);
    QVERIFY(std::is_sorted(order.begin(), order.end()));
}

void TestGuiExecutor::manyThreadsAllGetThrough()
{
    cGuiExecutor executor;
    int calls = 0; // no lock: the GUI thread alone touches it
    std::atomic<int> done{0};
    Visitors visitors;
    for (int thread = 0; thread < 4; ++thread) {
        visitors.send([&] {
            for (int i = 0; i < 30; ++i) {
                executor.run([&calls] { ++calls; });
            }
            ++done;
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(done.load(), 4, kPatience);
    QCOMPARE(calls, 120);
}

void TestGuiExecutor::closingReleasesThoseWhoWait()
{
    CountingExecutor executor;
    std::atomic<int> turnedAway{0};
    std::atomic<int> ran{0};
    Visitors visitors;
    for (int thread = 0; thread < 3; ++thread) {
        visitors.send([&] { turnedAway += executor.visit([&] { ++ran; }) ? 0 : 1; });
    }
    QVERIFY(waitOutside([&] { return executor.mArrivals == 3; }));
    executor.close();
    visitors.join();
    QCOMPARE(turnedAway.load(), 3);
    QCOMPARE(ran.load(), 0);
}

void TestGuiExecutor::aClosedExecutorRejectsEveryCall()
{
    cGuiExecutor executor;
    executor.close();
    bool ran = false;
    QVERIFY(!executor.run([&] { ran = true; }));
    std::atomic<bool> accepted{true};
    Visitors visitors;
    visitors.send([&] { accepted = executor.run([&] { ran = true; }); });
    visitors.join();
    QVERIFY(!accepted);
    QVERIFY(!ran);
}

void TestGuiExecutor::eventsThatAreLeftAfterClosingDoNothing()
{
    CountingExecutor executor;
    std::atomic<bool> accepted{true};
    bool ran = false;
    Visitors visitors;
    visitors.send([&] { accepted = executor.visit([&] { ran = true; }); });
    QVERIFY(waitOutside([&] { return executor.mArrivals == 1; }));
    executor.close();
    visitors.join();
    QCoreApplication::processEvents();
    QVERIFY(!accepted);
    QVERIFY(!ran);
}

void TestGuiExecutor::aClosedExecutorMayBeDestroyedOnAnyThread()
{
    // Qt warns of what stays registered with the thread that it belongs to.
    static std::atomic<int> warnings;
    warnings = 0;
    const QtMessageHandler former = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext&, const QString&) { warnings += type == QtWarningMsg; });
    auto executor = std::make_shared<CountingExecutor>();
    Visitors visitors;
    visitors.send([executor] { executor->visit([] {}); });
    QVERIFY(waitOutside([&executor] { return executor->mArrivals == 1; }));
    executor->close();
    visitors.send([last = std::move(executor)]() mutable { last.reset(); });
    visitors.join();
    qInstallMessageHandler(former);
    QCOMPARE(warnings.load(), 0);
}

void TestGuiExecutor::onTheGuiThreadACallThatIsLeftRunsAtOnce()
{
    cGuiExecutor executor;
    bool ran = false;
    QVERIFY(executor.post([&ran] { ran = true; }));
    QVERIFY(ran);
}

void TestGuiExecutor::leavingACallDoesNotWaitForIt()
{
    cGuiExecutor executor;
    int calls = 0;
    std::atomic<int> accepted{0};
    Visitors visitors;
    visitors.send([&] {
        accepted += executor.post([&calls] { ++calls; });
        accepted += executor.post([&calls] { ++calls; });
    });
    // This thread handles no events meanwhile.
    visitors.join();
    QCOMPARE(accepted.load(), 2);
    QCOMPARE(calls, 0);
    QTRY_COMPARE_WITH_TIMEOUT(calls, 2, kPatience);
}

void TestGuiExecutor::callsThatAreLeftAndCallsThatAreWaitedForKeepOneOrder()
{
    cGuiExecutor executor;
    QVector<int> order;
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 300; i += 3) {
            executor.post([&order, i] { order.append(i); });
            executor.post([&order, i] { order.append(i + 1); });
            int seen = -1;
            executor.run([&order, &seen, i] {
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

void TestGuiExecutor::whereTooManyCallsAreLeftTheCallerWaits()
{
    const auto most = static_cast<int>(cGuiExecutor::kMaxPosted);
    cGuiExecutor executor;
    int calls = 0;
    int ahead = 0;
    std::atomic<int> left{0};
    Visitors visitors;
    visitors.send([&] {
        for (int i = 0; i < 5 * most; ++i) {
            executor.post([&] {
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

void TestGuiExecutor::closingDropsTheCallsThatAreLeft()
{
    cGuiExecutor executor;
    bool ran = false;
    const auto held = std::make_shared<int>(0);
    Visitors visitors;
    visitors.send([&executor, &ran, held] { executor.post([&ran, held] { ran = true; }); });
    visitors.join();
    QCOMPARE(held.use_count(), 2L);
    executor.close();
    QCOMPARE(held.use_count(), 1L);
    QCoreApplication::processEvents();
    QVERIFY(!ran);
    QVERIFY(!executor.post([&ran] { ran = true; }));
    QVERIFY(!ran);
}

void TestGuiExecutor::closingReleasesThoseWhoWaitForRoom()
{
    cGuiExecutor executor;
    std::atomic<size_t> left{0};
    std::atomic<int> turnedAway{0};
    std::atomic<int> ran{0};
    Visitors visitors;
    for (int thread = 0; thread < 3; ++thread) {
        visitors.send([&] {
            while (executor.post([&ran] { ++ran; })) {
                ++left;
            }
            ++turnedAway;
        });
    }
    QVERIFY(waitOutside([&] { return left == cGuiExecutor::kMaxPosted; }));
    executor.close();
    visitors.join();
    QCOMPARE(left.load(), cGuiExecutor::kMaxPosted);
    QCOMPARE(turnedAway.load(), 3);
    QCOMPARE(ran.load(), 0);
}

void TestGuiExecutor::aCallThatIsLeftGoesWhenItHasRun()
{
    cGuiExecutor executor;
    const auto held = std::make_shared<int>(0);
    Visitors visitors;
    visitors.send([&executor, held] { executor.post([held] { ++*held; }); });
    visitors.join();
    QTRY_COMPARE_WITH_TIMEOUT(*held, 1, kPatience);
    QCOMPARE(held.use_count(), 1L);
}

void TestGuiExecutor::callsOfManyThreadsThatAreLeftAllRun()
{
    cGuiExecutor executor;
    int calls = 0; // no lock: the GUI thread alone touches it
    Visitors visitors;
    for (int thread = 0; thread < 4; ++thread) {
        visitors.send([&] {
            for (int i = 0; i < 1000; ++i) {
                executor.post([&calls] { ++calls; });
            }
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(calls, 4000, kPatience);
}

void TestGuiExecutor::aLongTurnEndsBeforeItsLastCall()
{
    cGuiExecutor executor;
    QStringList order;
    const auto slow = [&order] {
        order << "call";
        QElapsedTimer time;
        for (time.start(); !time.hasExpired(cGuiExecutor::kTimeSliceMs);) {
        }
    };
    Visitors visitors;
    visitors.send([&] {
        executor.post(slow);
        executor.post(slow);
    });
    visitors.join();
    QTimer window;
    connect(&window, &QTimer::timeout, this, [&order] { order << "window"; });
    window.start(0);
    QTRY_COMPARE_WITH_TIMEOUT(order.count("call"), 2, kPatience);
    QVERIFY(order.lastIndexOf("call") - order.indexOf("call") > 1);
}

void TestGuiExecutor::whatIsQueuedMayBeRunAtOnce()
{
    cGuiExecutor executor;
    int calls = 0;
    std::atomic<int> posted{0};
    Visitors visitors;
    visitors.send([&] {
        while (posted < 100 && executor.post([&] {
            ++calls;
            QTest::qSleep(1);
        })) {
            ++posted;
        }
    });
    QVERIFY(waitOutside([&] { return posted == 100; }));
    executor.runQueued();
    QCOMPARE(calls, 100);
    executor.runQueued();
    QCOMPARE(calls, 100);
}

ZUL_QTEST(TestGuiExecutor)
#include "guiexecutor_test.moc"
