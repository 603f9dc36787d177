// Answers that came from the data cache, to be given again as long as it is unchanged.
//
// All that is kept is of one state of the cache (cache_state.h): another state drops it all. So an
// answer is given only where the state is the one before the worker began to read and after it had
// answered, and is still the one now: whatever was committed before the request came is in it.
//
// Bounded in bytes. What was asked for least recently goes first; an answer is kept when it is
// asked for a second time within a while, so that who asks for ever new URIs pushes out little. One
// that went with its state is kept again as soon as it is read.
//
// Threads: one instance, one thread.
#ifndef HOST_FRONT_KEPT_ANSWERS_H_
#define HOST_FRONT_KEPT_ANSWERS_H_

#include "front/ready_answer.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host {

// What answers are kept by: the path as it was sent, the query options that a resource may know
// (other query text changes no answer), and whether the answer may be compressed. Where that is not
// the target itself it is written into room.
std::string_view keptKeyOf(std::string_view target, bool wantsGzip, std::string& room);

class KeptAnswers
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct Figures
    {
        size_t answers = 0;
        size_t bytes = 0;
        uint64_t hits = 0;
        uint64_t misses = 0;
        uint64_t dropped = 0; // for want of room, or since the cache had changed
    };

    explicit KeptAnswers(size_t maxBytes);

    bool isOn() const { return mMaxBytes > 0; }

    bool areOf(uint64_t state) const { return mState == state; }

    // What is kept is of this state from now on: all that is of another one goes.
    void enter(uint64_t state, TimePoint now);

    // The answer that is kept; null where there is none. Valid until the next call of another
    // operation.
    const ReadyAnswer* find(std::string_view key);

    // Counts an answer that was given, and one that was not there to be given.
    void noteGiven() { ++mFigures.hits; }
    void noteMissing() { ++mFigures.misses; }

    // Whether it was asked for lately, and notes that it is now.
    bool isAskedAgain(std::string_view key, TimePoint now);

    // Keeps an answer of the state that was entered last.
    void keep(const std::string& key, ReadyAnswer answer);

    const Figures& figures() const { return mFigures; }
    size_t maxBytes() const { return mMaxBytes; }

private:
    struct Kept
    {
        std::string key;
        ReadyAnswer answer;
        size_t bytes;
    };
    using List = std::list<Kept>;

    // When a key was asked for, by its hash. Some keys share a place: what was asked for least
    // recently makes way there.
    struct Asked
    {
        size_t hash = 0;
        TimePoint at;
    };
    using Place = std::array<Asked, 4>;

    Asked& askedPlaceOf(size_t hash);
    void dropLast();

    size_t mMaxBytes;
    uint64_t mState = 0;
    List mAnswers;                                               // that asked for last in front
    std::unordered_map<std::string_view, List::iterator> mByKey; // into mAnswers
    std::vector<Place> mAsked;                                   // by the hash of a key
    Figures mFigures;
};

} // namespace host

#endif
