#include "devicepanel.h"

#include <QScrollArea>
#include <QStyle>

#include "portrow.h"

namespace {

/// A scroll area whose size hint is the largest that Qt gives to any: the page's own would take measuring
/// each of its rows before the page is ever shown.
class cPageFrame : public QScrollArea
{
public:
    QSize sizeHint() const override { return fontMetrics().height() * QSize(36, 24); }
};

} // namespace

void devicepanel::addPage(QTabWidget* panel, QWidget* page, const QString& title)
{
    auto* area = new cPageFrame;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(page);
    panel->addTab(area, title);
}

QHBoxLayout* devicepanel::headerRow(const Page& page)
{
    auto* header = new QHBoxLayout;
    const QStyle* style = page.widget->style();
    header->setContentsMargins(style->pixelMetric(QStyle::PM_LayoutLeftMargin, nullptr, page.widget), 0,
                               style->pixelMetric(QStyle::PM_LayoutRightMargin, nullptr, page.widget), 0);
    for (const Column& column : page.columns) {
        if (column.width > 0) {
            addFixedCell(header, new QLabel, column.title, column.width);
        } else {
            header->addWidget(new QLabel(column.title), 1);
        }
    }
    return header;
}
