#include "cscriptchanges.h"

#include <cmath>
#include <utility>

#include "cdevice.h"
#include "wlog/wlog.h"
#include "zulobj/aoutput.h"

namespace {

constexpr sScriptSubject kLink;

bool isSame(double one, double other) { return one == other || (std::isnan(one) && std::isnan(other)); }

} // namespace

cScriptChanges::~cScriptChanges()
{
    if (mDevice != nullptr) {
        mDevice->removeObserver(this);
    }
}

std::optional<uint64_t> cScriptChanges::watch(cDevice& device, const sScriptSubject& subject)
{
    if (subject != kLink && device.findPort(subject.type, subject.port) == nullptr) {
        return std::nullopt;
    }
    if (mDevice == nullptr) {
        mDevice = &device;
        device.addObserver(this);
        QObject::connect(&device, &QObject::destroyed, &mContext, [this] { post({}); });
    }
    mValues.try_emplace(subject, valueOf(subject));
    return mLastNumber;
}

std::optional<cScriptChanges::Change> cScriptChanges::take(Clock::time_point due, const std::stop_token& stop)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_until(lock, stop, due, [this] { return !mQueue.empty(); });
    if (mQueue.empty() || mQueue.front().time > due) {
        return std::nullopt;
    }
    const Change change = mQueue.front();
    mQueue.pop_front();
    return change;
}

void cScriptChanges::portChanged(const cObjectPort& port)
{
    const sScriptSubject subject{port.getType(), static_cast<int>(port.getPortId())};
    if (mValues.contains(subject)) {
        check(subject, valueOf(subject));
    }
}

void cScriptChanges::linkChanged(const sLinkState& state) { check(kLink, state.state == sLinkState::UP); }

/// As the getters of scripts tell it.
double cScriptChanges::valueOf(const sScriptSubject& subject) const
{
    switch (subject.type) {
    case OBJ_PORT_DIN:
        return mDevice->getDigitalInputValue(subject.port);
    case OBJ_PORT_DOUT:
        return mDevice->getDigitalOutputValue(subject.port);
    case OBJ_PORT_AIN:
        return mDevice->getAnalogInputValue(subject.port);
    case OBJ_PORT_AOUT:
        return static_cast<double>(
            dynamic_cast<const cObjectAOutput*>(mDevice->findPort(subject.type, subject.port))
                ->getSampledValue());
    default:
        return mDevice->linkState().state == sLinkState::UP ? 1 : 0;
    }
}

void cScriptChanges::check(const sScriptSubject& subject, double value)
{
    const auto watched = mValues.find(subject);
    if (watched != mValues.end() && !isSame(value, watched->second)) {
        const double previous = std::exchange(watched->second, value);
        post({subject, value, previous, Clock::now(), ++mLastNumber});
    }
}

void cScriptChanges::post(const Change& change)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const bool full = mQueue.size() == kMaxWaiting;
    if (full) {
        mQueue.pop_front();
    }
    mQueue.push_back(change);
    lock.unlock();
    mChanged.notify_one();
    if (full && !std::exchange(mHasDropped, true)) {
        cWlog("zulbench")
            .warn(qPrintable("This script is too slow, so the oldest changes that wait for it are dropped: " +
                             mFile));
    }
}
