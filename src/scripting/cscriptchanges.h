#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

#include "cdeviceobserver.h"
#include "zuldict/zuldict.h"

class cDevice;

/// What a script may watch: a port, or the link.
struct sScriptSubject
{
    eObjectTypes type = OBJ_DEVICE; ///< OBJ_DEVICE stands for the link
    int port = 0;                   ///< from 1

    bool operator==(const sScriptSubject&) const = default;
    bool operator<(const sScriptSubject& other) const
    {
        return std::pair(type, port) < std::pair(other.type, other.port);
    }
};

/// Queues the changes of a device for one script.
///
/// The GUI thread puts them in, the script's thread takes them out; neither waits for the other.
class cScriptChanges : public cDeviceObserver
{
public:
    using Clock = std::chrono::steady_clock;

    struct Change
    {
        std::optional<sScriptSubject> subject; ///< nothing if the device is gone, which is the last change
        double value = 0;                      ///< of the link, 1 if it is up
        double previous = 0;
        Clock::time_point time = Clock::now();
        uint64_t number = 0; ///< of all changes of this script, from 1
    };

    /// If that many wait, the oldest is dropped for each further one. The first one dropped is a warning in
    /// the log.
    static constexpr size_t kMaxWaiting = 1024;

    /// @p file is the script's. GUI thread, like the destructor.
    explicit cScriptChanges(QString file) : mFile(std::move(file)) {}
    ~cScriptChanges() override;

    /// Queues the changes of @p subject from now on. Returns the number of the last change before that, or
    /// nothing if there is no such port. GUI thread.
    std::optional<uint64_t> watch(cDevice& device, const sScriptSubject& subject);

    /// Waits for a change until @p due or @p stop. Returns the oldest one, or nothing if none came before @p
    /// due. Script's thread.
    std::optional<Change> take(Clock::time_point due, const std::stop_token& stop);

private:
    void portChanged(const cObjectPort& port) override;
    void linkChanged(const sLinkState& state) override;
    double valueOf(const sScriptSubject& subject) const;
    void check(const sScriptSubject& subject, double value);
    void post(const Change& change);

    const QString mFile;

    // GUI thread.
    QPointer<cDevice> mDevice;
    std::map<sScriptSubject, double> mValues; ///< of what is watched, after its last change
    uint64_t mLastNumber = 0;
    bool mHasDropped = false;
    QObject mContext; ///< ends the connection to the device

    std::mutex mMutex;
    std::condition_variable_any mChanged;

    // Guarded by mMutex.
    std::deque<Change> mQueue;
};
