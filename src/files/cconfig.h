#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>

/// Holds the run-time configuration: the loaded device file and where the server is.
///
/// A dialog reports a change by emitting a record of its own with an update code. It deletes the record when
/// the emission returns, so the receiver connects directly and copies the fields of that code.
class cConfig
{
public:
    /// The second argument of every configUpdated signal: which fields the record carries.
    enum eUpdate
    {
        DEVICE_FILE_UPDATE = 1, ///< the current file
        CONNECTION_UPDATE = 2   ///< the server's address and port, and the connection file
    };

    /// Marks a field that was never set. An empty text counts as set.
    static constexpr char kUnset[] = "none";

    /// Every field starts empty.
    cConfig();
    ~cConfig();
    cConfig(const cConfig&) = delete;
    cConfig& operator=(const cConfig&) = delete;

    // No text is checked when it is set.
    void setZULIP(const QString& address) { *mZULIPString = address; }
    void setZULPort(const QString& port) { *mZULPortString = port; }
    void setZULCurrentFile(const QString& path) { *mZULCurrentFile = path; }
    void setZULConnectionFile(const QString& path) { *mZULConnectionFile = path; }

    QString getZULIP() const { return *mZULIPString; }
    QString getZULPort() const { return *mZULPortString; }
    QString getZULCurrentFile() const { return *mZULCurrentFile; }
    QString getZULConnectionFile() const { return *mZULConnectionFile; }

    // The text in the locale's 8-bit encoding. The record owns it; it stays until the next call or the
    // record's end.
    const char* getZULIPChar();
    const char* getZULPortChar();

private:
    QString* mZULIPString;
    QString* mZULPortString;
    QString* mZULCurrentFile;
    QString* mZULConnectionFile;
    QByteArray mZULIPBytes;
    QByteArray mZULPortBytes;
};
