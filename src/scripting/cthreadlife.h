#ifndef CTHREADLIFE_H
#define CTHREADLIFE_H

#include <condition_variable>
#include <memory>
#include <mutex>

/// Says whether a thread has begun and whether it is gone with all that it held.
///
/// Qt knows both too, but by means that the race checker does not see.
class cThreadLife
{
public:
    /// Called on the thread itself; its end is noticed by itself.
    static void begin(const std::shared_ptr<cThreadLife>& life)
    {
        thread_local const LastWord lastWord(life);
        life->reach(eState::BEGUN);
    }

    void waitForBegin() { waitFor(eState::BEGUN); }
    void waitForEnd() { waitFor(eState::ENDED); }

private:
    enum class eState
    {
        NEW,
        BEGUN,
        ENDED
    };

    /// Goes when its thread goes.
    struct LastWord
    {
        explicit LastWord(std::shared_ptr<cThreadLife> life) : mLife(std::move(life)) {}
        ~LastWord() { mLife->reach(eState::ENDED); }
        LastWord(const LastWord&) = delete;
        LastWord& operator=(const LastWord&) = delete;
        std::shared_ptr<cThreadLife> mLife;
    };

    void reach(eState state)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mState = state;
        mChanged.notify_all();
    }

    void waitFor(eState state)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [&] { return mState >= state; });
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    eState mState = eState::NEW; // guarded by mMutex
};

#endif
