#include "proxy/faults/output.h"

#include <algorithm>
#include <utility>

namespace proxy {

void Output::put(Parcel parcel, int64_t nowNs)
{
    mCost += parcel.cost();
    mWaiting.push_back({std::move(parcel), nowNs});
    prepare(nowNs);
}

/// What continues the last parcel becomes part of it: nothing paces either, so they are one piece.
void Output::put(std::span<const uint8_t> bytes, int64_t nowNs)
{
    if (!continues(bytes)) {
        put(Parcel(bytes), nowNs);
        return;
    }
    mCost += bytes.size();
    std::span<const uint8_t>& last = mWaiting.back().parcel.bytes;
    last = {last.data(), last.size() + bytes.size()};
    if (mWaiting.size() == mFront + 1 && mPiece > 0) {
        mPiece += bytes.size();
        mReady += bytes.size();
    }
}

/// True if @p bytes are behind the last parcel in the memory that both borrow.
bool Output::continues(std::span<const uint8_t> bytes) const
{
    if (empty()) {
        return false;
    }
    const Parcel& last = mWaiting.back().parcel;
    const bool plain = last.owned.empty() && last.marks.empty() && last.times == 1 && !last.cutsAfter;
    return plain && last.bytes.data() + last.bytes.size() == bytes.data();
}

template <class Action>
void Output::forPacersOfFront(Action action)
{
    for (const Mark& mark : front().parcel.marks) {
        const auto pacer =
            std::ranges::find(mPacers, mark.rule, [](const auto& each) { return each->rule(); });
        if (pacer != mPacers.end()) {
            action(**pacer, mark);
        }
    }
}

void Output::prepare(int64_t nowNs)
{
    if (mReady > 0 || empty() || mCut) {
        return;
    }
    if (mPiece == 0) {
        beginFront();
        choosePiece(nowNs);
    }
    if (!mCut && mDueNs <= nowNs) {
        mReady = mPiece;
    }
}

void Output::beginFront()
{
    if (!std::exchange(mBegun, true)) {
        forPacersOfFront([](Pacer& pacer, const Mark& mark) { pacer.begin(mark.value); });
    }
}

void Output::choosePiece(int64_t nowNs)
{
    const size_t left = front().parcel.bytes.size() - mOffset;
    checkLimits();
    if (mCut) {
        return;
    }
    mPiece = left;
    mDueNs = INT64_MIN;
    forPacersOfFront(
        [&](Pacer& pacer, const Mark& /*mark*/) { mPiece = std::min(mPiece, pacer.nextPiece(left)); });
    forPacersOfFront([&](Pacer& pacer, const Mark& /*mark*/) {
        mDueNs = std::max(mDueNs, pacer.due(mPiece, front().cameNs, nowNs));
    });
}

void Output::checkLimits()
{
    forPacersOfFront([&](const Pacer& pacer, const Mark& mark) {
        if (pacer.exhausted()) {
            mCut = Cut{mark};
        }
    });
}

std::span<const uint8_t> Output::ready() const
{
    return mReady == 0 ? std::span<const uint8_t>() : front().parcel.bytes.subspan(mOffset, mReady);
}

bool Output::moreIsReady() const
{
    if (mReady == 0 || mCut || mFront + 1 == mWaiting.size()) {
        return false;
    }
    const Parcel& parcel = front().parcel;
    const bool ends = mOffset + mReady == parcel.bytes.size() && parcel.times == 1 && !parcel.cutsAfter;
    return ends && parcel.marks.empty() && mWaiting[mFront + 1].parcel.marks.empty();
}

void Output::written(size_t bytes, int64_t nowNs)
{
    bytes = std::min(bytes, mReady);
    mOffset += bytes;
    mReady -= bytes;
    if (bytes > 0 && mReady == 0) {
        finishPiece(nowNs);
        prepare(nowNs);
    }
}

void Output::finishPiece(int64_t nowNs)
{
    const size_t piece = std::exchange(mPiece, 0);
    forPacersOfFront([&](Pacer& pacer, const Mark& /*mark*/) { pacer.passed(piece, nowNs); });
    checkLimits();
    if (mOffset == front().parcel.bytes.size()) {
        finishFront();
    }
}

/// Begins the next copy of the front parcel, or drops it.
void Output::finishFront()
{
    mOffset = 0;
    mBegun = false;
    Parcel& parcel = front().parcel;
    if (--parcel.times > 0 && !parcel.cutsAfter) {
        return;
    }
    if (parcel.cutsAfter && !mCut) {
        mCut = Cut{};
    }
    mCost -= parcel.cost();
    parcel = Parcel();
    ++mFront;
    if (empty()) {
        // What a burst took is given back; a few stay, so that a piece that passes takes no memory.
        constexpr size_t kMaxSpare = 8;
        if (mWaiting.capacity() > kMaxSpare) {
            mWaiting = std::vector<Waiting>();
        }
        mWaiting.clear();
        mFront = 0;
    } else if (mFront > mWaiting.size() / 2) {
        mWaiting.erase(mWaiting.begin(), mWaiting.begin() + static_cast<std::ptrdiff_t>(mFront));
        mFront = 0;
    }
}

void Output::own()
{
    for (size_t i = mFront; i < mWaiting.size(); ++i) {
        mWaiting[i].parcel.own();
    }
}

void Output::dropHeldBack()
{
    if (mReady == 0) {
        clear();
        return;
    }
    // What is ready, and the parcels behind it that nothing paces.
    size_t end = mFront + 1;
    Parcel& first = front().parcel;
    if (mReady < first.bytes.size() - mOffset) {
        first.bytes = first.bytes.first(mOffset + mReady);
    } else {
        while (end < mWaiting.size() && mWaiting[end].parcel.marks.empty()) {
            ++end;
        }
    }
    mWaiting.erase(mWaiting.begin() + static_cast<std::ptrdiff_t>(end), mWaiting.end());
    mCost = 0;
    for (size_t i = mFront; i < mWaiting.size(); ++i) {
        mCost += mWaiting[i].parcel.cost();
    }
}

void Output::clear()
{
    mWaiting.clear();
    mFront = 0;
    mOffset = 0;
    mPiece = 0;
    mReady = 0;
    mCost = 0;
    mBegun = false;
}

bool Output::reachedCut(Cut* cut) const
{
    if (mCut) {
        *cut = *mCut;
    }
    return mCut.has_value();
}

bool Output::hasPacer(uint32_t rule) const
{
    return std::ranges::find(mPacers, rule, [](const auto& each) { return each->rule(); }) != mPacers.end();
}

/// Forgets a piece whose time has not come.
void Output::chooseAgain()
{
    if (mReady == 0) {
        mPiece = 0;
        mDueNs = kNeverNs;
    }
}

} // namespace proxy
