#ifndef CONNECTIONFILE_H
#define CONNECTIONFILE_H

#include <QString>
#include <initializer_list>

class QIODevice;
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

    /// Takes over what @p file, open for reading, says about @p fields. A line counts for the first of the
    /// fields whose key it contains; of several lines for one field the last one counts. A field without a
    /// line keeps its value. Nothing beyond kMaxLineFileBytes is read.
    void read(QIODevice& file, std::initializer_list<eField> fields);

    /// Writes the three lines to @p file, open for writing.
    void write(QIODevice& file) const;

    /// Writes the file at @p path, in place of what is there; false if it cannot be opened.
    bool save(const QString& path) const;

    /// Puts the address and port into @p record, with @p path as the connection file.
    void fill(cConfig& record, const QString& path) const;

private:
    QString& value(eField field);
};

#endif
