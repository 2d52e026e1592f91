#include "homefiles.h"
#include "qttestmain.h"
#include "readfile.h"

#include <sys/stat.h>
#include <thread>

namespace {

QString makePipe(const HomeFiles& home)
{
    const QString path = home.pathOf("pipe");
    if (mkfifo(QFile::encodeName(path).constData(), 0600) != 0) {
        qFatal("there is no pipe");
    }
    return path;
}

} // namespace

class TestReadFile : public QObject
{
    Q_OBJECT

private slots:
    void aFileIsReadToItsEndOrTheMaximum_data();
    void aFileIsReadToItsEndOrTheMaximum();
    void whatIsNoFileCannotBeRead_data();
    void whatIsNoFileCannotBeRead();
    void aPipeIsReadUntilItsWriterEnds();
    void thePiecesOfASlowWriterAreJoined();
    void aPipeIsReadUpToTheMaximum();
    void anEventLoopThatEndsEndsTheWaiting();
    void aThreadThatIsToldToEndEndsItsWaiting();
};

void TestReadFile::aFileIsReadToItsEndOrTheMaximum_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("expected");
    QTest::newRow("empty") << 0 << 10 << 0;
    QTest::newRow("shorter") << 9 << 10 << 9;
    QTest::newRow("as long") << 10 << 10 << 10;
    QTest::newRow("longer") << 11 << 10 << 10;
    QTest::newRow("several blocks") << 100000 << 90000 << 90000;
}

void TestReadFile::aFileIsReadToItsEndOrTheMaximum()
{
    QFETCH(int, size);
    QFETCH(int, max);
    QFETCH(int, expected);
    const HomeFiles home;
    QByteArray content;
    for (int i = 0; i < size; ++i) {
        content.append(static_cast<char>(i % 251));
    }
    const std::optional<QByteArray> bytes = readFile(home.write("file", content), max);
    QVERIFY(bytes.has_value());
    QCOMPARE(*bytes, content.left(expected));
    QVERIFY(isReadableFile(home.pathOf("file")));
}

void TestReadFile::whatIsNoFileCannotBeRead_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("no name") << "";
    QTest::newRow("missing") << "/nonexistent/file";
    QTest::newRow("a directory") << "/";
}

void TestReadFile::whatIsNoFileCannotBeRead()
{
    QFETCH(QString, path);
    QVERIFY(!readFile(path, 10).has_value());
    QVERIFY(!isReadableFile(path));
}

void TestReadFile::aPipeIsReadUntilItsWriterEnds()
{
    const HomeFiles home;
    const QString pipe = makePipe(home);
    QVERIFY(isReadableFile(pipe));
    const QByteArray content(200000, 'x'); // more than a pipe holds
    std::thread writer([&] {
        QFile file(pipe);
        file.open(QIODevice::WriteOnly);
        file.write(content);
    });
    const std::optional<QByteArray> bytes = readFile(pipe, 1000000);
    writer.join();
    QCOMPARE(bytes.value_or("(unreadable)"), content);
}

void TestReadFile::thePiecesOfASlowWriterAreJoined()
{
    const HomeFiles home;
    const QString pipe = makePipe(home);
    std::unique_ptr<QFile> writer;
    // The event loop that waits for the pipe runs these: one opens, one writes, one writes and ends.
    QList<std::function<void()>> steps{[&] {
                                           writer = std::make_unique<QFile>(pipe);
                                           writer->open(QIODevice::WriteOnly | QIODevice::Unbuffered);
                                       },
                                       [&] { writer->write("first, "); },
                                       [&] {
                                           writer->write("second");
                                           writer.reset();
                                       }};
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        if (!steps.isEmpty()) {
            steps.takeFirst()();
        }
    });
    timer.start(20);
    QCOMPARE(readFile(pipe, 100).value_or("(unreadable)"), QByteArray("first, second"));
}

void TestReadFile::aPipeIsReadUpToTheMaximum()
{
    QCOMPARE(readFile("/dev/zero", 100000).value_or("(unreadable)").size(), 100000);
    QCOMPARE(readFile("/dev/null", 100000).value_or("(unreadable)"), QByteArray());
}

void TestReadFile::anEventLoopThatEndsEndsTheWaiting()
{
    const HomeFiles home;
    QTimer::singleShot(20, qApp, &QCoreApplication::quit);
    QVERIFY(!readFile(makePipe(home), 10).has_value());
}

void TestReadFile::aThreadThatIsToldToEndEndsItsWaiting()
{
    const HomeFiles home;
    const QString pipe = makePipe(home);
    std::optional<QByteArray> bytes = QByteArray();
    const std::unique_ptr<QThread> thread(QThread::create([&] { bytes = readFile(pipe, 10); }));
    thread->start();
    thread->quit();
    QVERIFY(thread->wait(60000));
    QVERIFY(!bytes.has_value());
}

ZUL_QTEST(TestReadFile)
#include "readfile_test.moc"
