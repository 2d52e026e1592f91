// What 10,000 sets a second do to the device: how long the round trip of a request takes at its worst, how
// late a timer of the GUI thread comes, and how often the window is painted. The device has a core of its
// own.

#include <QTimer>
#include <array>
#include <atomic>

#include "deviceprocess.h"
#include "figures.h"
#include "rawlink.h"
#include "zulobj/doutput.h"

namespace {

constexpr uint32_t kPorts = 4;
constexpr double kSetsPerUs = 0.01;
constexpr double kProbeUs = 1370; // no multiple of the sets' time, so that probes fall anywhere
constexpr int kBeatMs = 5;

/// What the device's process tells. One writer; the reader looks at what stands below the counts.
struct Seen
{
    std::atomic<uint32_t> beats{0};
    std::atomic<uint32_t> paints{0};
    std::array<double, 100000> lateUs{};
};

/// Counts how often the window is painted, as a whole or in parts.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(std::atomic<uint32_t>* paints) : mPaints(paints) { qApp->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        // A request to update the window begins a turn, in which each dirty widget is painted.
        if (event->type() == QEvent::UpdateRequest) {
            mCounted = false;
        } else if (event->type() == QEvent::Paint && !mCounted) {
            mCounted = true;
            ++*mPaints;
        }
        return false;
    }

private:
    std::atomic<uint32_t>* mPaints;
    bool mCounted = false;
};

/// Notes how much longer than 5 ms it is from each beat to the next.
void startHeart(QObject* parent, Seen* seen)
{
    auto* timer = new QTimer(parent);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, [seen, last = figures::now()]() mutable {
        const double now = figures::now();
        const uint32_t number = seen->beats;
        if (number < seen->lateUs.size()) {
            seen->lateUs[number] = std::max(now - last - kBeatMs * 1e3, 0.0);
            seen->beats = number + 1;
        }
        last = now;
    });
    timer->start(kBeatMs);
}

/// Sets of all outputs in turn, high and then low.
std::vector<Bytes> sets()
{
    std::vector<Bytes> messages;
    for (const cObject::eObjectIOState state : {cObject::OBJ_IO_STATE_SET, cObject::OBJ_IO_STATE_CLEAR}) {
        for (uint32_t port = 1; port <= kPorts; ++port) {
            auto* record = new cObjectDOutput;
            record->setDeviceSerial(cObject::kWildcard);
            record->setPortId(port);
            record->setOutputState(state);
            messages.push_back(messageOf(cObjectList::kSet, record));
        }
    }
    return messages;
}

/// The server's end: never sleeps, so that it sends and hears at the very moment.
class Crowd
{
public:
    explicit Crowd(int link) : mLink(link) {}

    /// Asks now and then for @p seconds, with sets in between that come @p together many at a time, or with
    /// none if that is 0, and waits for all answers. Answers the times of the requests' round trips in
    /// microseconds.
    std::vector<double> run(double seconds, size_t together)
    {
        std::vector<double> taken;
        const double begin = figures::now();
        const double end = begin + seconds * 1e6;
        double batchDue = begin;
        double probeDue = begin;
        double asked = 0;
        for (double now = begin; now < end || asked > 0 || mSetsOpen > 0; now = figures::now()) {
            if (now > end + kPatienceUs) {
                fail("the device does not answer");
            }
            if (together > 0 && now >= batchDue && now < end) {
                batchDue += static_cast<double>(together) / kSetsPerUs;
                queueSets(together);
            }
            if (asked == 0 && now >= probeDue && now < end) {
                asked = now;
                probeDue = std::max(probeDue + kProbeUs, now);
                mWaiting.insert(mWaiting.end(), mProbe.begin(), mProbe.end());
            }
            sendWaiting();
            if (receive()) {
                taken.push_back(figures::now() - asked);
                asked = 0;
            }
        }
        mSeconds += together > 0 ? (figures::now() - begin) / 1e6 : 0;
        return taken;
    }

    /// Sets that were answered each second, over all loaded runs.
    double setsPerSecond() const { return mSetsAnswered / mSeconds; }

private:
    static constexpr double kPatienceUs = 60e6;
    static constexpr size_t kMaxWaiting = 65536; ///< bytes; beyond it the device has fallen behind

    void queueSets(size_t count)
    {
        if (mWaiting.size() > kMaxWaiting) {
            return;
        }
        for (size_t i = 0; i < count; ++i) {
            const Bytes& set = mSets[mNext++ % mSets.size()];
            mWaiting.insert(mWaiting.end(), set.begin(), set.end());
        }
        mSetsOpen += count;
    }

    void sendWaiting()
    {
        if (mWaiting.empty()) {
            return;
        }
        const ssize_t count = ::send(mLink, mWaiting.data(), mWaiting.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            mWaiting.erase(mWaiting.begin(), mWaiting.begin() + count);
        }
    }

    /// True when the answer to a request has come.
    bool receive()
    {
        const ssize_t count = ::recv(mLink, mReceived + mUsed, sizeof mReceived - mUsed, MSG_DONTWAIT);
        if (count == 0) {
            fail("the device closed the link");
        }
        if (count < 0) {
            return false;
        }
        mUsed += static_cast<size_t>(count);
        bool answered = false;
        size_t at = 0;
        while (const size_t size = measureAnswer(mReceived + at, mUsed - at)) {
            at += size;
            const bool ofSet = mReceived[at - size + 4] == cObjectList::kSet;
            mSetsOpen -= ofSet ? 1 : 0;
            mSetsAnswered += ofSet ? 1 : 0;
            answered = answered || !ofSet;
        }
        mUsed -= at;
        std::memmove(mReceived, mReceived + at, mUsed);
        return answered;
    }

    int mLink;
    const Bytes mProbe = inputRequest(1);
    const std::vector<Bytes> mSets = sets();
    size_t mNext = 0;
    size_t mSetsOpen = 0;
    double mSetsAnswered = 0;
    double mSeconds = 0;
    Bytes mWaiting;
    uint8_t mReceived[65536] = {};
    size_t mUsed = 0;
};

void measure(int rounds, double seconds)
{
    Shared<Seen> seen;
    pinTo(eCore::LAST);
    BenchServer server;
    DeviceProcess device(kPorts, &server, [&](ShownDevice* shown) {
        // The page that the sets change.
        shown->device()->setCurrentIndex(1);
        startHeart(shown->device(), &*seen);
        auto counter = std::make_shared<PaintCounter>(&seen->paints);
        return [counter](char) {};
    });
    pinTo(eCore::FIRST);
    Crowd crowd(server.descriptor());
    crowd.run(0.5, 0);
    std::vector<double> idleUs;
    std::vector<double> loadedUs;
    std::vector<double> tensUs;
    std::vector<double> ratios;
    std::vector<double> tensRatios;
    std::vector<double> lateUs;
    std::vector<double> paints;
    for (int i = 0; i < rounds; ++i) {
        idleUs.push_back(figures::quantile(crowd.run(seconds, 0), 0.99));
        const uint32_t beat = seen->beats;
        const uint32_t paint = seen->paints;
        const double begin = figures::now();
        loadedUs.push_back(figures::quantile(crowd.run(seconds, 1), 0.99));
        paints.push_back((seen->paints - paint) / (figures::now() - begin) * 1e6);
        lateUs.insert(lateUs.end(), &seen->lateUs[beat], &seen->lateUs[seen->beats]);
        ratios.push_back(loadedUs.back() / idleUs.back());
        tensUs.push_back(figures::quantile(crowd.run(seconds, 10), 0.99));
        tensRatios.push_back(tensUs.back() / idleUs.back());
    }
    figures::print("idle-p99", idleUs);
    figures::print("loaded-p99", loadedUs);
    figures::print("ratio", ratios);
    figures::print("tens-p99", tensUs);
    figures::print("tens-ratio", tensRatios);
    figures::print("sets", crowd.setsPerSecond());
    figures::print("late-p99-ms", figures::quantile(lateUs, 0.99) / 1e3);
    figures::print("late-max-ms", figures::quantile(lateUs, 1) / 1e3);
    figures::print("paints", paints);
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc == 3 ? std::atoi(argv[1]) : 0;
    const double seconds = argc == 3 ? std::atof(argv[2]) : 0;
    if (rounds < 1 || seconds <= 0) {
        std::fprintf(stderr, "usage: tail ROUNDS SECONDS\n");
        return 2;
    }
    measure(rounds, seconds);
    return 0;
}
