#ifndef LANGUAGE_H
#define LANGUAGE_H

#include <QString>
#include <QStringList>
#include <QTranslator>

/// Shows the program's texts and Qt's own in the user's language while it lives.
///
/// Texts in files, on the line and on the console stay as they are, and so do the numbers in them.
class cLanguage
{
public:
    /// Takes the first of @p wanted, names such as "de_AT.UTF-8" or "es", that the texts have been translated
    /// to. English, which they are written in, and "C" stand for no translation. The QApplication exists, and
    /// no widget yet.
    explicit cLanguage(const QStringList& wanted);

    /// What the user wants by the environment variables LC_ALL, LC_MESSAGES, LANG and LANGUAGE, in the order
    /// of preference; empty in the locales C and POSIX. See locale(7) and, for LANGUAGE, gettext(1).
    static QStringList wantedByUser();

    /// The code of the language, such as "de"; "en" for the texts as they are written.
    QString code() const;

private:
    bool load(const QString& wanted);

    QTranslator mOwnTexts;
    QTranslator mQtTexts;
};

#endif
