// The two pages on which inputs are wired to outputs.

#include <QVBoxLayout>

#include "cdevice.h"

namespace {

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

} // namespace

QGroupBox* cDevice::createDigitalInputGroup()
{
    return buttonGroup(tr("Inputs:"), getDiscreteInCount(), tr("Digital Input "), "digitalRadioButton_",
                       &mDigitalInputRadioButtonList);
}

QGroupBox* cDevice::createDigitalOutputGroup()
{
    QGroupBox* group = buttonGroup(tr("Outputs:"), getDiscreteOutCount(), tr("Digital Output "),
                                   "digitalCheckBox_", &mDigitalOutputCheckboxList);
    for (QCheckBox* box : mDigitalOutputCheckboxList) {
        box->setEnabled(false);
    }
    return group;
}

QGroupBox* cDevice::createAnalogInputGroup()
{
    return buttonGroup(tr("Inputs:"), getAnalogInCount(), tr("Analog Input "), "analogRadioButton_",
                       &mAnalogInputRadioButtonList);
}

QGroupBox* cDevice::createAnalogOutputGroup()
{
    QGroupBox* group = buttonGroup(tr("Outputs:"), getAnalogOutCount(), tr("Analog Output "),
                                   "analogCheckBox_", &mAnalogOutputCheckboxList);
    for (QCheckBox* box : mAnalogOutputCheckboxList) {
        box->setEnabled(false);
    }
    return group;
}
