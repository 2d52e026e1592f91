#pragma once

#include <QByteArray>
#include <iostream>
#include <sstream>

/// Takes what goes to standard output during its life, and leaves the stream as it was found.
///
/// The device's trace changes the stream for good on purpose: here that ends with the test.
class ConsoleCapture
{
public:
    ConsoleCapture() : mFormerFlags(std::cout.flags()), mFormerBuffer(std::cout.rdbuf(mText.rdbuf()))
    {
        std::cout.flags(std::ios_base::dec | std::ios_base::skipws);
    }

    ~ConsoleCapture()
    {
        std::cout.rdbuf(mFormerBuffer); // also clears the stream's state
        std::cout.flags(mFormerFlags);
    }

    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    QByteArray text() const { return QByteArray::fromStdString(mText.str()); }

    /// What has come since the last call.
    QByteArray take()
    {
        QByteArray taken = text();
        mText.str({});
        return taken;
    }

private:
    std::ostringstream mText;
    std::ios_base::fmtflags mFormerFlags;
    std::streambuf* mFormerBuffer;
};
