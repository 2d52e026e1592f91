#pragma once

class QByteArray;
class QString;

/// Creates the file at @p path, or replaces it in one step. False if the file stays as it was.
bool replaceFile(const QString& path, const QByteArray& content);

/// The same, but overwrites a file in place if its directory is closed to the user.
bool saveFile(const QString& path, const QByteArray& content);
