#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// Gives a test a HOME of its own, in which the configuration directory exists already.
class HomeFiles
{
public:
    HomeFiles() : mFormerHome(qgetenv("HOME"))
    {
        qputenv("HOME", QFile::encodeName(mHome.path()));
        QDir().mkpath(configuration());
    }
    ~HomeFiles() { qputenv("HOME", mFormerHome); }
    HomeFiles(const HomeFiles&) = delete;
    HomeFiles& operator=(const HomeFiles&) = delete;

    QString path() const { return mHome.path(); }
    QString configuration() const { return mHome.path() + QStringLiteral("/.zulbench"); }
    QString pathOf(const QString& name) const { return configuration() + QLatin1Char('/') + name; }

    /// Writes a file of the configuration directory and returns its path.
    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(pathOf(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("%s cannot be written", qPrintable(file.fileName()));
        }
        return file.fileName();
    }

    QByteArray read(const QString& name) const
    {
        QFile file(pathOf(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    QStringList names() const
    {
        return QDir(configuration()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

private:
    QTemporaryDir mHome;
    QByteArray mFormerHome;
};
