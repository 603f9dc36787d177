#include "front/kept_answers.h"

#include "host_limits.h"

#include <algorithm>
#include <functional>
#include <iterator>

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

size_t bytesOf(const std::string& key, const httpd::Response& response)
{
    size_t bytes = kPlaceBytes + key.size() + response.content().size();
    for (const httpd::Header& header : response.headers) {
        bytes += sizeof header + header.name.size() + header.value.size();
    }
    return bytes;
}

} // namespace

std::string keptKeyOf(std::string_view target, bool wantsGzip)
{
    const size_t query = target.find('?');
    std::string key = wantsGzip ? "gzip " : "";
    key.append(target.substr(0, query));
    std::string_view rest = query == std::string_view::npos ? "" : target.substr(query + 1);
    char separator = '?';
    while (!rest.empty()) {
        const std::string_view parameter = rest.substr(0, rest.find('&'));
        if (!isForeign(parameter)) {
            key.append(1, separator).append(parameter);
            separator = '&';
        }
        rest.remove_prefix(std::min(rest.size(), parameter.size() + 1));
    }
    return key;
}

KeptAnswers::KeptAnswers(size_t maxBytes)
    : mMaxBytes(maxBytes), mAsked(maxBytes > 0 ? kRememberedTargets : 0)
{}

// Another state than the one that all is kept of.
void KeptAnswers::enter(uint64_t state)
{
    if (state == mState) {
        return;
    }
    mFigures.dropped += mAnswers.size();
    mByKey.clear();
    mAnswers.clear();
    mFigures.answers = 0;
    mFigures.bytes = 0;
    mState = state;
}

const httpd::Response* KeptAnswers::find(const std::string& key, uint64_t state)
{
    enter(state);
    const auto found = mByKey.find(key);
    if (found == mByKey.end()) {
        ++mFigures.misses;
        return nullptr;
    }
    ++mFigures.hits;
    mAnswers.splice(mAnswers.begin(), mAnswers, found->second);
    return &found->second->response;
}

bool KeptAnswers::isAskedAgain(const std::string& key, TimePoint now)
{
    const size_t hash = std::hash<std::string>()(key);
    Asked& asked = mAsked.at(hash % mAsked.size());
    const bool isAgain = asked.hash == hash && now - asked.at < kAskedAgainWindow;
    asked = {hash, now};
    return isAgain;
}

void KeptAnswers::keep(const std::string& key, uint64_t state, const httpd::Response& response)
{
    enter(state);
    const size_t bytes = bytesOf(key, response);
    if (bytes > mMaxBytes / kLargestKeptPart || mByKey.contains(key)) {
        return;
    }
    while (mFigures.bytes + bytes > mMaxBytes) {
        dropLast();
    }
    mAnswers.push_front({key, response, bytes});
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
