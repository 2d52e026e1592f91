#ifndef QTTESTMAIN_H
#define QTTESTMAIN_H

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>

/// Runs a QtTest object offscreen, in an empty HOME of its own, with Qt's own dialogs.
///
/// HOME is changed before the application exists, so no test ever touches the user's files.
template <class TestCase>
int runQtTest(int argc, char** argv)
{
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    TestCase testCase;
    return QTest::qExec(&testCase, argc, argv);
}

#define ZUL_QTEST_MAIN(TestCase)                                                                             \
    int main(int argc, char** argv) { return runQtTest<TestCase>(argc, argv); }

#endif
