#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

/// What became of a script.
struct sScriptEvent
{
    enum eState
    {
        STARTED, ///< the file has been read and its syntax is right
        ENDED,   ///< it has reached its end
        FAILED,  ///< the file cannot be read, its syntax is wrong, or an exception was not caught
        STOPPED, ///< it was told to stop
    };

    uint64_t script = 0; ///< its number, from 1 in the order of the starts
    QString file;
    eState state = STARTED;
    int status = 0;      ///< that it has ended with, if not by itself
    bool random = false; ///< it has drawn random numbers

    // Of one that failed.
    QString error;
    QString errorFile; ///< where the error is: the script, or a file that it includes
    int line = 0;      ///< 0 if it is none
    QStringList calls; ///< those that led there, the innermost first; at most kMaxCalls

    static constexpr int kMaxCalls = 32;
};
