#pragma once

#include "cconfig.h"
#include "connectionfile.h"
#include "linefile.h"
#include "paths.h"

// How the forms report a change: the record of configUpdated lives until the emission returns.

/// Reports that the device file at @p path changed.
template <class Form>
void reportDeviceFile(Form& form, const QString& path)
{
    cConfig config;
    config.setZULCurrentFile(path);
    emit form.configUpdated(&config, cConfig::DEVICE_FILE_UPDATE);
}

/// Writes the connection file that the fields @p ui describe and reports its settings, which count for this
/// run even if the file cannot be written. Returns the file's path.
template <class Form, class Ui>
QString saveConnection(Form& form, const Ui& ui)
{
    const cConnectionFile connection{ui.connectDescriptor->text(), ui.connectIP->text(),
                                     ui.connectPort->text()};
    QString path = paths::connectionFile(connection.descriptor);
    saveFile(path, connection.text());
    cConfig config;
    connection.fill(config, path);
    emit form.configUpdated(&config, cConfig::CONNECTION_UPDATE);
    return path;
}
