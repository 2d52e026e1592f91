#pragma once

#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>
#include <string>

#include "zulobj/adhoc.h"

/// The editor of ad-hoc events: a form on the panel that is also the record.
class cAdHocEvent : public QWidget, public cObjectAdhocEvent
{
    Q_OBJECT

public:
    cAdHocEvent();

    /// Fills the form in and presses its button. Returns false and changes nothing if @p id is outside the
    /// form's range.
    bool send(int id, const QString& label, const QString& value);

    /// Shows an id, 1 to 99, and texts in UTF-8 in the form and stores them in the record.
    void fill(uint32_t id, const std::string& label, const std::string& value);

    /// Writes @p label, in the locale's encoding, into the form and the record.
    void setLabel(char* label);

signals:
    /// The operator sends the event; the argument is always 0.
    void send_adhoc_evnt(int);

public slots:
    /// Copies the form into the record, traces it and emits the signal.
    void EvtBtnClicked();

private:
    QPushButton* mSendEvtBtn;
    QLineEdit* mQLabel;
    QLineEdit* mQValue;
    QSpinBox* mEventID;
};
