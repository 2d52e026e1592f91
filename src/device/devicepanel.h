#pragma once

#include <QTabWidget>
#include <QVBoxLayout>
#include <vector>

#include "cainput.h"
#include "zuldevice/portrules.h"

/// Builds the pages of a device's panel.
namespace devicepanel {

struct Column
{
    QString title;
    int width = 0; // pixels at 96 dpi; 0 for a share of the row
};

/// A page of rows.
struct Page
{
    QWidget* widget;
    QString title;
    std::vector<Column> columns;
};

/// Adds a tab with @p page, which scrolls once its rows do not fit. To be called before the page has rows,
/// which would be measured here one by one.
void addPage(QTabWidget* panel, QWidget* page, const QString& title);

/// The header of a page of rows: one label for each column, indented like the rows below it.
QHBoxLayout* headerRow(const Page& page);

/// Adds a tab with @p count new rows for the parts of the device @p serial. Connects @p signal of each to
/// @p slot of @p panel, unless null.
template <class Row>
std::vector<Row*> addRows(QTabWidget* panel, const Page& page, uint32_t count, uint32_t serial,
                          const char* signal = nullptr, const char* slot = nullptr)
{
    addPage(panel, page.widget, page.title);
    auto* layout = new QVBoxLayout;
    layout->addLayout(headerRow(page));
    const QByteArray unit = cAInput::tr("fT %").toLocal8Bit();
    std::vector<Row*> rows;
    for (uint32_t number = 1; number <= count; ++number) {
        auto* row = rows.emplace_back(new Row);
        zuldevice::describe(row, number, serial, unit.constData());
        if constexpr (std::derived_from<Row, cObjectPort>) {
            QString name = QString::fromLocal8Bit(row->getPortLabel());
            row->setPortName(name);
        }
        if (signal != nullptr) {
            QObject::connect(row, signal, panel, slot);
        }
        layout->addWidget(row);
    }
    layout->addStretch(1);
    page.widget->setLayout(layout);
    return rows;
}

} // namespace devicepanel
