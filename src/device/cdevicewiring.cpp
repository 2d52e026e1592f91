// The two pages on which inputs are wired to outputs.

#include <QDebug>
#include <QVBoxLayout>

#include "cainput.h"
#include "caoutput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "checkedindex.h"

namespace {

constexpr char kDigitalInputName[] = "digitalRadioButton_";
constexpr char kDigitalOutputName[] = "digitalCheckBox_";
constexpr char kAnalogInputName[] = "analogRadioButton_";
constexpr char kAnalogOutputName[] = "analogCheckBox_";

/// A titled column of @p count buttons, numbered from 1 in text and object name, each also appended to
/// @p list.
template <class Button>
QGroupBox* buttonGroup(const QString& title, uint32_t count, const QString& text, const QString& objectName,
                       std::vector<Button*>* list)
{
    auto* group = new QGroupBox(title);
    auto* layout = new QVBoxLayout;
    for (uint32_t number = 1; number <= count; ++number) {
        auto* button = new Button(text + QString::number(number));
        button->setObjectName(objectName + QString::number(number));
        list->push_back(button);
        layout->addWidget(button);
    }
    layout->addStretch(1);
    group->setLayout(layout);
    return group;
}

/// The number at the end of the object name of @p button; 0 where there is none.
int numberOf(const QObject* button, const char* prefix)
{
    return button->objectName().remove(QLatin1String(prefix)).toInt();
}

/// Enables the check boxes of the outputs that are free or driven by @p input, and no others. Ticks stay.
template <class Output>
void offerOutputs(int input, uint32_t count, const std::vector<Output*>& outputs, const char* outputsName,
                  const std::vector<QCheckBox*>& boxes, const char* boxesName)
{
    for (uint32_t i = 0; i < count; ++i) {
        const int driver = checkedAt(outputs, i, outputsName)->getInputPort();
        checkedAt(boxes, i, boxesName)->setEnabled(driver == 0 || driver == input);
    }
}

template <class Input, class Output>
void wire(Input* input, int inputNumber, Output* output, int outputNumber)
{
    output->setInputPort(inputNumber);
    output->setConnectedStatus(true);
    input->addOutputPort(outputNumber);
}

template <class Input, class Output>
void unwire(Input* input, Output* output, int outputNumber)
{
    output->setConnectedStatus(false);
    output->setInputPort(0);
    input->findAndRemove(outputNumber);
}

/// What a script's tick does: the signal first, then the box itself, which may signal once more.
void tick(QCheckBox* box, bool checked)
{
    emit box->stateChanged(checked ? Qt::Checked : Qt::Unchecked);
    box->setChecked(checked);
}

} // namespace

QGroupBox* cDevice::createDigitalInputGroup()
{
    QGroupBox* group = buttonGroup(tr("Inputs:"), getDiscreteInCount(), tr("Digital Input "),
                                   kDigitalInputName, &mDigitalInputRadioButtonList);
    for (QRadioButton* button : mDigitalInputRadioButtonList) {
        connect(button, SIGNAL(clicked()), this, SLOT(digitalRadioButtonClicked()));
    }
    return group;
}

QGroupBox* cDevice::createDigitalOutputGroup()
{
    QGroupBox* group = buttonGroup(tr("Outputs:"), getDiscreteOutCount(), tr("Digital Output "),
                                   kDigitalOutputName, &mDigitalOutputCheckboxList);
    for (QCheckBox* box : mDigitalOutputCheckboxList) {
        box->setEnabled(false);
        connect(box, SIGNAL(stateChanged(int)), this, SLOT(digitalCheckBoxStateChanged(int)));
    }
    return group;
}

QGroupBox* cDevice::createAnalogInputGroup()
{
    QGroupBox* group = buttonGroup(tr("Inputs:"), getAnalogInCount(), tr("Analog Input "), kAnalogInputName,
                                   &mAnalogInputRadioButtonList);
    for (QRadioButton* button : mAnalogInputRadioButtonList) {
        connect(button, SIGNAL(clicked()), this, SLOT(analogRadioButtonClicked()));
    }
    return group;
}

QGroupBox* cDevice::createAnalogOutputGroup()
{
    QGroupBox* group = buttonGroup(tr("Outputs:"), getAnalogOutCount(), tr("Analog Output "),
                                   kAnalogOutputName, &mAnalogOutputCheckboxList);
    for (QCheckBox* box : mAnalogOutputCheckboxList) {
        box->setEnabled(false);
        connect(box, SIGNAL(stateChanged(int)), this, SLOT(analogCheckBoxStateChanged(int)));
    }
    return group;
}

void cDevice::digitalRadioButtonClicked()
{
    selectedDigitalInput = numberOf(sender(), kDigitalInputName);
    qDebug().nospace() << "Selected digital input is: " << selectedDigitalInput;
    offerOutputs(selectedDigitalInput, getDiscreteOutCount(), mDigitalOutputList, "mDigitalOutputList",
                 mDigitalOutputCheckboxList, "mDigitalOutputCheckboxList");
}

void cDevice::analogRadioButtonClicked()
{
    selectedAnalogInput = numberOf(sender(), kAnalogInputName);
    qDebug().nospace() << "Selected analog input is: " << selectedAnalogInput;
    offerOutputs(selectedAnalogInput, getAnalogOutCount(), mAnalogOutputList, "mAnalogOutputList",
                 mAnalogOutputCheckboxList, "mAnalogOutputCheckboxList");
}

void cDevice::digitalCheckBoxStateChanged(int state)
{
    const int number = numberOf(sender(), kDigitalOutputName);
    if (selectedDigitalInput == 0) {
        return;
    }
    cDOutput* output = checkedAt(mDigitalOutputList, qint64{number} - 1, "mDigitalOutputList");
    cDInput* input = checkedAt(mDigitalInputList, qint64{selectedDigitalInput} - 1, "mDigitalInputList");
    if (state == Qt::Checked) {
        wire(input, selectedDigitalInput, output, number);
    } else {
        unwire(input, output, number);
    }
}

void cDevice::analogCheckBoxStateChanged(int state)
{
    const int number = numberOf(sender(), kAnalogOutputName);
    if (selectedAnalogInput == 0) {
        return;
    }
    cAOutput* output = checkedAt(mAnalogOutputList, qint64{number} - 1, "mAnalogOutputList");
    cAInput* input = checkedAt(mAnalogInputList, qint64{selectedAnalogInput} - 1, "mAnalogInputList");
    // Unlike a digital box, a partially checked one changes nothing.
    if (state == Qt::Checked) {
        wire(input, selectedAnalogInput, output, number);
    } else if (state == Qt::Unchecked) {
        unwire(input, output, number);
    }
}

void cDevice::connectDigitalInput_Slot(int input, int output, bool connect)
{
    if (input < 1 || static_cast<uint32_t>(input) > getDiscreteInCount()) {
        return;
    }
    QRadioButton* button =
        checkedAt(mDigitalInputRadioButtonList, qint64{input} - 1, "mDigitalInputRadioButtonList");
    emit button->clicked(false);
    button->setChecked(true);
    if (output < 1 || static_cast<uint32_t>(output) > getDiscreteOutCount() ||
        checkedAt(mDigitalOutputList, qint64{output} - 1, "mDigitalOutputList")->getConnectedStatus()) {
        return;
    }
    tick(checkedAt(mDigitalOutputCheckboxList, qint64{output} - 1, "mDigitalOutputCheckboxList"), connect);
}

void cDevice::connectAnalogInput_Slot(int input, int output, bool connect)
{
    if (input < 1 || static_cast<uint32_t>(input) > getAnalogInCount()) {
        return;
    }
    emit checkedAt(mAnalogInputRadioButtonList, qint64{input} - 1, "mAnalogInputRadioButtonList")
        ->clicked(false);
    // The digital button of the same number is the one that shows the selection: scripts rely on it.
    checkedAt(mDigitalInputRadioButtonList, qint64{input} - 1, "mDigitalInputRadioButtonList")
        ->setChecked(true);
    if (output < 1 || static_cast<uint32_t>(output) > getAnalogOutCount() ||
        checkedAt(mAnalogOutputList, qint64{output} - 1, "mAnalogOutputList")->getConnectedStatus()) {
        return;
    }
    tick(checkedAt(mAnalogOutputCheckboxList, qint64{output} - 1, "mAnalogOutputCheckboxList"), connect);
}
