#include "sample_system.h"

#include "SampleCache.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <SQLInterface.h>

namespace fuzz {

SampleSystem::SampleSystem()
{
    ExtendedErrorInfoHandling::SetRegistryDirectory("data/registries");
    ResourceMapper::RmfPath = "data/resourcemapping.json";
    SQLInterface::DataCachePath = mDirectory.File("cache.db");
    support::makeSampleCache(SQLInterface::DataCachePath);
}

} // namespace fuzz
