#pragma once

#include <QDialog>
#include <QFile>
#include <QMetaMethod>
#include <QPushButton>
#include <QtTest>

#include "cconfig.h"

/// What a dialog reported, copied during the emission, and how things stood at that moment.
struct Report
{
    QString address;
    QString port;
    QString connectionFile;
    QString currentFile;
    int code = 0;
    bool dialogVisible = false;
    QByteArray fileContent; ///< of the file that the report names
};

template <class Dialog>
void recordReports(Dialog& dialog, QVector<Report>& reports)
{
    QObject::connect(&dialog, &Dialog::configUpdated, &dialog, [&](cConfig* config, int code) {
        QFile file(code == cConfig::DEVICE_FILE_UPDATE ? config->getZULCurrentFile()
                                                       : config->getZULConnectionFile());
        const QByteArray content =
            file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
        reports.append({config->getZULIP(), config->getZULPort(), config->getZULConnectionFile(),
                        config->getZULCurrentFile(), code, dialog.isVisible(), content});
    });
}

/// Clicks the dialog's one button.
inline void press(QDialog& dialog) { QTest::mouseClick(dialog.findChild<QPushButton*>(), Qt::LeftButton); }

inline QStringList childNames(const QDialog& dialog)
{
    QStringList names;
    for (const QWidget* child : dialog.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        names.append(child->objectName());
    }
    return names;
}

/// The methods that the class itself adds, in the order of their indices.
inline QStringList ownMethods(const QMetaObject& type)
{
    QStringList methods;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        methods.append(QString::fromLatin1(type.method(i).methodSignature()));
    }
    return methods;
}
