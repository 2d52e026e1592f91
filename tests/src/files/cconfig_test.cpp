#include "cconfig.h"
#include "paths.h"
#include "qttestmain.h"

#include <type_traits>

static_assert(!std::is_copy_constructible_v<cConfig> && !std::is_copy_assignable_v<cConfig>);
static_assert(!std::is_polymorphic_v<cConfig>);

class TestConfig : public QObject
{
    Q_OBJECT

private slots:
    void everyFieldStartsEmptyAndNotNull();
    void everyFieldKeepsItsOwnText();
    void characterTextsAreInTheLocalesEncoding();
    void characterTextsFollowTheField();
    void pathsFollowTheEnvironment();
    void withoutHomePathsBeginAtTheRoot();
    void theDescriptorIsPartOfTheNameAsItIs();
};

void TestConfig::everyFieldStartsEmptyAndNotNull()
{
    const cConfig config;
    for (const QString& text : {config.getZULIP(), config.getZULPort(), config.getZULCurrentFile(),
                                config.getZULConnectionFile()}) {
        QVERIFY(text.isEmpty());
        QVERIFY(!text.isNull());
    }
}

void TestConfig::everyFieldKeepsItsOwnText()
{
    cConfig config;
    config.setZULIP("10.0.0.5");
    config.setZULPort("50001");
    config.setZULCurrentFile("/d/Panel7.dev");
    config.setZULConnectionFile("/d/lab.con");
    QCOMPARE(config.getZULIP(), QString("10.0.0.5"));
    QCOMPARE(config.getZULPort(), QString("50001"));
    QCOMPARE(config.getZULCurrentFile(), QString("/d/Panel7.dev"));
    QCOMPARE(config.getZULConnectionFile(), QString("/d/lab.con"));
}

void TestConfig::characterTextsAreInTheLocalesEncoding()
{
    const QString name = QString::fromUtf8("sch\xc3\xb6n");
    cConfig config;
    config.setZULIP(name);
    config.setZULPort("50001");
    QCOMPARE(QByteArray(config.getZULIPChar()), name.toLocal8Bit());
    QCOMPARE(QByteArray(config.getZULPortChar()), QByteArray("50001"));
}

void TestConfig::characterTextsFollowTheField()
{
    cConfig config;
    config.setZULIP("a");
    QCOMPARE(QByteArray(config.getZULIPChar()), QByteArray("a"));
    config.setZULIP("b");
    QCOMPARE(QByteArray(config.getZULIPChar()), QByteArray("b"));
}

void TestConfig::pathsFollowTheEnvironment()
{
    qputenv("HOME", QByteArray("/home/op"));
    QCOMPARE(paths::configurationDirectory(), QString("/home/op/.zulbench"));
    QCOMPARE(paths::configurationPrefix(), QString("/home/op/.zulbench/"));
    qputenv("HOME", QByteArray("/home/other"));
    QCOMPARE(paths::configurationDirectory(), QString("/home/other/.zulbench"));
}

void TestConfig::withoutHomePathsBeginAtTheRoot()
{
    qunsetenv("HOME");
    QCOMPARE(paths::configurationDirectory(), QString("/.zulbench"));
    QCOMPARE(paths::connectionFile("lab"), QString("/.zulbench/lab.con"));
}

void TestConfig::theDescriptorIsPartOfTheNameAsItIs()
{
    qputenv("HOME", QByteArray("/home/op"));
    QCOMPARE(paths::connectionFile("my lab/2"), QString("/home/op/.zulbench/my lab/2.con"));
    QCOMPARE(paths::connectionFile(""), QString("/home/op/.zulbench/.con"));
}

ZUL_QTEST(TestConfig)
#include "cconfig_test.moc"
