#pragma once

#include <QCheckBox>
#include <QDebug>
#include <QGroupBox>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <vector>

#include "zuldevice/portrules.h"

/// The page on which inputs of one kind, digital or analog, are wired to outputs.
///
/// A radio button selects an input, check boxes mark the outputs that are wired to it. Ports are numbered
/// from 1; a wrong number ends the program.
template <class Input, class Output>
class cWiringPage
{
public:
    /// A list of the device.
    template <class Part>
    struct List
    {
        Part* at(int64_t number) const { return checkedAt(parts, number - 1, name); }

        std::vector<Part*>& parts;
        const char* name;
    };

    /// What belongs to the page and stays the device's.
    struct Parts
    {
        const QObject* device;
        const char* kind; ///< begins the object names
        List<Input> inputs;
        List<Output> outputs;
        List<QRadioButton> buttons;
        List<QCheckBox> boxes;
        List<QRadioButton> marked; ///< the buttons that show what a script selects
        int32_t& selected;         ///< 0 for none
    };

    explicit cWiringPage(const Parts& parts) : mParts(parts) {}

    Input* input(int64_t number) const { return mParts.inputs.at(number); }
    Output* output(int64_t number) const { return mParts.outputs.at(number); }

    /// Returns a titled column of @p count radio buttons, whose clicks go to @p slot of the device.
    QGroupBox* createInputs(const QString& title, const QString& text, uint32_t count, const char* slot)
    {
        return buttonGroup(title, text, inputPrefix(), count, &mParts.buttons.parts, SIGNAL(clicked()), slot);
    }

    /// Returns a titled column of @p count disabled check boxes, whose changes go to @p slot of the device.
    QGroupBox* createOutputs(const QString& title, const QString& text, uint32_t count, const char* slot)
    {
        QGroupBox* group = buttonGroup(title, text, outputPrefix(), count, &mParts.boxes.parts,
                                       SIGNAL(stateChanged(int)), slot);
        for (QCheckBox* box : mParts.boxes.parts) {
            box->setEnabled(false);
        }
        return group;
    }

    /// Selects the input of @p button and enables the boxes of the outputs, @p count in all, that are free or
    /// driven by it. Ticks stay.
    void select(const QObject* button, uint32_t count)
    {
        mParts.selected = numberOf(button, inputPrefix());
        qDebug().nospace() << "Selected " << mParts.kind << " input is: " << mParts.selected;
        for (uint32_t number = 1; number <= count; ++number) {
            const int driver = output(number)->getInputPort();
            mParts.boxes.at(number)->setEnabled(driver == 0 || driver == mParts.selected);
        }
    }

    /// Wires the output of @p box to the selected input, or unwires it. Nothing happens without a selection.
    void tick(const QObject* box, bool checked)
    {
        if (mParts.selected != 0) {
            const int number = numberOf(box, outputPrefix());
            zuldevice::wire(input(mParts.selected), mParts.selected, output(number), number, checked);
        }
    }

    /// What a script's connect does: it clicks the button of @p input, marks it, and ticks or unticks the box
    /// of @p output unless that is wired already. The button and the box signal first and change then, so the
    /// box may signal twice. Numbers beyond @p inputs and @p outputs do nothing.
    void connect(int input, uint32_t inputs, int output, uint32_t outputs, bool connect)
    {
        if (input < 1 || static_cast<uint32_t>(input) > inputs) {
            return;
        }
        emit mParts.buttons.at(input)->clicked(false);
        mParts.marked.at(input)->setChecked(true);
        if (output < 1 || static_cast<uint32_t>(output) > outputs ||
            mParts.outputs.at(output)->getConnectedStatus()) {
            return;
        }
        QCheckBox* box = mParts.boxes.at(output);
        emit box->stateChanged(connect ? Qt::Checked : Qt::Unchecked);
        box->setChecked(connect);
    }

    /// Puts output @p to among the outputs of input @p from, once, or takes it out, and shows that. Returns
    /// false, and changes nothing, if another input drives the output.
    bool setWired(int from, int to, bool wired)
    {
        Input* const in = input(from);
        Output* const out = output(to);
        const int driver = out->getInputPort();
        if (wired && driver != 0 && driver != from) {
            return false;
        }
        if (entries(*in, to) == (wired ? 1 : 0)) {
            return true;
        }
        // What a script has connected may stand there twice.
        while (entries(*in, to) > 0) {
            in->findAndRemove(to);
        }
        zuldevice::wire(in, from, out, to, wired);
        QCheckBox* box = mParts.boxes.at(to);
        const QSignalBlocker silent(box);
        box->setChecked(wired);
        box->setEnabled(mParts.selected != 0 && (!wired || mParts.selected == from));
        return true;
    }

private:
    static int entries(const Input& input, int output)
    {
        int count = 0;
        for (int k = 0; k < input.getOutputCount(); ++k) {
            count += input.getOutputPort(k) == output ? 1 : 0;
        }
        return count;
    }

    QString inputPrefix() const { return mParts.kind + QStringLiteral("RadioButton_"); }
    QString outputPrefix() const { return mParts.kind + QStringLiteral("CheckBox_"); }

    /// The number at the end of the object name; 0 if there is none.
    static int numberOf(const QObject* button, const QString& prefix)
    {
        return button->objectName().remove(prefix).toInt();
    }

    /// The buttons are numbered in text and object name, and appended to @p list.
    template <class Button>
    QGroupBox* buttonGroup(const QString& title, const QString& text, const QString& prefix, uint32_t count,
                           std::vector<Button*>* list, const char* signal, const char* slot)
    {
        auto* group = new QGroupBox(title);
        auto* layout = new QVBoxLayout;
        for (uint32_t number = 1; number <= count; ++number) {
            auto* button = list->emplace_back(new Button(text + QString::number(number)));
            button->setObjectName(prefix + QString::number(number));
            QObject::connect(button, signal, mParts.device, slot);
            layout->addWidget(button);
        }
        layout->addStretch(1);
        group->setLayout(layout);
        return group;
    }

    const Parts mParts;
};
