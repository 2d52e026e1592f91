#pragma once

#include <QLabel>
#include <QLayout>
#include <QMetaMethod>
#include <QScrollArea>
#include <QTabWidget>

/// Looks at a device panel the way the operator does: pages, rows and cells by their places.
namespace panelview {

enum ePage
{
    DIGITAL_INPUTS,
    DIGITAL_OUTPUTS,
    ANALOG_INPUTS,
    ANALOG_OUTPUTS,
    DIGITAL_WIRING,
    ANALOG_WIRING,
    ACCESS,
    ADHOC
};

/// The frame in which a page scrolls.
inline QScrollArea* frame(const QTabWidget& panel, int page)
{
    return qobject_cast<QScrollArea*>(panel.widget(page));
}

inline QWidget* page(const QTabWidget& panel, int index) { return frame(panel, index)->widget(); }

/// The widgets of a layout in order, those of layouts within it left out.
inline QList<QWidget*> widgets(const QLayout* layout)
{
    QList<QWidget*> found;
    for (int i = 0; i < layout->count(); ++i) {
        if (QWidget* widget = layout->itemAt(i)->widget()) {
            found.append(widget);
        }
    }
    return found;
}

/// The rows of a page, below its header.
inline QList<QWidget*> rows(const QTabWidget& panel, int index)
{
    return widgets(page(panel, index)->layout());
}

/// Row @p number, from 1.
template <class Row>
Row* row(const QTabWidget& panel, int index, int number)
{
    return dynamic_cast<Row*>(rows(panel, index).at(number - 1));
}

/// The labels over a page's columns.
inline QList<QWidget*> header(const QTabWidget& panel, int index)
{
    return widgets(page(panel, index)->layout()->itemAt(0)->layout());
}

/// The fixed width of a widget, 0 if it has none.
inline int fixedWidth(const QWidget* widget)
{
    return widget->minimumWidth() == widget->maximumWidth() ? widget->minimumWidth() : 0;
}

inline QString labelText(QWidget* widget)
{
    const auto* label = qobject_cast<QLabel*>(widget);
    return label == nullptr ? QLatin1String(widget->metaObject()->className()) : label->text();
}

/// What stands in a row or a header: the text of a label, the class of anything else.
inline QStringList texts(const QList<QWidget*>& cells)
{
    QStringList found;
    for (QWidget* cell : cells) {
        found.append(labelText(cell));
    }
    return found;
}

inline QStringList cells(const QWidget* row) { return texts(widgets(row->layout())); }

inline QList<int> fixedWidths(const QList<QWidget*>& cells)
{
    QList<int> found;
    for (const QWidget* cell : cells) {
        found.append(fixedWidth(cell));
    }
    return found;
}

/// The methods that a class adds to its base, in the order of their indexes: "signal name(type)".
inline QStringList ownMethods(const QMetaObject& meta)
{
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        const bool isSignal = method.methodType() == QMetaMethod::Signal;
        const bool isSlot = method.methodType() == QMetaMethod::Slot;
        found.append((isSignal ? "signal " : isSlot ? "slot " : "method ") + method.methodSignature());
    }
    return found;
}

} // namespace panelview
