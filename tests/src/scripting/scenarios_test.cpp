#include "cainput.h"
#include "cdinput.h"
#include "qttestmain.h"
#include "scriptedwindow.h"

#include <QComboBox>
#include <QSlider>

namespace {

/// A window whose device plays a scenario.
class PlayingWindow : public ScriptedWindow
{
public:
    explicit PlayingWindow(const QByteArray& scenario) : ScriptedWindow(kScriptedCounts)
    {
        window().setClock(cScaledClock(100));
        window().scenarios().setSeed(7);
        const QString path = home().write("a.yaml", scenario);
        const std::string mistake = window().scenarios().add(path.toStdString());
        if (!mistake.empty()) {
            qFatal("%s", mistake.c_str());
        }
    }

    void begin() { window().scenarios().begin(); }

    QComboBox* combo(int number)
    {
        return panelview::row<cDInput>(device(), panelview::DIGITAL_INPUTS, number)->findChild<QComboBox*>();
    }
    QString input(int number) { return combo(number)->currentText(); }

    QSlider* slider(int number)
    {
        return panelview::row<cAInput>(device(), panelview::ANALOG_INPUTS, number)->findChild<QSlider*>();
    }
};

} // namespace

class TestScenarios : public QObject
{
    Q_OBJECT

private slots:
    void theStartIsShown();
    void inputsAndSlidersMoveAsTheStepsSay();
    void inputsAndSlidersMoveBackWhenTheirTimeIsOver();
};

void TestScenarios::theStartIsShown()
{
    PlayingWindow playing("start: {din 2: high, ain 3: 20}\nsteps: [{at: 1h, toggle: din 1}]\n");
    QCOMPARE(playing.input(1), QString("LOW"));
    QCOMPARE(playing.input(2), QString("HIGH"));
    QCOMPARE(playing.slider(3)->value(), 20);
}

void TestScenarios::inputsAndSlidersMoveAsTheStepsSay()
{
    PlayingWindow playing("steps:\n"
                          "  - {at: 1s, set: {din 1: high, ain 2: 57}}\n"
                          "  - {at: 2s, toggle: din 2}\n"
                          "  - {at: 2s, ramp: {ain 1: 20..85, over: 10s}}\n");
    QVector<int> places;
    QObject::connect(playing.slider(1), &QSlider::valueChanged,
                     [&places](int value) { places.append(value); });
    playing.begin();
    QTRY_COMPARE(playing.input(1), QString("HIGH"));
    QTRY_COMPARE(playing.slider(2)->value(), 57);
    QTRY_COMPARE(playing.input(2), QString("HIGH"));
    QTRY_COMPARE(playing.slider(1)->value(), 85);
    QCOMPARE(places, QVector<int>({20, 27, 33, 40, 46, 53, 59, 66, 72, 79, 85}));
}

void TestScenarios::inputsAndSlidersMoveBackWhenTheirTimeIsOver()
{
    PlayingWindow playing("start: {ain 1: 30}\nsteps: [{at: 1s, set: {din 1: high, ain 1: 60}, for: 10s}]\n");
    QStringList shown;
    QObject::connect(playing.combo(1), &QComboBox::currentTextChanged,
                     [&shown](const QString& text) { shown.append(text); });
    QObject::connect(playing.slider(1), &QSlider::valueChanged,
                     [&shown](int value) { shown.append(QString::number(value)); });
    playing.begin();
    QTRY_COMPARE(shown, QStringList({"HIGH", "60", "LOW", "30"}));
}

ZUL_QTEST(TestScenarios)
#include "scenarios_test.moc"
