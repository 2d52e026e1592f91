#ifndef WCAPTURE_CAPTUREFILE_H
#define WCAPTURE_CAPTUREFILE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "wcapture/pcapng.h"

/// Writes packets into a capture file, which is whole after each of them.
///
/// Every block goes out in one write(2), without a buffer of its own: whenever the program is killed, the
/// file ends behind a block. A block that a full disk cuts is taken back. Any thread may call.
class cCaptureFile
{
public:
    /// Creates or empties the file at @p path, with the rights that the umask leaves of 0666. @p program is
    /// its name and version. Null on failure, with one sentence without its stop in @p *problem.
    static std::shared_ptr<cCaptureFile> create(const std::string& path, const std::string& program,
                                                std::string* problem);

    ~cCaptureFile();
    cCaptureFile(const cCaptureFile&) = delete;
    cCaptureFile& operator=(const cCaptureFile&) = delete;

    /// Gets one sentence, once, when the file can't be written any more; nothing is recorded from then on.
    /// Called on the thread that was about to record.
    void setReport(std::function<void(const std::string&)> report);

    /// Appends @p packet with the time of now.
    void write(pcapng::eDirection direction, const std::vector<uint8_t>& packet);

    /// Counts the connections that are recorded, from 1.
    uint32_t nextConnection();

private:
    cCaptureFile(std::string path, int fd) : mPath(std::move(path)), mFd(fd) {}
    bool append(const std::vector<uint8_t>& block);

    const std::string mPath;
    std::mutex mMutex;

    // Guarded by mMutex.
    int mFd; ///< -1 once the file can't be written
    std::function<void(const std::string&)> mReport;
    std::vector<uint8_t> mBlock;
    uint32_t mConnections = 0;
};

#endif
