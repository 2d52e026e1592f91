#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>

/// Shows the program's texts and Qt's own in the user's language while it lives.
///
/// Texts and numbers in files, on the link and on the console do not change.
class cLanguage
{
public:
    /// Chooses the first locale of @p wanted, such as "de_AT.UTF-8" or "es", that there is a translation for.
    /// English and "C" are no translation. Construct it after the QApplication and before the first widget.
    explicit cLanguage(const QStringList& wanted);

    /// Returns the locales that LC_ALL, LC_MESSAGES, LANG and LANGUAGE name, in the order of preference; none
    /// in the locales C and POSIX. See locale(7) and, for LANGUAGE, gettext(1).
    static QStringList wantedByUser();

    /// The code of the language, such as "de"; "en" without a translation.
    QString code() const;

private:
    bool load(const QString& wanted);

    QTranslator mOwnTexts;
    QTranslator mQtTexts;
};
