// The pages of the device panel, and the rows on them.

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "scaledwidth.h"

namespace {

constexpr float kGain = 1.0F;
constexpr float kOffset = 0.0F;
constexpr uint32_t kSampleRate = 10; // minutes

struct Column
{
    QString title;
    int width; // at 96 dpi; 0: takes its share of the row
};

/// The header of a page of rows: one label for each column, indented like the rows below it.
QHBoxLayout* headerRow(const QWidget& page, const std::vector<Column>& columns)
{
    auto* header = new QHBoxLayout;
    const int left = page.style()->pixelMetric(QStyle::PM_LayoutLeftMargin, nullptr, &page);
    const int right = page.style()->pixelMetric(QStyle::PM_LayoutRightMargin, nullptr, &page);
    header->setContentsMargins(left, 0, right, 0);
    for (const Column& column : columns) {
        auto* label = new QLabel(column.title);
        if (column.width > 0) {
            label->setFixedWidth(scaledWidth(*label, column.width));
        }
        header->addWidget(label, column.width > 0 ? 0 : 1);
    }
    return header;
}

QVBoxLayout* pageLayout(QHBoxLayout* header)
{
    auto* layout = new QVBoxLayout;
    layout->addLayout(header);
    return layout;
}

/// Keeps the rows together at the top of the page.
void finishPage(QWidget* page, QVBoxLayout* layout)
{
    layout->addStretch(1);
    page->setLayout(layout);
}

/// What every port row is told first. @p pattern holds %1 for the port's number.
template <class Port>
void namePort(Port* port, const QString& pattern, uint32_t number, uint32_t deviceSerial)
{
    QString name = pattern.arg(number);
    port->setPortName(name);
    port->setPortLabel(name.toLocal8Bit().data());
    port->setDeviceSerial(deviceSerial);
    port->setPortId(number);
}

/// A frame that wishes for as much room as Qt gives to any: to know a page's own wish would mean to measure
/// each of its rows before the page is ever shown.
class cPageFrame : public QScrollArea
{
public:
    QSize sizeHint() const override { return fontMetrics().height() * QSize(36, 24); }
};

/// A page in a frame that scrolls once the page's rows do not fit.
QScrollArea* scrolling(QWidget* page)
{
    auto* area = new cPageFrame;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(page);
    return area;
}

} // namespace

/// Gives @p page its tab. It has no rows yet: with them it would be measured, row by row, though nobody sees
/// it.
void cDevice::addPage(QWidget* page, const QString& title) { addTab(scrolling(page), title); }

void cDevice::buildDigitalInputs()
{
    addPage(&dinTab, tr("Digital Inputs"));
    QVBoxLayout* layout = pageLayout(
        headerRow(dinTab, {{tr("Port Label"), 0}, {tr("Default State"), 0}, {tr("Current State"), 0}}));
    for (uint32_t number = 1; number <= getDiscreteInCount(); ++number) {
        auto* input = new cDInput;
        namePort(input, QStringLiteral("INPUT %1"), number, getDeviceSerial());
        input->setDefaultState(OBJ_IO_STATE_CLEAR);
        input->setInputState(OBJ_IO_STATE_CLEAR);
        input->updateStatus();
        mDigitalInputList.push_back(input);
        layout->addWidget(input);
        connect(input, SIGNAL(inputChanged(int)), this, SLOT(inputEvent(int)));
    }
    finishPage(&dinTab, layout);
}

void cDevice::buildDigitalOutputs()
{
    addPage(&doutTab, tr("Digital Outputs"));
    QVBoxLayout* layout = pageLayout(
        headerRow(doutTab, {{tr("Port Label"), 0}, {tr("Default State"), 0}, {tr("Current State"), 0}}));
    for (uint32_t number = 1; number <= getDiscreteOutCount(); ++number) {
        auto* output = new cDOutput;
        namePort(output, QStringLiteral("OUTPUT %1"), number, getDeviceSerial());
        output->setDefaultState(OBJ_IO_STATE_CLEAR);
        output->setOutputState(OBJ_IO_STATE_CLEAR);
        output->updateStatus();
        mDigitalOutputList.push_back(output);
        layout->addWidget(output);
    }
    finishPage(&doutTab, layout);
}

void cDevice::buildAnalogInputs()
{
    addPage(&ainTab, tr("Analog Inputs"));
    QVBoxLayout* layout = pageLayout(headerRow(ainTab, {{tr("Port Label"), 100},
                                                        {tr("Gain"), 60},
                                                        {tr("Offset"), 60},
                                                        {tr("Rate"), 60},
                                                        {tr("Current Value"), 0}}));
    QByteArray unit = cAInput::tr("fT %").toLocal8Bit();
    for (uint32_t number = 1; number <= getAnalogInCount(); ++number) {
        auto* input = new cAInput;
        namePort(input, QStringLiteral("AIN %1"), number, getDeviceSerial());
        input->setSampleRate(kSampleRate);
        input->setGain(kGain);
        input->setOffset(kOffset);
        input->setDisplayUnit(unit.data());
        mAnalogInputList.push_back(input);
        layout->addWidget(input);
        connect(input, SIGNAL(sampleEvent(cObjectAnalogSample*)), this,
                SLOT(analogEvent(cObjectAnalogSample*)));
    }
    ainTab.setFrameShape(QFrame::NoFrame);
    // The rows stand on the scroll area itself, which then does not ask for their room by itself.
    layout->setSizeConstraint(QLayout::SetMinimumSize);
    finishPage(&ainTab, layout);
}

void cDevice::buildAnalogOutputs()
{
    addPage(&aoutTab, tr("Analog Outputs"));
    QVBoxLayout* layout = pageLayout(headerRow(
        aoutTab, {{tr("Port Label"), 100}, {tr("Gain"), 60}, {tr("Offset"), 60}, {tr("Current Value"), 0}}));
    const QByteArray unit = cAInput::tr("fT %").toLocal8Bit();
    for (uint32_t number = 1; number <= getAnalogOutCount(); ++number) {
        auto* output = new cAOutput;
        namePort(output, QStringLiteral("AOUT %1"), number, getDeviceSerial());
        output->setGain(kGain);
        output->setOffset(kOffset);
        output->setDisplayUnit(unit.constData());
        output->setSampledValue(0.0F);
        mAnalogOutputList.push_back(output);
        layout->addWidget(output);
    }
    finishPage(&aoutTab, layout);
}

void cDevice::buildWiringPages()
{
    addPage(&dInputOutputTab, tr("Digital Input and Output Connections"));
    auto* digital = new QGridLayout;
    digital->addWidget(createDigitalInputGroup(), 0, 0);
    digital->addWidget(createDigitalOutputGroup(), 0, 1);
    dInputOutputTab.setLayout(digital);

    addPage(&aInputOutputTab, tr("Analog Input and Output Connections"));
    auto* analog = new QGridLayout;
    analog->addWidget(createAnalogInputGroup(), 0, 0);
    analog->addWidget(createAnalogOutputGroup(), 0, 1);
    aInputOutputTab.setLayout(analog);
}

void cDevice::buildAccess(uint32_t scanners)
{
    addPage(&accessTab, tr("Access Events"));
    QHBoxLayout* header = headerRow(accessTab, {{tr("Scanner Label"), 0}, {tr("Scan Code"), 0}});
    // The second title stands above the fields, which leave the rest of the row to names and buttons alike.
    header->itemAt(1)->widget()->setMinimumWidth(cAccess::kCodeWidth);
    header->setStretch(1, 0);
    header->addSpacing(
        accessTab.style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing, nullptr, &accessTab));
    header->addStretch(1);
    QVBoxLayout* layout = pageLayout(header);
    for (uint32_t number = 1; number <= scanners; ++number) {
        auto* scanner = new cAccess;
        scanner->setDeviceSerial(getDeviceSerial());
        scanner->setPortNum(number);
        scanner->setLabel((QStringLiteral("SCANNER ") + QString::number(number)).toLocal8Bit().constData());
        mAccessList.push_back(scanner);
        layout->addWidget(scanner);
        connect(scanner, SIGNAL(send_accesss_evnt(int)), this, SLOT(accesEvnt(int)));
    }
    finishPage(&accessTab, layout);
}

void cDevice::buildAdHoc()
{
    addPage(&adHocTab, tr("Adhoc Events"));
    mAdHocEvent = new cAdHocEvent;
    mAdHocEvent->setDeviceSerial(getDeviceSerial());
    connect(mAdHocEvent, SIGNAL(send_adhoc_evnt(int)), this, SLOT(adHocEvnt(int)));
    auto* layout = new QVBoxLayout;
    layout->addWidget(mAdHocEvent);
    finishPage(&adHocTab, layout);
}

void cDevice::addCapabilities()
{
    addCapability(1, "analogout", "yes");
    addCapability(2, "version", "4.0.2");
    uint32_t id = 3;
    for (const cAccess* scanner : mAccessList) {
        addCapability(id++, "access_reader", scanner->getLabel());
    }
}

void cDevice::addCapability(uint32_t id, const char* label, const char* value)
{
    auto* capability = new cObjectCapability;
    capability->setDeviceSerial(getDeviceSerial());
    capability->setCapId(id);
    capability->setLabel(label);
    capability->setValue(value);
    mCapabilityList.push_back(capability);
}
