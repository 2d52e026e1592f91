#pragma once

#include <QCheckBox>
#include <QDebug>
#include <QGroupBox>
#include <QRadioButton>
#include <QVBoxLayout>
#include <vector>

#include "zuldevice/checkedindex.h"
#include "zuldevice/portrules.h"

/// The page on which inputs of one kind, digital or analog, are wired to outputs.
///
/// A radio button selects an input, check boxes mark the outputs that are wired to it. The lists and the
/// selection are the device's. Ports are numbered from 1.
template <class Input, class Output>
class cWiringPage
{
public:
    /// How the page's parts are called.
    struct Names
    {
        const char* kind; ///< begins the object names
        const char* inputs;
        const char* outputs;
        const char* buttons;
        const char* boxes;
    };

    struct Lists
    {
        const std::vector<Input*>& inputs;
        const std::vector<Output*>& outputs;
        std::vector<QRadioButton*>& buttons;
        std::vector<QCheckBox*>& boxes;
        int32_t& selected; ///< 0 for none
    };

    cWiringPage(const Names& names, const Lists& lists) : mNames(names), mLists(lists) {}

    /// Returns a group of @p count radio buttons, whose clicks go to @p slot of @p receiver.
    QGroupBox* createInputs(const QString& title, const QString& text, uint32_t count, QObject* receiver,
                            const char* slot)
    {
        QGroupBox* group = buttonGroup(title, text, inputPrefix(), count, &mLists.buttons);
        for (QRadioButton* button : mLists.buttons) {
            QObject::connect(button, SIGNAL(clicked()), receiver, slot);
        }
        return group;
    }

    /// Returns a group of @p count disabled check boxes, whose changes go to @p slot of @p receiver.
    QGroupBox* createOutputs(const QString& title, const QString& text, uint32_t count, QObject* receiver,
                             const char* slot)
    {
        QGroupBox* group = buttonGroup(title, text, outputPrefix(), count, &mLists.boxes);
        for (QCheckBox* box : mLists.boxes) {
            box->setEnabled(false);
            QObject::connect(box, SIGNAL(stateChanged(int)), receiver, slot);
        }
        return group;
    }

    /// Selects the input of @p button and enables the boxes of the outputs, @p count in all, that are free or
    /// driven by it. Ticks stay.
    void select(const QObject* button, uint32_t count)
    {
        mLists.selected = numberOf(button, inputPrefix());
        qDebug().nospace() << "Selected " << mNames.kind << " input is: " << mLists.selected;
        for (uint32_t i = 0; i < count; ++i) {
            const int driver = checkedAt(mLists.outputs, i, mNames.outputs)->getInputPort();
            checkedAt(mLists.boxes, i, mNames.boxes)->setEnabled(driver == 0 || driver == mLists.selected);
        }
    }

    /// Wires the output of @p box to the selected input, or unwires it. Nothing happens without a selection.
    void tick(const QObject* box, bool checked)
    {
        const int number = numberOf(box, outputPrefix());
        if (mLists.selected == 0) {
            return;
        }
        Output* output = checkedAt(mLists.outputs, int64_t{number} - 1, mNames.outputs);
        Input* input = checkedAt(mLists.inputs, int64_t{mLists.selected} - 1, mNames.inputs);
        if (checked) {
            zuldevice::wire(input, mLists.selected, output, number);
        } else {
            zuldevice::unwire(input, output, number);
        }
    }

    /// What a script's connect does: it clicks the button of @p input, shows the one of that number in
    /// @p shown checked, and ticks or unticks the box of @p output unless that is wired already. The button
    /// and the box signal first and change then, so the box may signal twice. Numbers beyond @p inputs and
    /// @p outputs do nothing.
    void connect(int input, uint32_t inputs, int output, uint32_t outputs, bool connect,
                 const std::vector<QRadioButton*>& shown)
    {
        if (input < 1 || static_cast<uint32_t>(input) > inputs) {
            return;
        }
        emit checkedAt(mLists.buttons, int64_t{input} - 1, mNames.buttons)->clicked(false);
        checkedAt(shown, int64_t{input} - 1, "mDigitalInputRadioButtonList")->setChecked(true);
        if (output < 1 || static_cast<uint32_t>(output) > outputs ||
            checkedAt(mLists.outputs, int64_t{output} - 1, mNames.outputs)->getConnectedStatus()) {
            return;
        }
        QCheckBox* box = checkedAt(mLists.boxes, int64_t{output} - 1, mNames.boxes);
        emit box->stateChanged(connect ? Qt::Checked : Qt::Unchecked);
        box->setChecked(connect);
    }

private:
    QString inputPrefix() const { return mNames.kind + QStringLiteral("RadioButton_"); }
    QString outputPrefix() const { return mNames.kind + QStringLiteral("CheckBox_"); }

    /// The number at the end of the object name; 0 if there is none.
    static int numberOf(const QObject* button, const QString& prefix)
    {
        return button->objectName().remove(prefix).toInt();
    }

    /// A titled column of buttons, numbered in text and object name, each also appended to @p list.
    template <class Button>
    static QGroupBox* buttonGroup(const QString& title, const QString& text, const QString& prefix,
                                  uint32_t count, std::vector<Button*>* list)
    {
        auto* group = new QGroupBox(title);
        auto* layout = new QVBoxLayout;
        for (uint32_t number = 1; number <= count; ++number) {
            auto* button = new Button(text + QString::number(number));
            button->setObjectName(prefix + QString::number(number));
            list->push_back(button);
            layout->addWidget(button);
        }
        layout->addStretch(1);
        group->setLayout(layout);
        return group;
    }

    const Names mNames;
    const Lists mLists;
};
