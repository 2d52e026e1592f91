#ifndef CACCESS_H
#define CACCESS_H

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include "zulobj/access.h"

/// A card scanner: its row on the panel and its record toward the server in one.
///
/// GUI thread only, like every widget.
class cAccess : public QWidget, public cObjectAccess
{
    Q_OBJECT

public:
    static constexpr int kCodeWidth = 500; // pixels, of the field for the scan code

    cAccess();

    /// Shows @p label, translated, on the row and stores it in the record.
    void setLabel(const char* label);

    /// Types @p code into the row and presses its button.
    void send(const QString& code);

signals:
    /// The operator sends what stands in the row; @p port is the scanner's number, from 1.
    void send_accesss_evnt(int port);

public slots:
    /// Stores the typed code, empty or not, as the record's scan code and reports it.
    void EvtBtnClicked();

private:
    QLineEdit* mCardSerialNum;
    QPushButton* mSendEvtBtn;
    QLabel* mQLabel;
};

#endif
