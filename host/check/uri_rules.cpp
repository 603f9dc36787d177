#include "check/rules.h"

#include <algorithm>
#include <map>
#include <set>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

std::string lastSegment(const std::string& uri)
{
    return uri.substr(uri.rfind('/') + 1);
}

// What is wrong with the text of a URI that is registered as it stands; "" for nothing.
std::string problemOfPath(const std::string& uri)
{
    if (uri.front() != '/') {
        return "does not begin with a slash";
    }
    if (uri.size() > 1 && uri.back() == '/') {
        return "ends in a slash";
    }
    const size_t odd = uri.find_first_of("?#\t\r\n");
    return odd == std::string::npos ? "" : "has a character that is in no path";
}

class UriRules
{
public:
    explicit UriRules(Inspection& inspection);

    void run();

private:
    bool isRegistered(const std::string& name, const Json::Value& entry) const;
    void checkName(const Place& entry);
    void checkHasUri(const Place& entry);
    void checkPath(const Place& entry);
    void checkLastSegment(const Place& entry);
    void checkOnce(const mapping::RegisteredUri& registered);

    Inspection& mInspection;
    const Json::Value& mMapping;
    std::vector<mapping::RegisteredUri> mRegistered;
    std::map<const Json::Value*, std::string> mNames;
    std::set<std::string> mLookedUp; // names by which entries are found
    std::map<std::string, const mapping::RegisteredUri*> mFirst;
};

UriRules::UriRules(Inspection& inspection)
    : mInspection(inspection),
      mMapping(inspection.mapping()),
      mRegistered(mapping::registeredUris(mMapping))
{
    forEachMember(mMapping, [&](const std::string& name, const Json::Value& entry) {
        mNames[&entry] = name;
        if (!entry.isObject()) {
            return;
        }
        if (cimgate::flagOf(entry, mapping::kIsCollection)) {
            mLookedUp.insert(mapping::classNameOf(entry));
        }
        forEachMember(cimgate::memberOf(entry, mapping::kInstances),
                      [&](const std::string& embedded, const Json::Value& /*how*/) {
                          mLookedUp.insert(embedded);
                      });
    });
    for (const mapping::RegisteredUri& one : mRegistered) {
        mFirst.try_emplace(one.uri, &one);
        if (one.method == mapping::Method::Get) {
            mLookedUp.insert(lastSegment(one.uri));
        }
    }
}

void UriRules::run()
{
    forEachEntry(mInspection, [&](const std::string& name, const Json::Value& entry) {
        const Place place{name, entry};
        if (!mapping::hasVendorWord(name)) {
            checkName(place);
        } else if (cimgate::textOf(entry, mapping::kOdataId).empty()) {
            checkHasUri(place);
        } else {
            checkPath(place);
        }
    });
    for (const mapping::RegisteredUri& one : mRegistered) {
        checkOnce(one);
    }
}

// Legal where the entry is found by its name all the same: as a collection's member, embedded, or
// by another entry's URI.
void UriRules::checkName(const Place& entry)
{
    const std::string uri = cimgate::textOf(entry.value, mapping::kOdataId);
    if (!uri.empty() && !mLookedUp.contains(entry.name) &&
        cimgate::memberOf(entry.value, mapping::kInstances).empty()) {
        mInspection.add(entry,
                        {"the entry's name lacks \"Vexo\"",
                         uri + " is not registered: GET is answered 404",
                         "give it a name with Vexo, in this letter case, and let the URI end "
                         "in that name"});
    }
}

void UriRules::checkHasUri(const Place& entry)
{
    if (cimgate::memberOf(entry.value, mapping::kInstances).empty()) {
        mInspection.add(entry, {"the entry has no \"@odata.id\"",
                                "it has no URI, and neither have its actions: 404",
                                "give it an \"@odata.id\" that ends in /" + entry.name});
    }
}

void UriRules::checkPath(const Place& entry)
{
    const std::string uri = cimgate::textOf(entry.value, mapping::kOdataId);
    const std::string problem = problemOfPath(uri);
    if (problem.empty()) {
        checkLastSegment(entry);
        return;
    }
    mInspection.add(entry.at(entry.value[mapping::kOdataId]),
                    {"\"@odata.id\" " + quoted(uri) + " " + problem,
                     "no request is for it: GET is answered 404",
                     "give a path that begins with /redfish/v1/ and ends in /" + entry.name});
}

// An entry may give a URI to another one, which cannot have one by its name.
void UriRules::checkLastSegment(const Place& entry)
{
    const std::string uri = cimgate::textOf(entry.value, mapping::kOdataId);
    const std::string last = lastSegment(uri);
    const auto isSame = [&uri](const auto& one) {
        return one.uri == uri;
    };
    if (last == entry.name || std::count_if(mRegistered.begin(), mRegistered.end(), isSame) > 1) {
        return; // of URIs that stand twice checkOnce() tells
    }
    std::string effect;
    if (!mMapping.isMember(last)) {
        effect = "no entry has that name: GET is answered 404";
    } else if (mapping::hasVendorWord(last) &&
               !cimgate::memberOf(entry.value, mapping::kMappings).empty()) {
        effect = "GET shows the entry " + last + " in its place";
    }
    if (!effect.empty()) {
        mInspection.add(entry.at(entry.value[mapping::kOdataId]),
                        {"\"@odata.id\" ends in " + quoted(last) + ", not in the entry's name",
                         effect, "let it end in /" + entry.name});
    }
}

// Of a URI that stands in the mapping more than once the last one counts. Of targets the rules of
// actions tell.
void UriRules::checkOnce(const mapping::RegisteredUri& registered)
{
    const mapping::RegisteredUri& first = *mFirst.at(registered.uri);
    const bool areTargets =
        first.method == mapping::Method::Post && registered.method == mapping::Method::Post;
    if (&first == &registered || areTargets) {
        return;
    }
    const bool isFirstLater =
        mInspection.lineOf(*first.entry) > mInspection.lineOf(*registered.entry);
    const mapping::RegisteredUri& later = isFirstLater ? first : registered;
    const mapping::RegisteredUri& earlier = isFirstLater ? registered : first;
    std::string effect = "GET shows the entry " + lastSegment(registered.uri) + " alone";
    if (first.method != registered.method) {
        effect = registered.method == mapping::Method::Get ? "POST is answered 405"
                                                           : "GET is answered 405";
    }
    mInspection.add({mNames.at(later.entry), *later.entry},
                    {quoted(registered.uri) + " is a URI of " + mNames.at(earlier.entry) +
                         " too (line " + std::to_string(mInspection.lineOf(*earlier.entry)) + ")",
                     effect, "give each a URI of its own"});
}

} // namespace

void checkUris(Inspection& inspection)
{
    UriRules(inspection).run();
}

} // namespace host::check
