#include "repository.h"

#include "repository_files.h"
#include "values.h"

#include <algorithm>
#include <utility>

namespace cimomd {

bool Repository::load(const std::string& directory, std::string& problem)
{
    std::vector<RepositoryFile> texts;
    std::vector<File> files;
    if (!readFiles(directory, ".xml", texts, problem)) {
        return false;
    }
    if (texts.empty()) {
        problem = directory + ": there is no *.xml file";
        return false;
    }
    for (const auto& [path, text] : texts) {
        if (!cimxml::readDeclarations(text, files.emplace_back(File{path, {}}).declarations,
                                      problem)) {
            problem.insert(0, path + ": ");
            return false;
        }
    }
    return addClasses(files, problem) && addInstances(files, problem);
}

bool Repository::addClasses(std::vector<File>& files, std::string& problem)
{
    std::map<NameSpace*, std::vector<ClassSource>> sources;
    for (File& file : files) {
        for (cimxml::DeclaredClass& declared : file.declarations.classes) {
            if (declared.nameSpace.empty()) {
                problem = file.path + ": class " + declared.cls.name + " has no namespace";
                return false;
            }
            sources[&provide(declared.nameSpace)].push_back({std::move(declared.cls), file.path});
        }
    }
    return std::all_of(sources.begin(), sources.end(), [&problem](auto& entry) {
        return entry.first->classes().add(std::move(entry.second), problem);
    });
}

bool Repository::addInstances(std::vector<File>& files, std::string& problem)
{
    for (File& file : files) {
        size_t number = 0;
        for (cimxml::DeclaredInstance& declared : file.declarations.instances) {
            ++number;
            NameSpace* const nameSpace = find(declared.nameSpace);
            cimxml::CimError error;
            error.description = "its namespace \"" + declared.nameSpace + "\" has no classes";
            if (nameSpace == nullptr || nameSpace->create(declared.instance, error) == nullptr) {
                problem = file.path + ": instance " + std::to_string(number) + ", of " +
                          declared.instance.className + ": " + error.description;
                return false;
            }
        }
    }
    return true;
}

NameSpace* Repository::find(std::string_view nameSpace)
{
    const auto found = mNameSpaces.find(lowered(nameSpace));
    return found == mNameSpaces.end() ? nullptr : found->second.get();
}

NameSpace& Repository::provide(const std::string& nameSpace)
{
    std::unique_ptr<NameSpace>& entry = mNameSpaces[lowered(nameSpace)];
    if (!entry) {
        entry = std::make_unique<NameSpace>(nameSpace);
    }
    return *entry;
}

} // namespace cimomd
