#include "linecatcher.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// How long a test waits before it says that what it waits for does not come.
constexpr int kPatienceMs = 30000;

std::string textOf(json_t* json)
{
    if (json == nullptr) {
        return "(none)";
    }
    if (json_is_string(json)) {
        return json_string_value(json);
    }
    char* dumped = json_dumps(json, JSON_COMPACT | JSON_ENCODE_ANY | JSON_REAL_PRECISION(9));
    std::string text(dumped);
    std::free(dumped);
    return text;
}

} // namespace

LineCatcher::~LineCatcher() { close(); }

void LineCatcher::close()
{
    if (mFd >= 0) {
        ::close(mFd);
        mFd = -1;
    }
}

bool LineCatcher::nextText(std::string* line)
{
    for (;;) {
        const size_t end = mRead.find('\n');
        if (end != std::string::npos) {
            *line = mRead.substr(0, end);
            mRead.erase(0, end + 1);
            return true;
        }
        pollfd entry{mFd, POLLIN, 0};
        if (::poll(&entry, 1, kPatienceMs) <= 0) {
            ADD_FAILURE() << "no line comes";
            return false;
        }
        char data[65536];
        const ssize_t size = ::read(mFd, data, sizeof data);
        if (size <= 0) {
            EXPECT_EQ(mRead, "") << "the last line has no end";
            return false;
        }
        mRead.append(data, static_cast<size_t>(size));
    }
}

zulcommand::JsonPtr LineCatcher::next()
{
    std::string line;
    if (!nextText(&line)) {
        return nullptr;
    }
    json_error_t error;
    zulcommand::JsonPtr json(json_loads(line.c_str(), 0, &error));
    EXPECT_TRUE(json_is_object(json.get())) << line << ": " << error.text;
    return json;
}

zulcommand::JsonPtr LineCatcher::next(const std::string& event)
{
    for (;;) {
        zulcommand::JsonPtr line = next();
        if (!line) {
            ADD_FAILURE() << "the output ended before an event of " << event;
            return line;
        }
        if (member(line, "event") == event) {
            return line;
        }
    }
}

std::string member(const zulcommand::JsonPtr& json, const char* key)
{
    return textOf(json_object_get(json.get(), key));
}

std::string object(const zulcommand::JsonPtr& json, size_t index, const char* key)
{
    json_t* objects = json_object_get(json.get(), "objects");
    return textOf(json_object_get(json_array_get(objects, index), key));
}

size_t objectCount(const zulcommand::JsonPtr& json)
{
    return json_array_size(json_object_get(json.get(), "objects"));
}
