#include "itemsrow.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

QSpinBox* layOutItemsRow(QDialog* dialog, const QString& caption, QPushButton* button)
{
    auto* number = new QSpinBox;
    number->setFixedWidth(100);
    auto* box = new QHBoxLayout;
    if (!caption.isEmpty()) {
        auto* label = new QLabel(caption);
        label->setBuddy(number);
        box->addWidget(label);
    }
    box->addWidget(number);
    // The button keeps its place in the form, below the row.
    const int margin = dialog->width() - button->geometry().right() - 1;
    box->setContentsMargins(margin, margin, margin, dialog->height() - button->y());
    dialog->setLayout(box);
    QWidget::setTabOrder(number, button);
    number->setFocus();
    return number;
}
