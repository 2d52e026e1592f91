#include "formlayout.h"

#include "scaledwidth.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

void scaleForm(QDialog& form)
{
    const auto scaled = [&form](int pixels) { return scaledWidth(form, pixels); };
    form.resize(scaled(form.width()), scaled(form.height()));
    for (QWidget* child : form.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        const QRect place = child->geometry();
        child->setGeometry(scaled(place.x()), scaled(place.y()), scaled(place.width()),
                           scaled(place.height()));
    }
}

QSpinBox* layOutItemsRow(QDialog& form, const QString& caption, QPushButton& button)
{
    scaleForm(form);
    form.setFixedSize(form.size());
    auto* number = new QSpinBox;
    number->setFixedWidth(scaledWidth(form, 100));
    auto* box = new QHBoxLayout(&form);
    if (!caption.isEmpty()) {
        auto* label = new QLabel(caption);
        label->setBuddy(number);
        box->addWidget(label);
    }
    box->addWidget(number);
    // The button keeps its place in the form, below the row.
    const int margin = form.width() - button.geometry().right() - 1;
    box->setContentsMargins(margin, margin, margin, form.height() - button.y());
    QWidget::setTabOrder(number, &button);
    number->setFocus();
    return number;
}
