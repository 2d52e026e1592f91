#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>
#include <string>

#include "zulobj/access.h"

/// A card scanner: a row on the panel that is also the record.
class cAccess : public QWidget, public cObjectAccess
{
    Q_OBJECT

public:
    static constexpr int kCodeWidth = 500; // pixels, of the field for the scan code

    cAccess();

    /// Shows @p label, translated, on the row and stores it in the record.
    void setLabel(const char* label);

    /// Shows @p code, in UTF-8, on the row and stores it in the record.
    void setCode(const std::string& code);

    /// Types @p code into the row and presses its button.
    void send(const QString& code);

signals:
    /// The operator sends the code; @p port is the scanner's number, from 1.
    void send_accesss_evnt(int port);

public slots:
    /// Stores the typed code, empty or not, in the record and emits the signal.
    void EvtBtnClicked();

private:
    QLineEdit* mCardSerialNum;
    QPushButton* mSendEvtBtn;
    QLabel* mQLabel;
};
