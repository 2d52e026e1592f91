// What scripts do to the device.

#include <QDebug>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "checkedindex.h"

void cDevice::setDigitalInput_Slot(int port, int value)
{
    qDebug() << "Digital slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    const cDInput* input = checkedAt(mDigitalInputList, qint64{port} - 1, "mDigitalInputList");
    const QMetaObject::Connection wire =
        connect(this, &cDevice::setDigitalInput_Signal, input, &cDInput::scriptInputChange);
    emit setDigitalInput_Signal(value);
    disconnect(wire);
}

void cDevice::setAnalogInput_Slot(int port, int value)
{
    qDebug() << "Analog slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    const cAInput* input = checkedAt(mAnalogInputList, qint64{port} - 1, "mAnalogInputList");
    const QMetaObject::Connection wire =
        connect(this, &cDevice::setAnalogInput_Signal, input, &cAInput::scriptInputChange);
    emit setAnalogInput_Signal(value);
    disconnect(wire);
}

bool cDevice::scan(int scanner, const QString& code)
{
    if (scanner < 1 || static_cast<size_t>(scanner) > mAccessList.size()) {
        return false;
    }
    mAccessList[static_cast<size_t>(scanner) - 1]->send(code);
    return true;
}

bool cDevice::adhoc(int id, const QString& label, const QString& value)
{
    return mAdHocEvent != nullptr && mAdHocEvent->send(id, label, value);
}
