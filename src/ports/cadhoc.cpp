#include "cadhoc.h"

#include <QDebug>
#include <QGridLayout>
#include <QGroupBox>
#include <QVBoxLayout>

namespace {

QGroupBox* groupAround(const QString& title, QWidget* control)
{
    control->setAccessibleName(title);
    auto* group = new QGroupBox(title);
    auto* box = new QVBoxLayout(group);
    box->addWidget(control);
    return group;
}

} // namespace

cAdHocEvent::cAdHocEvent()
{
    mSendEvtBtn = new QPushButton(tr("Send Event"));
    mQLabel = new QLineEdit;
    mQValue = new QLineEdit;
    mEventID = new QSpinBox;
    mEventID->setMinimum(1);

    auto* grid = new QGridLayout(this);
    grid->addWidget(groupAround(tr("Event ID"), mEventID), 0, 0);
    grid->addWidget(groupAround(tr("Event Label"), mQLabel), 0, 1);
    grid->addWidget(groupAround(tr("Event Value"), mQValue), 0, 2);
    grid->addWidget(groupAround(tr("Send"), mSendEvtBtn), 0, 3);
    mSendEvtBtn->setAccessibleName(mSendEvtBtn->text());
    connect(mSendEvtBtn, SIGNAL(clicked()), this, SLOT(EvtBtnClicked()));
}

bool cAdHocEvent::send(int id, const QString& label, const QString& value)
{
    if (id < mEventID->minimum() || id > mEventID->maximum()) {
        return false;
    }
    mEventID->setValue(id);
    mQLabel->setText(label);
    mQValue->setText(value);
    mSendEvtBtn->click();
    return true;
}

void cAdHocEvent::fill(uint32_t id, const std::string& label, const std::string& value)
{
    mEventID->setValue(static_cast<int>(id));
    mQLabel->setText(QString::fromStdString(label));
    mQValue->setText(QString::fromStdString(value));
    setPortId(id);
    setEventLabel(label.c_str());
    setEventValue(value.c_str());
}

void cAdHocEvent::setLabel(char* label)
{
    mQLabel->setText(QString::fromLocal8Bit(label));
    setEventLabel(label);
}

void cAdHocEvent::EvtBtnClicked()
{
    setPortId(static_cast<uint32_t>(mEventID->value()));
    setEventLabel(mQLabel->text().toLocal8Bit().constData());
    setEventValue(mQValue->text().toLocal8Bit().constData());
    // The stream stays hexadecimal after the serial, so the id is hexadecimal too.
    qDebug() << "Sending Ad hoc event:" << Qt::endl
             << "Device Serial: 0x" << Qt::hex << getDeviceSerial() << Qt::endl
             << "Event ID: " << getPortId() << Qt::endl
             << "Event Label:" << getEventLabel() << Qt::endl
             << "Event Value:" << getEventValue() << Qt::endl;
    emit send_adhoc_evnt(0);
}
