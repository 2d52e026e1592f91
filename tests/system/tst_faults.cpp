// The two programs with a bad line between them.

#include <QtTest>
#include <csignal>

#include "endurancerun.h"

class tst_Faults : public QObject
{
    Q_OBJECT

private slots:
    void everyAnswerBelongsToItsRequestWhateverTheLineDoes();
};

void tst_Faults::everyAnswerBelongsToItsRequestWhateverTheLineDoes()
{
    EnduranceRun run(3000, EnduranceRun::allFaults(7, 10));
    const EnduranceResult result = run.run();
    qInfo("%s", qPrintable(result.text()));
    QCOMPARE(result.problem, QString());
    QCOMPARE(result.wrong, 0);
    QVERIFY(result.wraps > 3);
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_faults.moc"
