// The namespaces that are served, read from a directory of CIM-XML declaration files.
#ifndef CIMOMD_REPOSITORY_H_
#define CIMOMD_REPOSITORY_H_

#include "name_space.h"

#include <cimxml/declarations.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

class Repository
{
public:
    // Reads all *.xml of a directory in the order of their names. A class may be declared in
    // another file than its superclass and its instances. Returns false with file and cause in
    // problem.
    bool load(const std::string& directory, std::string& problem);

    // Null when there is none; names are told without case.
    NameSpace* find(std::string_view nameSpace);

private:
    // What one file declares.
    struct File
    {
        std::string path;
        cimxml::Declarations declarations;
    };

    NameSpace& provide(const std::string& nameSpace);
    bool addClasses(std::vector<File>& files, std::string& problem);
    bool addInstances(std::vector<File>& files, std::string& problem);

    std::map<std::string, std::unique_ptr<NameSpace>> mNameSpaces;
};

} // namespace cimomd

#endif
