#include "front/kept_answers.h"

#include "host_limits.h"

#include <algorithm>
#include <functional>
#include <tuple>
#include <utility>

namespace host {

namespace {

// What a kept answer takes beside its texts: places in the list and the table.
constexpr size_t kPlaceBytes = 256;

bool isPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
}

// Of a parameter "name=value", whether no resource can take it for an option: those begin with "$",
// which may be written as an escape, or are "only". The library lets the query begin at the last
// "?".
bool isForeign(std::string_view parameter)
{
    const std::string_view name = parameter.substr(0, parameter.find('='));
    return parameter.find('?') == std::string_view::npos && name != "only" &&
           std::all_of(name.begin(), name.end(), isPlain);
}

size_t bytesOf(const httpd::Response& response)
{
    const size_t headers = response.sharedHeaders == nullptr ? 0 : response.sharedHeaders->size();
    return headers + response.content().size();
}

size_t bytesOf(const std::string& key, const ReadyAnswer& answer)
{
    return kPlaceBytes + key.size() + answer.entityTag.size() + bytesOf(answer.whole) +
           bytesOf(answer.unmodified);
}

} // namespace

std::string_view keptKeyOf(std::string_view target, bool wantsGzip, std::string& room)
{
    const size_t query = target.find('?');
    if (query == std::string_view::npos && !wantsGzip) {
        return target;
    }
    room.assign(wantsGzip ? "gzip " : "").append(target.substr(0, query));
    std::string_view rest = query == std::string_view::npos ? "" : target.substr(query + 1);
    char separator = '?';
    while (!rest.empty()) {
        const std::string_view parameter = rest.substr(0, rest.find('&'));
        if (!isForeign(parameter)) {
            room.append(1, separator).append(parameter);
            separator = '&';
        }
        rest.remove_prefix(std::min(rest.size(), parameter.size() + 1));
    }
    return room;
}

KeptAnswers::KeptAnswers(size_t maxBytes)
    : mMaxBytes(maxBytes), mAsked(maxBytes > 0 ? kRememberedTargets / std::tuple_size_v<Place> : 0)
{}

void KeptAnswers::enter(uint64_t state, TimePoint now)
{
    if (areOf(state)) {
        return;
    }
    for (const Kept& kept : mAnswers) {
        (void)isAskedAgain(kept.key, now);
    }
    mFigures.dropped += mAnswers.size();
    mByKey.clear();
    mAnswers.clear();
    mFigures.answers = 0;
    mFigures.bytes = 0;
    mState = state;
}

const ReadyAnswer* KeptAnswers::find(std::string_view key)
{
    const auto found = mByKey.find(key);
    if (found == mByKey.end()) {
        return nullptr;
    }
    mAnswers.splice(mAnswers.begin(), mAnswers, found->second);
    return &found->second->answer;
}

bool KeptAnswers::isAskedAgain(std::string_view key, TimePoint now)
{
    const size_t hash = std::hash<std::string_view>()(key);
    Asked& asked = askedPlaceOf(hash);
    const bool isAgain = asked.hash == hash && now - asked.at < kAskedAgainWindow;
    asked = {hash, now};
    return isAgain;
}

KeptAnswers::Asked& KeptAnswers::askedPlaceOf(size_t hash)
{
    Place& place = mAsked.at(hash % mAsked.size());
    const auto found = std::find_if(place.begin(), place.end(),
                                    [hash](const Asked& asked) { return asked.hash == hash; });
    return found != place.end()
               ? *found
               : *std::min_element(place.begin(), place.end(),
                                   [](const Asked& a, const Asked& b) { return a.at < b.at; });
}

void KeptAnswers::keep(const std::string& key, ReadyAnswer answer)
{
    const size_t bytes = bytesOf(key, answer);
    if (bytes > mMaxBytes / kLargestKeptPart || mByKey.contains(key)) {
        return;
    }
    while (mFigures.bytes + bytes > mMaxBytes) {
        dropLast();
    }
    mAnswers.push_front({key, std::move(answer), bytes});
    try {
        mByKey.emplace(mAnswers.front().key, mAnswers.begin());
    } catch (const std::bad_alloc&) {
        mAnswers.pop_front();
        throw;
    }
    ++mFigures.answers;
    mFigures.bytes += bytes;
}

void KeptAnswers::dropLast()
{
    const Kept& last = mAnswers.back();
    mFigures.bytes -= last.bytes;
    --mFigures.answers;
    ++mFigures.dropped;
    mByKey.erase(last.key);
    mAnswers.pop_back();
}

} // namespace host
