#include "check/rules.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <numeric>
#include <vector>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

enum class Kind { Text, Flag, Object, TextList, Seconds };

struct Key
{
    const char* name;
    Kind kind;
};

using Keys = std::vector<Key>;

const Keys& entryKeys()
{
    static const Keys kKeys = {{mapping::kOdataId, Kind::Text},
                               {"@odata.type", Kind::Text},
                               {"@odata.context", Kind::Text},
                               {"Name", Kind::Text},
                               {"Description", Kind::Text},
                               {mapping::kIsCollection, Kind::Flag},
                               {mapping::kSupportsNextLink, Kind::Flag},
                               {mapping::kSupportsTopSkip, Kind::Flag},
                               {mapping::kMappings, Kind::Object},
                               {mapping::kUniqueSelector, Kind::Text},
                               {mapping::kSelectors, Kind::Text},
                               {mapping::kLinks, Kind::Object},
                               {mapping::kAllowedOperations, Kind::TextList},
                               {mapping::kLinkHeader, Kind::Text},
                               {mapping::kInstances, Kind::Object}};
    return kKeys;
}

const Keys& classKeys()
{
    static const Keys kKeys = {
        {mapping::kIsCached, Kind::Flag},          {mapping::kRefreshInterval, Kind::Seconds},
        {mapping::kKeyProperties, Kind::TextList}, {mapping::kProperties, Kind::Object},
        {mapping::kActions, Kind::Object},         {mapping::kMethods, Kind::Object}};
    return kKeys;
}

// Of a property, an input and an output.
const Keys& declarationKeys()
{
    static const Keys kKeys = {
        {mapping::kCimType, Kind::Text},        {mapping::kAlias, Kind::Text},
        {mapping::kValueMapping, Kind::Object}, {mapping::kRedfishType, Kind::Text},
        {mapping::kIsArrayType, Kind::Flag},    {mapping::kIsRefType, Kind::Flag},
        {mapping::kIsRequired, Kind::Flag},     {mapping::kUnits, Kind::Text},
        {mapping::kDescription, Kind::Text}};
    return kKeys;
}

const Keys& methodKeys()
{
    static const Keys kKeys = {{mapping::kInputs, Kind::Object}, {mapping::kOutputs, Kind::Object}};
    return kKeys;
}

const Keys& actionKeys()
{
    static const Keys kKeys = {{mapping::kTarget, Kind::Text}};
    return kKeys;
}

const Keys& embeddedKeys()
{
    static const Keys kKeys = {{mapping::kKeyRegex, Kind::Text},
                               {mapping::kQueryClause, Kind::Text}};
    return kKeys;
}

bool isText(const Json::Value& value)
{
    return value.isConvertibleTo(Json::stringValue);
}

bool fits(const Json::Value& value, Kind kind)
{
    switch (kind) {
    case Kind::Text:
        return isText(value);
    case Kind::Flag:
        return value.isConvertibleTo(Json::booleanValue);
    case Kind::Object:
        return value.isObject() || value.isNull();
    case Kind::TextList:
        return value.isNull() ||
               (value.isArray() && std::all_of(value.begin(), value.end(), isText));
    case Kind::Seconds:
        return value.isUInt() && value.asUInt() > 0;
    }
    return true;
}

const char* wanted(Kind kind)
{
    switch (kind) {
    case Kind::Text:
        return "a text";
    case Kind::Flag:
        return "true or false, without quotation marks";
    case Kind::Object:
        return "an object, in braces";
    case Kind::TextList:
        return "a list of texts, in brackets";
    case Kind::Seconds:
        return "a whole number of seconds, 1 or more";
    }
    return "";
}

// Letters and digits alone, without regard to case: what is left of "Unique_selector".
std::string plain(std::string_view name)
{
    std::string letters;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return letters;
}

// How many letters are wrong, missing, too many or swapped with the next one.
size_t distance(const std::string& a, const std::string& b)
{
    std::vector<std::vector<size_t>> steps(a.size() + 1, std::vector<size_t>(b.size() + 1));
    std::iota(steps[0].begin(), steps[0].end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        steps[i][0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t change = steps[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
            }
        }
    }
    return steps[a.size()][b.size()];
}

// The key that somebody has probably meant; it is not there itself. Nothing where the name is like
// none of them: other keys may stand for whatever they like.
const Key* meantBy(const std::string& name, const Json::Value& object, const Keys& keys)
{
    constexpr size_t kLettersForOneMistake = 4;
    constexpr size_t kMaxMistakes = 2;
    const std::string given = plain(name);
    const auto isMeant = [&](const Key& key) {
        const std::string known = plain(key.name);
        const size_t mistakes = std::min(kMaxMistakes, known.size() / kLettersForOneMistake);
        const size_t difference =
            given.size() > known.size() ? given.size() - known.size() : known.size() - given.size();
        return !object.isMember(key.name) && difference <= mistakes &&
               distance(given, known) <= mistakes;
    };
    const auto key = std::find_if(keys.begin(), keys.end(), isMeant);
    return key == keys.end() ? nullptr : &*key;
}

void checkMember(Inspection& inspection, const Place& place, const std::string& name,
                 const Json::Value& value, const Keys& keys)
{
    const auto key = std::find_if(keys.begin(), keys.end(),
                                  [&](const Key& known) { return name == known.name; });
    if (key != keys.end()) {
        if (!fits(value, key->kind)) {
            inspection.add(place.at(value), {quoted(name) + " is not " + wanted(key->kind),
                                             "it is read as if it were absent",
                                             "give " + std::string(wanted(key->kind))});
            inspection.markUnclear(place.value);
        }
    } else if (const Key* meant = meantBy(name, place.value, keys); meant != nullptr) {
        inspection.add(place.at(value), {"there is no key " + quoted(name), "it is ignored",
                                         "write " + quoted(meant->name)});
        inspection.markUnclear(place.value);
    }
}

// Whether it is an object; one that is none is told.
bool checkObject(Inspection& inspection, const Place& place, const Keys& keys)
{
    if (!place.value.isObject()) {
        if (!place.value.isNull()) {
            inspection.add(place, {"this is no object", "it is read as if it were empty",
                                   "give " + std::string(wanted(Kind::Object))});
            inspection.markUnclear(place.value);
        }
        return false;
    }
    forEachMember(place.value, [&](const std::string& name, const Json::Value& value) {
        checkMember(inspection, place, name, value, keys);
    });
    return true;
}

void checkParts(Inspection& inspection, const Place& place, const char* key, const char* kind,
                const Keys& keys)
{
    forEachMember(cimgate::memberOf(place.value, key),
                  [&](const std::string& name, const Json::Value& value) {
                      (void)checkObject(inspection, place.part(kind, name, value), keys);
                  });
}

void checkMethodKeys(Inspection& inspection, const Place& place)
{
    if (checkObject(inspection, place, methodKeys())) {
        checkParts(inspection, place, mapping::kInputs, "input", declarationKeys());
        checkParts(inspection, place, mapping::kOutputs, "output", declarationKeys());
    }
}

void checkClass(Inspection& inspection, const Place& entry, const Place& place)
{
    if (!checkObject(inspection, place, classKeys())) {
        return;
    }
    const Place inEntry = entry.at(place.value);
    checkParts(inspection, inEntry, mapping::kProperties, "property", declarationKeys());
    checkParts(inspection, inEntry, mapping::kActions, "action", actionKeys());
    forEachMember(cimgate::memberOf(place.value, mapping::kMethods),
                  [&](const std::string& name, const Json::Value& method) {
                      checkMethodKeys(inspection, entry.part("method", name, method));
                  });
}

void checkEntry(Inspection& inspection, const Place& entry)
{
    if (!entry.value.isObject()) {
        inspection.add(entry, {"the entry is no object", "it is no resource",
                               "give an object, in braces, or take the entry out"});
        return;
    }
    (void)checkObject(inspection, entry, entryKeys());
    checkParts(inspection, entry, mapping::kInstances, "embedded resource", embeddedKeys());
    const Json::Value& collection = cimgate::memberOf(entry.value, mapping::kIsCollection);
    if (fits(collection, Kind::Flag) && collection.asBool()) {
        return; // the values of its mappings do not matter
    }
    forEachMember(cimgate::memberOf(entry.value, mapping::kMappings),
                  [&](const std::string& name, const Json::Value& cimClass) {
                      checkClass(inspection, entry, entry.part("class", name, cimClass));
                  });
}

} // namespace

void checkKeys(Inspection& inspection)
{
    forEachMember(inspection.mapping(), [&](const std::string& name, const Json::Value& entry) {
        checkEntry(inspection, {name, entry});
    });
}

} // namespace host::check
