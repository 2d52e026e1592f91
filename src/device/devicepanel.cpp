#include "devicepanel.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "scaledwidth.h"
#include "zuldevice/portrules.h"

namespace {

/// The texts of the panel are the device's.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(cDevice)
};

struct Column
{
    QString title;
    int width; // at 96 dpi; 0 for a share of the row
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

/// A scroll area whose size hint is the largest that Qt gives to any: the page's own would take measuring
/// each of its rows before the page is ever shown.
class cPageFrame : public QScrollArea
{
public:
    QSize sizeHint() const override { return fontMetrics().height() * QSize(36, 24); }
};

/// Adds a tab with @p page, which scrolls once its rows do not fit. To be called before the page has rows,
/// which would be measured here one by one.
void addPage(QTabWidget* panel, QWidget* page, const QString& title)
{
    auto* area = new cPageFrame;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(page);
    panel->addTab(area, title);
}

/// Fills @p page with @p header and @p count new rows below it.
template <class Row>
std::vector<Row*> addRows(const cObjectDevice& device, QWidget* page, QHBoxLayout* header, uint32_t count)
{
    auto* layout = new QVBoxLayout;
    layout->addLayout(header);
    const QByteArray unit = cAInput::tr("fT %").toLocal8Bit();
    std::vector<Row*> rows;
    for (uint32_t number = 1; number <= count; ++number) {
        rows.push_back(new Row);
        zuldevice::describe(rows.back(), number, device.getDeviceSerial(), unit.constData());
        if constexpr (std::derived_from<Row, cObjectPort>) {
            QString name = QString::fromLocal8Bit(rows.back()->getPortLabel());
            rows.back()->setPortName(name);
        }
        layout->addWidget(rows.back());
    }
    layout->addStretch(1);
    page->setLayout(layout);
    return rows;
}

/// Connects a signal of every row to a slot of the device.
template <class Row>
void connectRows(const std::vector<Row*>& rows, const char* signal, const QTabWidget* panel, const char* slot)
{
    for (const Row* row : rows) {
        QObject::connect(row, signal, panel, slot);
    }
}

std::vector<Column> digitalColumns()
{
    return {{Texts::tr("Port Label"), 0}, {Texts::tr("Default State"), 0}, {Texts::tr("Current State"), 0}};
}

} // namespace

std::vector<cDInput*> devicepanel::addDigitalInputs(QTabWidget* panel, const cObjectDevice& device,
                                                    QWidget* page)
{
    addPage(panel, page, Texts::tr("Digital Inputs"));
    auto rows =
        addRows<cDInput>(device, page, headerRow(*page, digitalColumns()), device.getDiscreteInCount());
    connectRows(rows, SIGNAL(inputChanged(int)), panel, SLOT(inputEvent(int)));
    return rows;
}

std::vector<cDOutput*> devicepanel::addDigitalOutputs(QTabWidget* panel, const cObjectDevice& device,
                                                      QWidget* page)
{
    addPage(panel, page, Texts::tr("Digital Outputs"));
    return addRows<cDOutput>(device, page, headerRow(*page, digitalColumns()), device.getDiscreteOutCount());
}

std::vector<cAInput*> devicepanel::addAnalogInputs(QTabWidget* panel, const cObjectDevice& device,
                                                   QScrollArea* page)
{
    addPage(panel, page, Texts::tr("Analog Inputs"));
    QHBoxLayout* header = headerRow(*page, {{Texts::tr("Port Label"), 100},
                                            {Texts::tr("Gain"), 60},
                                            {Texts::tr("Offset"), 60},
                                            {Texts::tr("Rate"), 60},
                                            {Texts::tr("Current Value"), 0}});
    auto rows = addRows<cAInput>(device, page, header, device.getAnalogInCount());
    connectRows(rows, SIGNAL(sampleEvent(cObjectAnalogSample*)), panel,
                SLOT(analogEvent(cObjectAnalogSample*)));
    page->setFrameShape(QFrame::NoFrame);
    // The layout stands on the scroll area itself, which otherwise ignores its minimum size.
    page->layout()->setSizeConstraint(QLayout::SetMinimumSize);
    return rows;
}

std::vector<cAOutput*> devicepanel::addAnalogOutputs(QTabWidget* panel, const cObjectDevice& device,
                                                     QWidget* page)
{
    addPage(panel, page, Texts::tr("Analog Outputs"));
    QHBoxLayout* header = headerRow(*page, {{Texts::tr("Port Label"), 100},
                                            {Texts::tr("Gain"), 60},
                                            {Texts::tr("Offset"), 60},
                                            {Texts::tr("Current Value"), 0}});
    return addRows<cAOutput>(device, page, header, device.getAnalogOutCount());
}

void devicepanel::addWiring(QTabWidget* panel, QWidget* page, const QString& title, QGroupBox* inputs,
                            QGroupBox* outputs)
{
    addPage(panel, page, title);
    auto* grid = new QGridLayout;
    grid->addWidget(inputs, 0, 0);
    grid->addWidget(outputs, 0, 1);
    page->setLayout(grid);
}

std::vector<cAccess*> devicepanel::addScanners(QTabWidget* panel, const cObjectDevice& device, QWidget* page,
                                               uint32_t count)
{
    addPage(panel, page, Texts::tr("Access Events"));
    QHBoxLayout* header = headerRow(*page, {{Texts::tr("Scanner Label"), 0}, {Texts::tr("Scan Code"), 0}});
    // The second title stands above the fields; names and buttons share the rest of the row.
    header->itemAt(1)->widget()->setMinimumWidth(cAccess::kCodeWidth);
    header->setStretch(1, 0);
    header->addSpacing(page->style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing, nullptr, page));
    header->addStretch(1);
    auto rows = addRows<cAccess>(device, page, header, count);
    connectRows(rows, SIGNAL(send_accesss_evnt(int)), panel, SLOT(accesEvnt(int)));
    return rows;
}

cAdHocEvent* devicepanel::addAdHocEditor(QTabWidget* panel, const cObjectDevice& device, QWidget* page)
{
    addPage(panel, page, Texts::tr("Adhoc Events"));
    auto* editor = new cAdHocEvent;
    editor->setDeviceSerial(device.getDeviceSerial());
    QObject::connect(editor, SIGNAL(send_adhoc_evnt(int)), panel, SLOT(adHocEvnt(int)));
    auto* layout = new QVBoxLayout;
    layout->addWidget(editor);
    layout->addStretch(1);
    page->setLayout(layout);
    return editor;
}
