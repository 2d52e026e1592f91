#include "qttestmain.h"

#include <QApplication>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QVector>
#include <cstdio>

namespace {

QVector<const cQtTestCase*>& registered()
{
    static QVector<const cQtTestCase*> testCases;
    return testCases;
}

} // namespace

cQtTestCase::cQtTestCase(const char* file, Factory factory, eApplication application)
    : mName(QFileInfo(file).baseName()), mFactory(factory), mApplication(application)
{
    registered().push_back(this);
}

int cQtTestCase::runNamed(int argc, char** argv)
{
    const QString name = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    for (const cQtTestCase* testCase : registered()) {
        if (testCase->mName != name) {
            continue;
        }
        // Before the application exists, so that no test ever touches the user's files.
        QTemporaryDir home;
        qputenv("HOME", home.path().toLocal8Bit());
        std::unique_ptr<QCoreApplication> application;
        if (testCase->mApplication == WIDGETS) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            qunsetenv("QT_QPA_PLATFORMTHEME");
            QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
            application = std::make_unique<QApplication>(argc, argv);
        } else {
            application = std::make_unique<QCoreApplication>(argc, argv);
        }
        argv[1] = argv[0];
        return QTest::qExec(testCase->mFactory().get(), argc - 1, argv + 1);
    }
    std::fprintf(stderr, "usage: %s NAME [QtTest options]; NAME is one of:\n", argv[0]);
    for (const cQtTestCase* testCase : registered()) {
        std::fprintf(stderr, "%s\n", qPrintable(testCase->mName));
    }
    return 2;
}
