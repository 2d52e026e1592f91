#include "cainput.h"
#include "cdinput.h"
#include "qttestmain.h"

namespace {

/// One step of a wiring: a positive number adds that output, a negative one removes it.
template <class Input>
QVector<int> wired(const QVector<int>& steps)
{
    Input input;
    for (const int step : steps) {
        if (step > 0) {
            input.addOutputPort(step);
        } else {
            input.findAndRemove(-step);
        }
    }
    QVector<int> outputs;
    for (int k = 0; k < input.getOutputCount(); ++k) {
        outputs.append(input.getOutputPort(k));
    }
    return outputs;
}

} // namespace

class TestOutputList : public QObject
{
    Q_OBJECT

private slots:
    void bothKindsOfInputKeepTheirWiring_data();
    void bothKindsOfInputKeepTheirWiring();
    void removingADoubleCountsOneEntryLess();
    void aListThatLostADoubleGoesOn();
    void bothKindsOfInputPrintTheirWiring();
};

void TestOutputList::bothKindsOfInputKeepTheirWiring_data()
{
    QTest::addColumn<QVector<int>>("steps");
    QTest::addColumn<QVector<int>>("outputs");
    using List = QVector<int>;
    QTest::newRow("a new input has none") << List{} << List{};
    QTest::newRow("the first leaves exactly one entry") << List{7} << List{7};
    QTest::newRow("in the order in which they were wired") << List{3, 1, 2} << List{3, 1, 2};
    QTest::newRow("the same twice stands twice") << List{4, 4} << List{4, 4};
    QTest::newRow("removing from the middle keeps the order") << List{3, 1, 2, -1} << List{3, 2};
    QTest::newRow("removing what is not wired leaves the list") << List{3, 1, -2} << List{3, 1};
    QTest::newRow("removing from a new input leaves it") << List{-1} << List{};
    QTest::newRow("the place of a new input is not an output 0") << List{0} << List{};
    QTest::newRow("removing the last leaves none") << List{5, -5} << List{};
    QTest::newRow("wiring after removing the last") << List{5, -5, 6} << List{6};
    QTest::newRow("wired, unwired, wired again stands once") << List{2, -2, 2} << List{2};
}

void TestOutputList::bothKindsOfInputKeepTheirWiring()
{
    QFETCH(QVector<int>, steps);
    QTEST(wired<cDInput>(steps), "outputs");
    QTEST(wired<cAInput>(steps), "outputs");
}

void TestOutputList::removingADoubleCountsOneEntryLess()
{
    // Every 4 is gone from the kept ones; what stands in the last place is nobody's promise.
    const QVector<int> outputs = wired<cDInput>({4, 9, 4, 8, -4});
    QCOMPARE(outputs.size(), 3);
    QCOMPARE(outputs.mid(0, 2), QVector<int>({9, 8}));
}

void TestOutputList::aListThatLostADoubleGoesOn()
{
    const QVector<int> outputs = wired<cAInput>({4, 4, -4, 6});
    QCOMPARE(outputs.size(), 2);
    QCOMPARE(outputs.last(), 6);
}

void TestOutputList::bothKindsOfInputPrintTheirWiring()
{
    cDInput digital;
    digital.addOutputPort(3);
    digital.addOutputPort(1);
    QTest::ignoreMessage(QtDebugMsg, "Outputs: 3 1");
    digital.printOutputPorts();
    const cAInput analog;
    QTest::ignoreMessage(QtDebugMsg, "Outputs: ");
    analog.printOutputPorts();
}

ZUL_QTEST(TestOutputList)
#include "outputlist_test.moc"
