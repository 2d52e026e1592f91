#ifndef ENDLESSFILE_H
#define ENDLESSFILE_H

#include <QIODevice>
#include <QtGlobal>

/// A file without an end, such as a device of the system may be: the same bytes again and again.
///
/// It ends a test that has taken a hundred megabytes of it.
class EndlessFile : public QIODevice
{
public:
    explicit EndlessFile(const QByteArray& pattern) : mPattern(pattern) { open(QIODevice::ReadOnly); }

    bool isSequential() const override { return true; }

    /// How many bytes have been read.
    qint64 taken() const { return mTaken; }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        for (qint64 i = 0; i < size; ++i) {
            data[i] = mPattern.at(static_cast<int>((mTaken + i) % mPattern.size()));
        }
        mTaken += size;
        if (mTaken > 100 * 1000 * 1000) {
            qFatal("the reader does not stop");
        }
        return size;
    }

    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray mPattern;
    qint64 mTaken = 0;
};

#endif
