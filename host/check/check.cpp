#include "check/check.h"

#include "check/duplicate_names.h"
#include "check/mapping_text.h"
#include "check/rules.h"
#include "check/service_rules.h"
#include "library_quiet.h"

#include <service/errno_text.h>

#include <algorithm>
#include <iterator>

namespace host::check {

namespace {

// A file as it was read.
struct ParsedFile
{
    MappingText text;
    Json::Value root;
};

Fault unusable(const std::string& path, Position position, const std::string& wrong,
               const std::string& option)
{
    return {
        path,
        position,
        "",
        {wrong, "the service does not start", "correct it, or name another file with " + option}};
}

// Nothing for one that cannot be used, which is a fault; option is what names another file.
std::optional<ParsedFile> parseFile(const std::string& path, const std::string& option,
                                    std::vector<Fault>& faults)
{
    std::optional<std::string> content = readFile(path);
    if (!content) {
        faults.push_back(unusable(path, {}, "it cannot be read: " + service::errnoText(), option));
        return std::nullopt;
    }
    ParsedFile parsed{MappingText(std::move(*content)), {}};
    if (const std::optional<TextProblem> problem = parsed.text.parse(parsed.root)) {
        faults.push_back(unusable(path, problem->position, problem->text, option));
        return std::nullopt;
    }
    return parsed;
}

std::string placeOf(const DuplicateName& duplicate)
{
    std::string place;
    for (const std::string& name : duplicate.path) {
        place += (place.empty() ? "" : ", ") + name;
    }
    return place.empty() ? duplicate.name : place;
}

// What jsoncpp reads without a word.
void checkText(Inspection& inspection, const MappingText& text, const Json::Value& root)
{
    for (const DuplicateName& duplicate : duplicateNames(text.text())) {
        const size_t first = text.positionAt(duplicate.firstOffset).line;
        inspection.add({text.positionAt(duplicate.offset).line, 0}, placeOf(duplicate),
                       {quoted(duplicate.name) + " stands here once more (first on line " +
                            std::to_string(first) + ")",
                        "only the last one counts",
                        "take one of them out, or give it its own name"});
    }
    if (const auto at = firstBehind(text.text(), static_cast<size_t>(root.getOffsetLimit()))) {
        inspection.add(text.positionAt(*at), "",
                       {"something stands behind the end of the mapping",
                        "it is not read, with all entries that are in it",
                        "look for a brace too many before it"});
    }
    if (const auto at = firstNotUtf8(text.text())) {
        inspection.add(text.positionAt(*at), "",
                       {"the text is not UTF-8", "answers that show it are not JSON",
                        "store the file as UTF-8"});
    }
}

void checkRules(Inspection& inspection)
{
    checkKeys(inspection);
    checkUris(inspection);
    checkEntries(inspection);
    checkProperties(inspection);
    checkActions(inspection);
    checkContainers(inspection);
}

// In the order of lines; what is about the cache as a file comes last.
void sort(std::vector<Fault>& faults, const std::string& mappingPath)
{
    std::stable_sort(faults.begin(), faults.end(), [&](const Fault& a, const Fault& b) {
        const bool isAInMapping = a.file == mappingPath;
        const bool isBInMapping = b.file == mappingPath;
        return isAInMapping != isBInMapping ? isAInMapping : a.position.line < b.position.line;
    });
}

Report inspect(const MappingText& text, const Json::Value& root, const std::string& mappingPath,
               const std::string& cachePath, Depth depth)
{
    Report report;
    report.isMappingUsable = true;
    report.needsCache = needsCache(root);
    Inspection inspection(mappingPath, text, root);
    checkText(inspection, text, root);
    checkRules(inspection);
    if (report.needsCache) {
        checkCache(inspection, cachePath, depth);
    }
    report.faults = std::move(inspection.faults());
    sort(report.faults, mappingPath);
    return report;
}

std::vector<Fault> inspectServiceFile(const MappingText& text, const Json::Value& root,
                                      const std::string& path, const Json::Value& mapping)
{
    Inspection inspection(path, text, root);
    checkText(inspection, text, root);
    checkServiceRules(inspection, mapping);
    std::vector<Fault> faults = std::move(inspection.faults());
    sort(faults, path);
    return faults;
}

} // namespace

Report checkFiles(const std::string& mappingPath, const std::string& servicePath,
                  const std::string& cachePath, Depth depth)
{
    const LibraryIsQuiet quiet;
    Report report;
    const std::optional<ParsedFile> mapping = parseFile(mappingPath, "--rmf", report.faults);
    if (mapping) {
        report = inspect(mapping->text, mapping->root, mappingPath, cachePath, depth);
    }
    std::vector<Fault> faults;
    if (!servicePath.empty()) {
        if (const std::optional<ParsedFile> service = parseFile(servicePath, "--service", faults)) {
            faults = inspectServiceFile(service->text, service->root, servicePath,
                                        mapping ? mapping->root : Json::Value());
        }
    }
    addFaults(report, std::move(faults));
    return report;
}

Report checkMapping(const Json::Value& mapping, const std::string& mappingPath,
                    const std::string& cachePath, Depth depth)
{
    const LibraryIsQuiet quiet;
    const MappingText text(readFile(mappingPath).value_or(""));
    return inspect(text, mapping, mappingPath, cachePath, depth);
}

std::vector<Fault> checkServiceFile(const Json::Value& file, const std::string& servicePath,
                                    const Json::Value& mapping)
{
    const LibraryIsQuiet quiet;
    const MappingText text(readFile(servicePath).value_or(""));
    return inspectServiceFile(text, file, servicePath, mapping);
}

void addFaults(Report& report, std::vector<Fault> ofServiceFile)
{
    report.faults.insert(report.faults.end(), std::make_move_iterator(ofServiceFile.begin()),
                         std::make_move_iterator(ofServiceFile.end()));
}

} // namespace host::check
