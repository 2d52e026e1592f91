#pragma once

#include <QObject>
#include <QtTest>
#include <memory>

/// Registers a QtTest class with the program that its file is linked into.
///
/// The program runs one test class: `device_test wiring_test [QtTest options]` runs the class in
/// wiring_test.cpp.
class cQtTestCase
{
public:
    using Factory = std::unique_ptr<QObject> (*)();

    enum eApplication
    {
        WIDGETS, ///< offscreen, with Qt's own dialogs
        CORE
    };

    /// @p file is __FILE__; its name without extension selects the class.
    cQtTestCase(const char* file, Factory factory, eApplication application);

    /// Runs the test class that @p argv names, in an empty HOME of its own. Returns QTest::qExec()'s result,
    /// 2 if there is no such class.
    static int runNamed(int argc, char** argv);

private:
    QString mName;
    Factory mFactory;
    eApplication mApplication;
};

#define ZUL_QTEST_AS(TestCase, application)                                                                  \
    static const cQtTestCase registered##TestCase(                                                           \
        __FILE__, []() -> std::unique_ptr<QObject> { return std::make_unique<TestCase>(); }, application)

/// In the test's source file: TestCase needs widgets.
#define ZUL_QTEST(TestCase) ZUL_QTEST_AS(TestCase, cQtTestCase::WIDGETS);

/// The same without widgets.
#define ZUL_QTEST_GUILESS(TestCase) ZUL_QTEST_AS(TestCase, cQtTestCase::CORE);
