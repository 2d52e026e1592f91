#ifndef CADHOC_H
#define CADHOC_H

#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>

#include "zulobj/adhoc.h"

/// The editor of ad-hoc events: its form on the panel and its record toward the server in one.
///
/// GUI thread only, like every widget.
class cAdHocEvent : public QWidget, public cObjectAdhocEvent
{
    Q_OBJECT

public:
    cAdHocEvent();

    /// Fills the form in and presses its button. False, and no change, for an @p id outside the form's range.
    bool send(int id, const QString& label, const QString& value);

    /// Writes @p label, in the locale's encoding, into the form and the record.
    void setLabel(char* label);

signals:
    /// The operator sends what stands in the form; the argument is always 0.
    void send_adhoc_evnt(int);

public slots:
    /// Stores what stands in the form in the record, traces it and reports it.
    void EvtBtnClicked();

private:
    void trace() const;

    QPushButton* mSendEvtBtn;
    QLineEdit* mQLabel;
    QLineEdit* mQValue;
    QSpinBox* mEventID;
};

#endif
