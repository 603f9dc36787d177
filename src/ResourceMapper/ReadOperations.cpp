// Operations that read, and those on query options.
#include "ResourceMapper.h"
#include "ResourceMapper/read/Collections.h"
#include "ResourceMapper/read/Instances.h"
#include "ResourceMapper/read/LiveReads.h"
#include "ResourceMapper/read/MappedResources.h"
#include "ResourceMapper/read/QueryOptions.h"

bool ResourceMapper::IsCached()
{
    return cimgate::isCached(*this);
}

_ResourceMapperError ResourceMapper::GetInstance(Json::Value& out)
{
    return cimgate::readLiveInstance(*this, out);
}

_ResourceMapperError ResourceMapper::GetInstance(Json::Value& out, bool /*fromCache*/)
{
    return cimgate::readCachedInstance(*this, out);
}

_ResourceMapperError ResourceMapper::GetCollection(Json::Value& out)
{
    return cimgate::readLiveCollection(*this, out);
}

_ResourceMapperError ResourceMapper::GetCollection(Json::Value& out, bool /*fromCache*/)
{
    return cimgate::readCachedCollection(*this, out);
}

void ResourceMapper::QueryInstances(Json::Value& out, const std::string& query)
{
    cimgate::queryLiveInstances(*this, out, query);
}

void ResourceMapper::QueryInstances(Json::Value& out, const std::string& clause, bool /*fromCache*/)
{
    cimgate::queryCachedInstances(*this, out, clause);
}

_ResourceMapperError ResourceMapper::GetMappedResources(const char* container, const char* id,
                                                        Json::Value& out)
{
    return cimgate::readEmbeddedData(*this, container, id, out);
}

bool ResourceMapper::isQueryOptionPresent(int option, unsigned long& value) const
{
    return cimgate::numericOption(mURI, option, value);
}

_ResourceMapperError ResourceMapper::isQueryOptionPresent(int option, Json::Value& list)
{
    return cimgate::listOption(*this, option, list);
}

std::string ResourceMapper::TrimWhiteSpace(std::string text)
{
    return std::string(cimgate::trimmed(text));
}

_ResourceMapperError ResourceMapper::MatchQueryParamAndPropList(Json::Value candidates,
                                                                Json::Value selectList,
                                                                Json::Value& matched,
                                                                bool& selectAll)
{
    return cimgate::matchSelect(*this, candidates, selectList, matched, selectAll);
}

std::string ResourceMapper::GetSelectQuery(std::string cimClass, unsigned long limit,
                                           unsigned long offset, std::string key,
                                           std::string extraClause) const
{
    return cimgate::selectQuery(
        mResourceObj, cimClass,
        {.limit = limit, .offset = offset, .key = key, .condition = extraClause});
}

_ResourceMapperError
ResourceMapper::ApplyFilterToGetInstance(Json::Value& data, Json::Value selectList, bool forActions)
{
    return cimgate::shapeResult(*this, data, selectList, forActions);
}
