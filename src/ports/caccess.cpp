#include "caccess.h"

#include <QHBoxLayout>
#include <QRegularExpression>

namespace {

/// The text of the row for @p label. "SCANNER %1" is the text to translate, whatever the number.
QString shown(const char* label)
{
    static const QRegularExpression numbered(QStringLiteral("^SCANNER ([0-9]+)$"));
    const QRegularExpressionMatch match = numbered.match(QString::fromUtf8(label));
    return match.hasMatch() ? cAccess::tr("SCANNER %1").arg(match.captured(1)) : cAccess::tr(label);
}

} // namespace

cAccess::cAccess()
{
    auto* box = new QHBoxLayout;
    mQLabel = new QLabel;
    box->addWidget(mQLabel, 1);
    mCardSerialNum = new QLineEdit;
    mCardSerialNum->setText("");
    mCardSerialNum->setFixedWidth(kCodeWidth);
    box->addWidget(mCardSerialNum);
    mQLabel->setBuddy(mCardSerialNum);
    mSendEvtBtn = new QPushButton("Send Event");
    box->addWidget(mSendEvtBtn, 1);
    connect(mSendEvtBtn, SIGNAL(clicked()), this, SLOT(EvtBtnClicked()));
    setLayout(box);
}

void cAccess::setLabel(const char* label)
{
    mQLabel->setText(shown(label));
    mCardSerialNum->setAccessibleName(mQLabel->text());
    mSendEvtBtn->setAccessibleName(mSendEvtBtn->text() + QLatin1Char(' ') + mQLabel->text());
    cObjectAccess::setLabel(label);
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
