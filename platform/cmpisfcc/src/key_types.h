// The types that the keys of requests go with.
#ifndef CMPISFCC_KEY_TYPES_H_
#define CMPISFCC_KEY_TYPES_H_

#include <cimxml/request.h>
#include <cimxml/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cmpisfcc {

// Callers give keys as texts, whatever their types, and object managers want to be told a number
// (VALUETYPE "numeric") and a boolean from a text. The class of the object knows: where a text may
// stand for either, the class is asked for once and kept. A text that can only be one needs no
// class.
class KeyTypes
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    // Those properties of a class that are numbers or booleans.
    using Typed = std::vector<std::pair<std::string, cimxml::Type>>;

    // What came of asking for a class.
    struct Fetched
    {
        enum class Outcome { NoAnswer, NoClass, Class } outcome = Outcome::NoAnswer;
        Typed types = {};
    };
    using Fetch =
        std::function<Fetched(const std::string& nameSpace, const std::string& className)>;

    explicit KeyTypes(Clock clock = std::chrono::steady_clock::now) : mClock(std::move(clock)) {}

    // Gives the keys of all paths in a request the types of their classes. Keys whose class cannot
    // be had stay texts. False when the object manager did not answer when asked for a class: it
    // will not answer the request either.
    bool settle(cimxml::IntrinsicRequest& request, const Fetch& fetch);
    bool settle(cimxml::ExtrinsicRequest& request, const Fetch& fetch);

    // The object manager does not know what the last request was about. Its classes may have
    // changed: those that were looked at are asked for again, though not more often than once a
    // minute.
    void doubt();

private:
    struct KnownClass
    {
        std::chrono::steady_clock::time_point askedAt = {};
        bool isDoubtful = false; // what could not be had is so from the start
        Typed types = {};
    };
    class Settling;

    KnownClass* find(const std::string& nameSpace, const std::string& className,
                     const Fetch& fetch);

    Clock mClock;
    std::map<std::pair<std::string, std::string>, KnownClass> mClasses; // by name space and name
    std::vector<KnownClass*> mUsed;                                     // by the last request
};

} // namespace cmpisfcc

#endif
