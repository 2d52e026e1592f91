#include "language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>

/// A static library's resources are registered only if a symbol of them is used. The macro does not work
/// within a namespace.
static void registerTranslations() { Q_INIT_RESOURCE(translations); }

cLanguage::cLanguage(const QStringList& wanted)
{
    registerTranslations();
    for (const QString& name : wanted) {
        const QLocale::Language language = QLocale(name).language();
        if (language == QLocale::English || language == QLocale::C || load(name)) {
            break;
        }
    }
}

QStringList cLanguage::wantedByUser()
{
    QString locale;
    // A later one overrides those before it.
    for (const char* variable : {"LANG", "LC_MESSAGES", "LC_ALL"}) {
        const QString value = qEnvironmentVariable(variable);
        locale = value.isEmpty() ? locale : value;
    }
    const QString list = qEnvironmentVariable("LANGUAGE");
    // In the locale C the list is ignored.
    if (QLocale(locale).language() == QLocale::C) {
        return {};
    }
    return list.isEmpty() ? QStringList(locale) : list.split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

QString cLanguage::code() const { return mOwnTexts.isEmpty() ? QStringLiteral("en") : mOwnTexts.language(); }

bool cLanguage::load(const QString& wanted)
{
    const QLocale locale(wanted);
    if (!mOwnTexts.load(QStringLiteral("zulbench_") + locale.name(), QStringLiteral(":/translations"))) {
        return false;
    }
    QCoreApplication::installTranslator(&mOwnTexts);
    // Qt's own translations are another package, which may be missing.
    if (mQtTexts.load(QStringLiteral("qtbase_") + locale.name(),
                      QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(&mQtTexts);
    }
    return true;
}
