#include "caccess.h"

#include <QHBoxLayout>

cAccess::cAccess()
{
    auto* box = new QHBoxLayout;
    mQLabel = new QLabel;
    box->addWidget(mQLabel, 1);
    mCardSerialNum = new QLineEdit;
    mCardSerialNum->setFixedWidth(kCodeWidth);
    box->addWidget(mCardSerialNum);
    mQLabel->setBuddy(mCardSerialNum);
    mSendEvtBtn = new QPushButton("Send Event");
    box->addWidget(mSendEvtBtn, 1);
    connect(mSendEvtBtn, SIGNAL(clicked()), this, SLOT(EvtBtnClicked()));
    setLayout(box); // last, else each row posts one more event, for which Qt searches all that wait
}

void cAccess::setLabel(const char* label)
{
    const QString text = QString::fromUtf8(label);
    const QString prefix = QStringLiteral("SCANNER ");
    // The text to translate is the same whatever the number.
    mQLabel->setText(text.startsWith(prefix) ? tr("SCANNER %1").arg(text.mid(prefix.size())) : tr(label));
    mCardSerialNum->setAccessibleName(mQLabel->text());
    mSendEvtBtn->setAccessibleName(mSendEvtBtn->text() + QLatin1Char(' ') + mQLabel->text());
    cObjectAccess::setLabel(label);
}

void cAccess::setCode(const std::string& code)
{
    mCardSerialNum->setText(QString::fromStdString(code));
    setScanCode(code.c_str());
}

void cAccess::send(const QString& code)
{
    mCardSerialNum->setText(code);
    mSendEvtBtn->click();
}

void cAccess::EvtBtnClicked()
{
    setScanCode(mCardSerialNum->text().toLocal8Bit().constData());
    emit send_accesss_evnt(static_cast<int>(getPortNum()));
}
