#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "wcapture/pcapng.h"
#include "wmsg/wstatus.h"

/// Writes packets into a capture file on a thread of its own. Any thread may call.
///
/// Every block goes out in one write(2): if the program is killed, the file ends behind a block. A block that
/// a full disk cuts is removed. The queue is bounded.
class cCaptureFile
{
public:
    static constexpr size_t kMaxQueuedBytes = 16 * 1024 * 1024;

    /// Creates or empties the file at @p path, with the rights that the umask leaves of 0666. @p program is
    /// its name and version. Without @p interfaces there is one, with the program's name. A FIFO needs a
    /// reader already. On failure @p *file stays as it is.
    static WStatus create(const std::string& path, const std::string& program,
                          std::shared_ptr<cCaptureFile>* file, std::vector<std::string> interfaces = {});

    /// Writes first what is queued.
    ~cCaptureFile();
    cCaptureFile(const cCaptureFile&) = delete;
    cCaptureFile& operator=(const cCaptureFile&) = delete;

    /// @p report gets one sentence, once, if the file can't be written any more, after which nothing is
    /// recorded; and one, once, if packets are dropped as they come faster than they can be written. It is
    /// called on the writing thread. Once this returns, the former one is not called any more.
    void setReport(std::function<void(const std::string&)> report);

    /// Queues @p packet with the present time; doesn't wait for the disk.
    void write(pcapng::eDirection direction, std::span<const uint8_t> packet,
               const pcapng::sPacketNotes& notes = {});

    /// Waits until everything queued is in the file or lost.
    void flush();

    /// Counts the connections that are recorded, from 1.
    uint32_t nextConnection() { return ++mConnections; }

private:
    using Block = std::vector<uint8_t>;

    cCaptureFile(std::string path, int fd) : mPath(std::move(path)), mFd(fd) {}
    void writeBlocks(const std::stop_token& stop);
    bool append(const Block& block);
    void report(const std::string& sentence);

    const std::string mPath;
    const int mFd;
    std::atomic<uint32_t> mConnections{0};

    std::mutex mMutex;
    std::condition_variable_any mChanged;

    // Guarded by mMutex.
    std::deque<Block> mQueue;
    size_t mQueuedBytes = 0; ///< those being written count
    bool mDropped = false;
    bool mBroken = false; ///< the file can't be written

    std::mutex mReportMutex;
    std::function<void(const std::string&)> mReport; ///< guarded by mReportMutex

    std::jthread mWriter;
};
