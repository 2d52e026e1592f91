#include "formsize.h"

#include "scaledwidth.h"

#include <QDialog>

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
