// Answers that came from the data cache, to be given again as long as it is unchanged.
//
// All that is kept is of one state of the cache (cache_state.h): another state drops it all. So an
// answer is given only where the state is the one before the worker began to read and after it had
// answered, and is still the one now: whatever was committed before the request came is in it.
//
// Bounded in bytes. What was asked for least recently goes first; an answer is kept when it is
// asked for a second time within a while, so that who asks for ever new URIs pushes out little.
//
// Threads: one instance, one thread.
#ifndef HOST_FRONT_KEPT_ANSWERS_H_
#define HOST_FRONT_KEPT_ANSWERS_H_

#include <httpd/server.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host {

// What answers are kept by: the path as it was sent, the query options that a resource may know
// (other query text changes no answer), and whether the answer may be compressed.
std::string keptKeyOf(std::string_view target, bool wantsGzip);

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

    // The answer that is kept of this state; null where there is none. Valid until the next call.
    const httpd::Response* find(const std::string& key, uint64_t state);

    // Whether it was asked for lately, and notes that it is now.
    bool isAskedAgain(const std::string& key, TimePoint now);

    void keep(const std::string& key, uint64_t state, const httpd::Response& response);

    const Figures& figures() const { return mFigures; }
    size_t maxBytes() const { return mMaxBytes; }

private:
    struct Kept
    {
        std::string key;
        httpd::Response response;
        size_t bytes;
    };
    using List = std::list<Kept>;

    struct Asked
    {
        size_t hash = 0;
        TimePoint at;
    };

    void enter(uint64_t state);
    void dropLast();

    size_t mMaxBytes;
    uint64_t mState = 0;
    List mAnswers;                                               // that asked for last in front
    std::unordered_map<std::string_view, List::iterator> mByKey; // into mAnswers
    std::vector<Asked> mAsked; // by the hash of a key; what comes later takes the place
    Figures mFigures;
};

} // namespace host

#endif
