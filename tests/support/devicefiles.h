#pragma once

#include <QByteArray>
#include <QList>

/// A device file with a port of each kind at least.
const QByteArray kPanel("Digital input(s):    2\nDigital output(s):   1\nAnalog input(s):     1\n"
                        "Analog output(s):    1\nScanner(s):          1\n"
                        "Device type:         TYPE_DISCRETE_IO\nDevice version:      3\n"
                        "Device serial:       1001\nDevice label:        Panel\n");

/// A connection file. Nobody listens there.
const QByteArray kConnection("Connection descriptor:   lab\nConnection IP address:   127.0.0.1\n"
                             "Connection port number:  1\n");

/// A device file as it is written at creation.
const QByteArray kPanel7("Digital input(s):    4\n"
                         "Digital output(s):   4\n"
                         "Analog input(s):     2\n"
                         "Analog output(s):    2\n"
                         "Scanner(s):          1\n"
                         "Device type:         TYPE_DISCRETE_IO\n"
                         "Device version:      3\n"
                         "Device serial:       1001\n"
                         "Device label:        Panel7\n");

/// Panel7 with another line at @p number, which counts from 1.
inline QByteArray panelWithLine(int number, const QByteArray& line)
{
    QList<QByteArray> lines = kPanel7.split('\n');
    lines[number - 1] = line;
    return lines.join('\n');
}
