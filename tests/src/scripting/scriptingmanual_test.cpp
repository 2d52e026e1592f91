// The manual page of scripts names everything that a script finds.

#include <QMetaMethod>
#include <QtTest>

#include "cscriptreceiver.h"
#include "qttestmain.h"
#include "scriptworker.h"

namespace {

QString manual()
{
    QFile file(QStringLiteral(SCRIPTING_MANUAL));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s cannot be read", qPrintable(file.fileName()));
    }
    return QString::fromUtf8(file.readAll());
}

/// How the manual introduces @p method: the object's name, its own, and the names of its arguments.
QString call(const QString& object, const QMetaMethod& method)
{
    QStringList names;
    for (const QByteArray& name : method.parameterNames()) {
        names.append(QString::fromUtf8(name));
    }
    return QString("`%1.%2(%3)`").arg(object, method.name(), names.join(", "));
}

} // namespace

class TestScriptingManual : public QObject
{
    Q_OBJECT

private slots:
    void everyMemberOfReceiverIsDescribed();
    void everyMemberOfSenderIsDescribed();

private:
    static void checkMembers(const QString& object, const QMetaObject& type,
                             const QVector<QMetaMethod::MethodType>& kinds, int least);
};

void TestScriptingManual::checkMembers(const QString& object, const QMetaObject& type,
                                       const QVector<QMetaMethod::MethodType>& kinds, int least)
{
    const QString text = manual();
    int members = 0;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        const QMetaMethod method = type.method(i);
        if (method.access() != QMetaMethod::Private && kinds.contains(method.methodType())) {
            const QString member = call(object, method);
            QVERIFY2(text.contains("| " + member + " |"), qPrintable(member));
            ++members;
        }
    }
    QVERIFY(members >= least);
}

void TestScriptingManual::everyMemberOfReceiverIsDescribed()
{
    checkMembers("receiver", cScriptReceiver::staticMetaObject, {QMetaMethod::Method, QMetaMethod::Slot}, 12);
}

void TestScriptingManual::everyMemberOfSenderIsDescribed()
{
    checkMembers("sender", scriptWorker::staticMetaObject, {QMetaMethod::Method, QMetaMethod::Signal}, 8);
}

ZUL_QTEST_GUILESS(TestScriptingManual)
#include "scriptingmanual_test.moc"
