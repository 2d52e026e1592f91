#pragma once

#include <string>

#include "zulcommand/reply.h"

/// Reads the JSON lines that a server prints.
class LineCatcher
{
public:
    /// Takes @p fd over.
    explicit LineCatcher(int fd) : mFd(fd) {}
    ~LineCatcher();
    LineCatcher(const LineCatcher&) = delete;
    LineCatcher& operator=(const LineCatcher&) = delete;

    /// The next line, which is a failure when it is no JSON object, or null at the end.
    zulcommand::JsonPtr next();

    /// The next line with this "event"; what comes before it is passed over.
    zulcommand::JsonPtr next(const std::string& event);

    /// Like next(), without looking at what the line holds; false at the end.
    bool nextText(std::string* line);

    void close();

private:
    int mFd;
    std::string mRead;
};

/// A member of @p json: the text of a string, else its JSON form; "(none)" where there is none.
std::string member(const zulcommand::JsonPtr& json, const char* key);

/// A member of the object number @p index of @p json's "objects".
std::string object(const zulcommand::JsonPtr& json, size_t index, const char* key);

size_t objectCount(const zulcommand::JsonPtr& json);
