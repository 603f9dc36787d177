#include "RedfishOemInterface.h"

#include "Log.h"
#include "ResourceMapper.h"

void getResourceOemData(char* container, char* id, Json::Value& out)
{
    LOG_SCOPE();
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true);
    (void)mapper.GetMappedResources(container, id, out);
}
