#include "wcapture/capturefile.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <utility>

namespace {

uint64_t nowNs()
{
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count());
}

pcapng::sWriter writerNamed(const std::string& program)
{
    pcapng::sWriter writer;
    utsname name{};
    if (uname(&name) == 0) {
        writer.hardware = name.machine;
        writer.system = std::string(name.sysname) + ' ' + name.release;
    }
    writer.program = program;
    return writer;
}

/// How many bytes were written; fewer than @p size with errno set.
size_t writeAll(int fd, const uint8_t* bytes, size_t size)
{
    size_t written = 0;
    while (written < size) {
        const ssize_t count = ::write(fd, bytes + written, size - written);
        if (count > 0) {
            written += static_cast<size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

} // namespace

std::shared_ptr<cCaptureFile> cCaptureFile::create(const std::string& path, const std::string& program,
                                                   std::string* problem)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    if (fd >= 0) {
        std::shared_ptr<cCaptureFile> file(new cCaptureFile(path, fd));
        std::vector<uint8_t> head;
        pcapng::appendSectionHeader(&head, writerNamed(program));
        pcapng::appendInterface(&head, program.substr(0, program.find(' ')));
        if (file->append(head)) {
            return file;
        }
    }
    *problem = "the capture file '" + path + "' could not be written: " + strerrordesc_np(errno);
    return nullptr;
}

cCaptureFile::~cCaptureFile()
{
    if (mFd >= 0) {
        ::close(mFd);
    }
}

void cCaptureFile::setReport(std::function<void(const std::string&)> report)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mReport = std::move(report);
}

void cCaptureFile::write(pcapng::eDirection direction, const std::vector<uint8_t>& packet)
{
    std::function<void(const std::string&)> report;
    std::string sentence;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mFd < 0) {
            return;
        }
        mBlock.clear();
        pcapng::appendPacket(&mBlock, nowNs(), direction, packet.data(), packet.size());
        if (append(mBlock)) {
            return;
        }
        sentence = "The capture file '" + mPath +
                   "' ends here, as it could not be written: " + strerrordesc_np(errno) + '.';
        ::close(mFd);
        mFd = -1;
        report = mReport;
    }
    if (report) {
        report(sentence);
    }
}

uint32_t cCaptureFile::nextConnection()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return ++mConnections;
}

/// False, with errno set, where @p block was not written; then none of it stays.
bool cCaptureFile::append(const std::vector<uint8_t>& block)
{
    const size_t written = writeAll(mFd, block.data(), block.size());
    if (written == block.size()) {
        return true;
    }
    const int error = errno;
    const off_t end = ::lseek(mFd, 0, SEEK_END);
    if (written > 0 && end >= static_cast<off_t>(written)) {
        // Where even this fails, readers still find every whole block before the cut one.
        static_cast<void>(::ftruncate(mFd, end - static_cast<off_t>(written)) == 0);
    }
    errno = error;
    return false;
}
