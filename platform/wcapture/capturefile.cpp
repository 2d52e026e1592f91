#include "wcapture/capturefile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/utsname.h>
#include <system_error>
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
    utsname name{};
    if (uname(&name) != 0) {
        return {"", "", program};
    }
    return {name.machine, std::string(name.sysname) + ' ' + name.release, program};
}

} // namespace

WStatus cCaptureFile::create(const std::string& path, const std::string& program,
                             std::shared_ptr<cCaptureFile>* file, std::vector<std::string> interfaces)
{
    if (interfaces.empty()) {
        interfaces.push_back(program.substr(0, program.find(' ')));
    }
    // O_NONBLOCK: a FIFO without a reader is refused. The writing thread may wait for a reader.
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NONBLOCK;
    const int fd = ::open(path.c_str(), kFlags, 0666);
    if (fd >= 0) {
        std::shared_ptr<cCaptureFile> created(new cCaptureFile(path, fd));
        ::fcntl(fd, F_SETFL, O_APPEND);
        std::vector<uint8_t> head;
        pcapng::appendSectionHeader(&head, writerNamed(program));
        for (const std::string& name : interfaces) {
            pcapng::appendInterface(&head, name);
        }
        if (created->append(head)) {
            try {
                created->mWriter = std::jthread(
                    [writer = created.get()](const std::stop_token& stop) { writer->writeBlocks(stop); });
                *file = std::move(created);
                return WStatus::ok();
            } catch (const std::system_error& failure) {
                errno = failure.code().value();
            }
        }
    }
    return WStatus::error("capture file", strerrordesc_np(errno));
}

cCaptureFile::~cCaptureFile()
{
    mWriter = {}; // ends the thread, which uses the file
    ::close(mFd);
}

void cCaptureFile::setReport(std::function<void(const std::string&)> report)
{
    const std::lock_guard<std::mutex> lock(mReportMutex);
    mReport = std::move(report);
}

void cCaptureFile::report(const std::string& sentence)
{
    const std::lock_guard<std::mutex> lock(mReportMutex);
    if (mReport) {
        mReport(sentence);
    }
}

void cCaptureFile::write(pcapng::eDirection direction, std::span<const uint8_t> packet,
                         const pcapng::sPacketNotes& notes)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mBroken) {
        return;
    }
    if (mQueuedBytes + packet.size() > kMaxQueuedBytes) {
        mDropped = true;
        return;
    }
    Block block;
    pcapng::appendPacket(&block, nowNs(), direction, packet, notes);
    mQueuedBytes += block.size();
    mQueue.push_back(std::move(block));
    mChanged.notify_all();
}

void cCaptureFile::flush()
{
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [this] { return mQueuedBytes == 0; });
}

/// The writing thread: ends once it is stopped and everything queued is written.
void cCaptureFile::writeBlocks(const std::stop_token& stop)
{
    bool toldOfDropped = false;
    std::unique_lock<std::mutex> lock(mMutex);
    while (mChanged.wait(lock, stop, [this] { return !mQueue.empty(); })) {
        const std::deque<Block> blocks = std::exchange(mQueue, {});
        const size_t bytes = mQueuedBytes;
        const bool tellOfDropped = mDropped && !std::exchange(toldOfDropped, mDropped);
        const bool broken = mBroken;
        lock.unlock();
        const bool written =
            broken || std::ranges::all_of(blocks, [this](auto& block) { return append(block); });
        if (!written) {
            report("The capture file '" + mPath +
                   "' ends here, as it could not be written: " + strerrordesc_np(errno) + '.');
        }
        if (tellOfDropped) {
            report("Packets are missing in the capture file '" + mPath +
                   "', as they came faster than they could be written.");
        }
        lock.lock();
        mBroken = mBroken || !written;
        mQueuedBytes -= bytes;
        mChanged.notify_all();
    }
}

/// False, with errno set, if @p block was not written; then none of it stays.
bool cCaptureFile::append(const Block& block)
{
    std::span<const uint8_t> left = block;
    while (!left.empty()) {
        const ssize_t count = ::write(mFd, left.data(), left.size());
        if (count > 0) {
            left = left.subspan(static_cast<size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    if (left.empty()) {
        return true;
    }
    const int error = errno;
    const auto written = static_cast<off_t>(block.size() - left.size());
    const off_t end = ::lseek(mFd, 0, SEEK_END);
    if (written > 0 && end >= written) {
        // If even this fails, readers still find every whole block before the cut one.
        static_cast<void>(::ftruncate(mFd, end - written) == 0);
    }
    errno = error;
    return false;
}
