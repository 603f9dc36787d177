// Reads one instance through the library and prints it:  consumer MAPPING CACHE URI
#include <ResourceMapper.h>
#include <SQLInterface.h>

#include <cstdio>
#include <string>
#include <string_view>

int main(int argc, char** argv)
{
    if (argc != 4) {
        (void)std::fprintf(stderr, "usage: %s MAPPING CACHE URI\n", argv[0]);
        return 2;
    }
    ResourceMapper::RmfPath = argv[1];
    SQLInterface::DataCachePath = argv[2];
    (void)LoadDatabase(); // ends the process where the cache cannot be opened

    odata::Scope scope = odata::Scope::ForRequest(argv[3]);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, false);
    Json::Value body;
    _ResourceMapperError result = mapper.ParseUri(RM_METHOD_GET);
    if (result == RM_OK) {
        result = mapper.GetInstance(body, true);
    }
    if (result == RM_OK) {
        mapper.SendResponse(body);
    } else {
        mapper.SendExtendedErrorResponse(result);
    }
    const std::string_view text = scope.GetBody();
    (void)std::printf("%d %s %.*s\n", scope.GetStatus(), mapper.GetOemResourceName(),
                      static_cast<int>(text.size()), text.data());
    return result == RM_OK ? 0 : 1;
}
