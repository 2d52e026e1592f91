#pragma once

#include <QByteArray>
#include <QString>

class cConfig;

/// Holds the three values of a connection file, which says where the server is.
///
/// The file is text in the locale's encoding, one value a line behind its key. No value is ever checked.
struct cConnectionFile
{
    QString descriptor;
    QString address;
    QString port;

    // Each takes over values of a file with this content: all three, or the server's address and port. A line
    // counts for the first of these values whose key it contains; of several lines for one value the last one
    // counts. A value without a line stays.
    void read(const QByteArray& content);
    void readServer(const QByteArray& content);

    /// The three lines.
    QByteArray text() const;

    /// Puts the address and port into @p record, with @p path as the connection file.
    void fill(cConfig& record, const QString& path) const;
};
