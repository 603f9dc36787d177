// Answers of mapped resources, as parts of others: each is read once, and all that come from the
// data cache in one read transaction. Object managers may take their time, in which the cache's
// writer must not wait: whoever reads parts does so twice, first what the cache has, then the rest.
#ifndef HOST_COMPOSE_PART_READER_H_
#define HOST_COMPOSE_PART_READER_H_

#include "worker/mapped_read.h"
#include "worker/sources.h"

#include <ResourceMapper.h>
#include <json/json.h>

#include <map>
#include <optional>
#include <string>

namespace host::compose {

// What a mapped resource answers.
struct Part
{
    unsigned int status = 0;
    Json::Value body;       // where the status is 200
    bool obeysSkip = false; // of a collection: "$skip", which its next links have
    std::string entry = {}; // of the mapping, and its class
    std::string cimClass = {};
};

class PartReader
{
public:
    explicit PartReader(Sources& sources) : mSources(sources) {}

    // The answer to a GET; target may have a query. It lasts as long as the reader.
    const Part& read(const std::string& target);

    // What a container embeds for an id.
    const Part& readEmbedded(const std::string& container, const std::string& id);

    // Whether a part was asked for that comes from the object manager, and was left unread: its
    // status is 503 so far.
    bool waitsForLive() const { return mWaitsForLive; }

    // Ends the read transaction; from now on parts are read from the object manager.
    void beginLive();

    // Whether all that was read came from the data cache, and shows its state.
    bool isOfCache() const { return mIsOfCache; }

private:
    Part readNew(const std::string& target);
    Part readResolved(ResourceMapper& mapper, const odata::Scope& scope);
    Part readNewEmbedded(const std::string& container, const std::string& id);
    Part partOf(ResourceMapper& mapper, const odata::Scope& scope, MappedRead read);
    void shape(const std::string& entryName, Json::Value& body);
    void nameType(const std::string& container, Json::Value& data);
    Part unavailable(const std::string& why);
    const Part& keep(const std::string& name, Part part);

    Sources& mSources;
    bool mIsLiveTime = false;
    bool mWaitsForLive = false;
    bool mIsOfCache = true;
    std::optional<CacheRead> mCacheRead;
    std::map<std::string, Part> mRead; // by target, or container and id
};

} // namespace host::compose

#endif
