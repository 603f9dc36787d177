// One account of all that clients make the server hold: request heads and bodies, input that was
// read ahead, requests that wait for their answers, and answers that were not taken yet.
//
// Threads: an account and its shares belong to one thread.
#ifndef HTTPD_MEMORY_BUDGET_H_
#define HTTPD_MEMORY_BUDGET_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace httpd {

// What memory is held for. Each kind leaves room to the kinds below it, so that clients who send
// much, or read nothing, leave room to those who ask for little.
enum class Holding {
    LargeBody, // up to half of the account
    Answer,    // up to three quarters
    Small      // all of it: heads, and bodies and answers that are no larger than a head
};

class MemoryBudget
{
public:
    explicit MemoryBudget(size_t limit) : mLimit(limit) {}

    size_t limit() const { return mLimit; }
    size_t held() const { return mHeld; }

    // The most that was held since forgetMostHeld().
    size_t mostHeld() const { return mMostHeld; }
    void forgetMostHeld() { mMostHeld = mHeld; }

    // Is called after each share that was given back, from wherever that happened: it must neither
    // throw nor take or give back anything itself.
    void setRoomMade(std::function<void()> roomMade) { mRoomMade = std::move(roomMade); }

private:
    friend class MemoryShare;
    size_t ceilingOf(Holding holding) const;

    const size_t mLimit;
    size_t mHeld = 0;
    size_t mMostHeld = 0;
    std::function<void()> mRoomMade;
};

// A part of the account; what it holds goes back when it is destroyed.
class MemoryShare
{
public:
    explicit MemoryShare(std::shared_ptr<MemoryBudget> budget) : mBudget(std::move(budget)) {}
    ~MemoryShare() { force(0); }
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;

    size_t bytes() const { return mBytes; }

    // Grows or shrinks the share; false, and it stays as it was, when there is no room.
    bool resize(size_t bytes, Holding holding);

    // The same for what cannot be refused: a connection itself, or the answer that refuses.
    void force(size_t bytes);

private:
    std::shared_ptr<MemoryBudget> mBudget;
    size_t mBytes = 0;
};

} // namespace httpd

#endif
