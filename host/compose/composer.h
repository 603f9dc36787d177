// Resources of the service file, made of what mapped resources answer.
#ifndef HOST_COMPOSE_COMPOSER_H_
#define HOST_COMPOSE_COMPOSER_H_

#include "compose/part_reader.h"
#include "service_file/service_file.h"
#include "service_file/source.h"

#include <json/json.h>

#include <string>
#include <vector>

namespace host::compose {

class Composer
{
public:
    explicit Composer(PartReader& parts) : mParts(parts) {}

    // The body that a resource is shown with. A value whose part is not there is null, and "Status"
    // says of each which and why.
    Json::Value compose(const service_file::Resource& resource);

private:
    // A value that could not be made, and the status of the part that it is missing for.
    struct Missing
    {
        std::string pointer; // of the value: "#/Status/Health"
        std::string uri;
        unsigned int status;
    };

    Json::Value fill(const Json::Value& declared, const std::string& pointer);
    Json::Value valueOf(const service_file::Source& source, const std::string& pointer);
    Json::Value propertyOf(const service_file::Source& source, const std::string& pointer);
    Json::Value countOf(const service_file::Source& source, const std::string& pointer);
    Json::Value sumOf(const service_file::Source& source, const std::string& pointer);
    Json::Value worstOf(const service_file::Source& source, const std::string& pointer);
    Json::Value embeddedOf(const service_file::Source& source, const std::string& pointer);
    bool readRows(const service_file::Source& source, const std::string& pointer,
                  std::vector<Json::Value>& rows);
    bool readMembers(const std::string& first, const std::string& property,
                     const std::string& pointer, std::vector<Json::Value>& rows);
    bool missMembers(const std::string& pointer, const std::string& uri, const Part& page,
                     const char* why);
    const Part* read(const std::string& uri, const std::string& pointer);
    void miss(const std::string& pointer, const std::string& uri, unsigned int status);
    void showMissing(Json::Value& body, size_t sources) const;

    PartReader& mParts;
    std::vector<Missing> mMissing;
    size_t mSources = 0; // values that were tried
};

} // namespace host::compose

#endif
