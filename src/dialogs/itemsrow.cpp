#include "itemsrow.h"

#include "formsize.h"
#include "scaledwidth.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

QSpinBox* layOutItemsRow(QDialog& form, const QString& caption, QPushButton& button)
{
    scaleForm(form);
    form.setFixedSize(form.size());
    auto* number = new QSpinBox;
    number->setFixedWidth(scaledWidth(form, 100));
    auto* box = new QHBoxLayout;
    if (!caption.isEmpty()) {
        auto* label = new QLabel(caption);
        label->setBuddy(number);
        box->addWidget(label);
    }
    box->addWidget(number);
    // The button keeps its place in the form, below the row.
    const int margin = form.width() - button.geometry().right() - 1;
    box->setContentsMargins(margin, margin, margin, form.height() - button.y());
    form.setLayout(box);
    QWidget::setTabOrder(number, &button);
    number->setFocus();
    return number;
}
