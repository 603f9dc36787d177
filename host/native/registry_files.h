// The message registries' files, which clients read the texts of messages from.
#ifndef HOST_NATIVE_REGISTRY_FILES_H_
#define HOST_NATIVE_REGISTRY_FILES_H_

#include <string>
#include <vector>

namespace host::native {

struct RegistryFile
{
    std::string id;       // the file's name without ".json"
    std::string name;     // what it is called
    std::string registry; // what message ids begin with: "Base.1.18"
    std::string language;
    std::string type; // "#MessageRegistry.v1_6_2.MessageRegistry"
    std::string text; // the file as it is
};

// The registries in a directory, in the order of their names. Files that are none are passed over,
// and so are those whose name no URI can have.
std::vector<RegistryFile> readRegistryFiles(const std::string& directory);

} // namespace host::native

#endif
