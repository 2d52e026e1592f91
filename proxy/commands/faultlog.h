#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "proxy/faults/fault.h"

namespace proxy {

/// Keeps the latest faults until a command takes them.
class FaultLog
{
public:
    /// Selects faults; a member without a value matches all.
    struct Filter
    {
        eFault kind = eFault::LOSE;
        std::optional<uint32_t> rule = {};
        std::optional<uint32_t> connection = {};
        std::optional<uint32_t> deviceSerial = {};
        std::optional<eDirection> direction = {};
        std::optional<uint8_t> msgSeq = {};
        std::optional<uint32_t> object = {};
    };

    struct Entry
    {
        uint64_t id; ///< the value of added() before
        Fault fault;
    };

    class Listener
    {
    public:
        virtual ~Listener() = default;

        /// It must not call the log.
        virtual void faultAdded() = 0;
    };

    static constexpr size_t kMaxFaults = 100'000;

    /// The oldest beyond @p maxFaults are dropped.
    explicit FaultLog(size_t maxFaults = kMaxFaults) : mMaxFaults(maxFaults) {}

    void add(Fault fault);

    /// Removes the earliest fault that matches, of those added since added() was @p *since, and returns it.
    /// Otherwise sets @p *since to added().
    std::optional<Fault> take(const Filter& filter, uint64_t* since);

    /// Removes all.
    void clear() { mEntries.clear(); }

    /// The faults that are kept, oldest first.
    const std::deque<Entry>& all() const { return mEntries; }

    /// How many have been added.
    uint64_t added() const { return mAdded; }

    /// The same for each kind that there was.
    const std::map<eFault, uint64_t>& counts() const { return mCounts; }

    /// Tells @p listener, borrowed, about each fault until ignore().
    void listen(Listener* listener) { mListeners.push_back(listener); }
    void ignore(Listener* listener) { std::erase(mListeners, listener); }

private:
    static bool matches(const Filter& filter, const Fault& fault);

    const size_t mMaxFaults;
    std::deque<Entry> mEntries;
    uint64_t mAdded = 0;
    std::map<eFault, uint64_t> mCounts;
    std::vector<Listener*> mListeners;
};

} // namespace proxy
