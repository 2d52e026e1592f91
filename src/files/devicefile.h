#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

#include "zuldevice/devicefile.h"

/// Holds the nine values of a device file, which describe one simulated device.
///
/// The file is text in the locale's encoding, with the lines of zuldevice::DeviceFile.
struct cDeviceFile : zuldevice::Counts
{
    QString type;
    QString version; ///< as the file has it, whether a number or not
    QString serial;  ///< as the file has it, whether a number or not
    QString label;

    /// Reads what a file holds. There is no failure: a number that does not convert is 0, a missing line
    /// leaves 0 or an empty text, and lines after the ninth mean nothing. Writes the label to the debug
    /// stream too.
    static cDeviceFile read(const QByteArray& content);

    /// The nine lines, with every value in column 22.
    QByteArray text() const;

    /// No device is built from such a file.
    bool hasTooManyItems() const { return zuldevice::hasTooManyItems(*this); }

    // The decimal number that the text is, or 0 if it is none or does not fit 32 bits.
    uint32_t versionNumber() const { return version.toUInt(); }
    uint32_t serialNumber() const { return serial.toUInt(); }
};
