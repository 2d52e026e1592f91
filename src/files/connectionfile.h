#pragma once

#include <QByteArray>
#include <QString>
#include <initializer_list>

class cConfig;

/// Holds the three values of a connection file, which says where the server is.
///
/// The file is text in the locale's encoding, one value a line behind its key. No value is ever checked.
struct cConnectionFile
{
    enum eField
    {
        DESCRIPTOR,
        ADDRESS,
        PORT
    };

    QString descriptor;
    QString address;
    QString port;

    /// Takes over what a file with this content says about @p fields. A line counts for the first of the
    /// fields whose key it contains; of several lines for one field the last one counts. A field without a
    /// line keeps its value.
    void read(const QByteArray& content, std::initializer_list<eField> fields);

    /// The three lines.
    QByteArray text() const;

    /// Puts the address and port into @p record, with @p path as the connection file.
    void fill(cConfig& record, const QString& path) const;
};
