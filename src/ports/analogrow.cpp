#include "analogrow.h"

#include "scaledwidth.h"

#include <QHBoxLayout>
#include <QLabel>

void beginAnalogRow(QHBoxLayout* box, QLabel* name, const QString& nameText, QLabel* gain, QLabel* offset)
{
    name->setText(nameText);
    name->setFixedWidth(scaledWidth(*name, 100));
    box->addWidget(name);
    gain->setNum(1.0);
    gain->setFixedWidth(scaledWidth(*gain, 60));
    box->addWidget(gain);
    offset->setNum(0.0);
    offset->setFixedWidth(scaledWidth(*offset, 60));
    box->addWidget(offset);
}
