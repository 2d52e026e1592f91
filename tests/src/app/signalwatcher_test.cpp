#include "modalanswers.h"
#include "qttestmain.h"
#include "signalwatcher.h"

#include <csignal>
#include <unistd.h>

class TestSignalWatcher : public QObject
{
    Q_OBJECT

private slots:
    void bothSignalsArrive_data();
    void bothSignalsArrive();
    void aSignalWaitsForTheWatcher();
    void aSignalQuitsUnderAMessageBox();
};

void TestSignalWatcher::bothSignalsArrive_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void TestSignalWatcher::bothSignalsArrive()
{
    QFETCH(int, number);
    QVector<int> arrivals;
    const cSignalWatcher watcher([&](int arrived) { arrivals.append(arrived); });
    QCOMPARE(kill(getpid(), number), 0);
    QTRY_COMPARE(arrivals, QVector<int>{number});
}

void TestSignalWatcher::aSignalWaitsForTheWatcher()
{
    QCOMPARE(kill(getpid(), SIGTERM), 0);
    QVector<int> arrivals;
    const cSignalWatcher watcher([&](int arrived) { arrivals.append(arrived); });
    QTRY_COMPARE(arrivals, QVector<int>{SIGTERM});
}

void TestSignalWatcher::aSignalQuitsUnderAMessageBox()
{
    const cSignalWatcher watcher([](int) { QApplication::quit(); });
    bool boxWasModal = false;
    QTimer signalOnceModal;
    connect(&signalOnceModal, &QTimer::timeout, [&] {
        if (QApplication::activeModalWidget() != nullptr) {
            boxWasModal = true;
            signalOnceModal.stop();
            kill(getpid(), SIGTERM);
        }
    });
    signalOnceModal.start(5);
    QTimer tooLate;
    connect(&tooLate, &QTimer::timeout, [] { _exit(99); });
    tooLate.start(20000);
    QTimer::singleShot(0, [] { QMessageBox::critical(nullptr, "Title", "Text", QMessageBox::Ok); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(boxWasModal);
}

ZUL_QTEST(TestSignalWatcher)

// Before the application, whose threads inherit what is blocked.
int main(int argc, char** argv)
{
    cSignalWatcher::block();
    return cQtTestCase::runNamed(argc, argv);
}

#include "signalwatcher_test.moc"
