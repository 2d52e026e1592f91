#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "proxy/faults/pacing.h"
#include "proxy/faults/parcel.h"

namespace proxy {

/// The parcels of one direction that wait to be written, in their order, in the pieces that pacers want.
class Output
{
public:
    /// Something that ends the connection once it is written up to here.
    struct Cut
    {
        std::optional<Mark> limit = {}; ///< the mark of the rule that set a limit, or of no rule
    };

    void put(Parcel parcel, int64_t nowNs);

    /// Puts borrowed bytes that nothing paces.
    void put(std::span<const uint8_t> bytes, int64_t nowNs);

    /// Chooses the next piece if none is ready.
    void prepare(int64_t nowNs);

    std::span<const uint8_t> ready() const;

    /// True if more is ready as soon as ready() is written.
    bool moreIsReady() const;
    void written(size_t bytes, int64_t nowNs);

    /// Copies what is borrowed.
    void own();

    /// Drops all but what may be written now.
    void dropHeldBack();
    void clear();

    bool empty() const { return mFront == mWaiting.size(); }

    /// See Parcel::cost(): of all that waits.
    size_t cost() const { return mCost; }
    int64_t deadline() const { return mReady == 0 && !empty() && !mCut ? mDueNs : kNeverNs; }

    /// True once the connection should be cut; @p *cut says why.
    bool reachedCut(Cut* cut) const;

    void addPacer(std::unique_ptr<Pacer> pacer) { mPacers.push_back(std::move(pacer)); }
    bool hasPacer(uint32_t rule) const;

    /// Removes the pacers of the rules for which @p isCleared is true; what they held back may be written at
    /// once.
    template <class Condition>
    void removePacers(Condition isCleared)
    {
        std::erase_if(mPacers, [&](const auto& pacer) { return isCleared(pacer->rule()); });
        chooseAgain();
    }

private:
    struct Waiting
    {
        Parcel parcel;
        int64_t cameNs = 0;
    };

    Waiting& front() { return mWaiting[mFront]; }
    const Waiting& front() const { return mWaiting[mFront]; }
    void chooseAgain();
    bool continues(std::span<const uint8_t> bytes) const;
    void beginFront();
    void choosePiece(int64_t nowNs);
    void checkLimits();
    void finishPiece(int64_t nowNs);
    void finishFront();
    template <class Action>
    void forPacersOfFront(Action action);

    std::vector<Waiting> mWaiting; ///< from mFront on
    size_t mFront = 0;
    size_t mOffset = 0; ///< in the front parcel
    size_t mPiece = 0;  ///< size of the piece that has been chosen; 0 if none has
    size_t mReady = 0;  ///< of it, what is still to be written, once its time has come
    int64_t mDueNs = kNeverNs;
    size_t mCost = 0;
    bool mBegun = false; ///< the pacers know of the front parcel
    std::optional<Cut> mCut;
    std::vector<std::unique_ptr<Pacer>> mPacers;
};

} // namespace proxy
