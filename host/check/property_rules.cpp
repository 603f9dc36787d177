#include "check/rules.h"

#include <ResourceMapper/mapping/CimType.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

constexpr const char* kTypes = "uint8 to uint64, sint8 to sint64, boolean, datetime or string";

bool isInteger(const std::string& cimType)
{
    return strncasecmp(cimType.c_str(), "uint", 4) == 0 ||
           strncasecmp(cimType.c_str(), "sint", 4) == 0;
}

bool isBoolean(const std::string& cimType)
{
    return strcasecmp(cimType.c_str(), "boolean") == 0;
}

// How numbers are written before they are looked up.
bool isDecimal(std::string_view text)
{
    if (text.starts_with('-')) {
        text.remove_prefix(1);
    }
    const bool isPlain = !text.empty() && std::all_of(text.begin(), text.end(),
                                                      [](char c) { return c >= '0' && c <= '9'; });
    return isPlain && (text.size() == 1 || text.front() != '0');
}

bool fitsType(const std::string& stored, const std::string& cimType)
{
    if (isInteger(cimType)) {
        return isDecimal(stored);
    }
    return !isBoolean(cimType) || stored == "0" || stored == "1";
}

// Whether somebody has meant a number: "05", "+5", "0x5". A text may stand beside numbers, since
// what is stored counts.
bool looksLikeNumber(std::string_view text)
{
    return text.find_first_of("0123456789") != std::string_view::npos;
}

void checkType(Inspection& inspection, const Place& property, bool isCached)
{
    const std::string type = cimgate::textOf(property.value, mapping::kCimType);
    if (type.empty() || mapping::numberTypeOf(type)) {
        return;
    }
    const bool isRead = isCached && mapping::valueMapOf(property.value).empty();
    const Place place = property.at(property.value[mapping::kCimType]);
    if (!mapping::isCimType(type)) {
        inspection.add(
            place, {quoted(mapping::kCimType) + " is " + quoted(type) + ", which is no type of CIM",
                    isRead ? "a stored number ends the worker that reads it (500)"
                           : "no read looks at it as long as it is so",
                    "give " + std::string(kTypes)});
        inspection.markUnclear(property.value);
    } else if (isRead && isInteger(type)) {
        inspection.add(place,
                       {quoted(mapping::kCimType) + " " + quoted(type) + " is not in lower case",
                        "a stored number ends the worker that reads it (500)",
                        "write it in lower case"});
        inspection.markUnclear(property.value);
    }
}

// Live values carry their type, and only integers and texts are looked up.
void checkLiveMap(Inspection& inspection, const Place& property)
{
    static constexpr std::array<const char*, 4> kWithoutMap = {"boolean", "datetime", "real32",
                                                               "real64"};
    const std::string type = cimgate::textOf(property.value, mapping::kCimType);
    const bool isLeftOut =
        std::any_of(kWithoutMap.begin(), kWithoutMap.end(),
                    [&](const char* name) { return strcasecmp(type.c_str(), name) == 0; });
    if (isLeftOut && !mapping::valueMapOf(property.value).empty()) {
        inspection.add(property.at(property.value[mapping::kValueMapping]),
                       {"a " + type + " that is read live has a value map",
                        "the property is left out of every answer", "take the value map out"});
    }
}

void checkProperty(Inspection& inspection, const Place& property, bool isCached)
{
    const std::string type = cimgate::textOf(property.value, mapping::kCimType);
    checkType(inspection, property, isCached);
    if (!isCached) {
        checkLiveMap(inspection, property);
    }
    checkValueMap(inspection, property, isCached || isInteger(type) ? type : "", Direction::Shown);
}

std::string shownName(const std::string& name, const Json::Value& property)
{
    const std::string alias =
        property.isObject() ? cimgate::textOf(property, mapping::kAlias) : std::string();
    return alias.empty() ? name : alias;
}

// Properties have places in the order of the file, whatever the order of their names is.
void checkNames(Inspection& inspection, const Place& entry, const Json::Value& properties)
{
    std::map<std::string, std::pair<std::string, const Json::Value*>> shown;
    forEachMember(properties, [&](const std::string& name, const Json::Value& property) {
        const std::string as = shownName(name, property);
        const auto [first, isNew] = shown.try_emplace(as, name, &property);
        if (isNew) {
            return;
        }
        const bool isLater = property.getOffsetStart() > first->second.second->getOffsetStart();
        const std::string& other = isLater ? first->second.first : name;
        const std::string& self = isLater ? name : first->second.first;
        const Json::Value& place = isLater ? property : *first->second.second;
        const Json::Value& otherPlace = isLater ? *first->second.second : property;
        inspection.add(entry.part("property", self, place),
                       {"it is shown as " + quoted(as) + ", as property " + other + " is (line " +
                            std::to_string(inspection.lineOf(otherPlace)) + ")",
                        "an answer has one of the two", "give each an alias of its own"});
    });
}

} // namespace

void checkValueMap(Inspection& inspection, const Place& place, const std::string& cimType,
                   Direction direction)
{
    const Json::Value& map = mapping::valueMapOf(place.value);
    const std::vector<std::string> stored =
        map.isObject() ? map.getMemberNames() : std::vector<std::string>();
    const bool fitsNone = std::none_of(stored.begin(), stored.end(),
                                       [&](const auto& value) { return fitsType(value, cimType); });
    const bool isSent = direction == Direction::Sent;
    bool isTold = false;
    for (const std::string& value : stored) {
        const Json::Value& shown = map[value];
        if (!shown.isConvertibleTo(Json::stringValue)) {
            inspection.add(place.at(shown),
                           {"in the value map " + quoted(value) + " stands for no text",
                            "the value is not translated", "give a text"});
        }
        if (!fitsType(value, cimType) && (fitsNone ? !isTold : isSent || looksLikeNumber(value))) {
            inspection.add(place.at(shown),
                           {"the value map has " + quoted(value) + ", which no " + cimType + " is",
                            isSent ? "CIM gets a value that it refuses"
                                   : "it is never found, and what is stored is shown or left out",
                            isBoolean(cimType) ? "write 1 for true and 0 for false"
                                               : "write the stored number in decimal, and behind "
                                                 "it what is shown"});
            isTold = true;
        }
    }
}

void checkProperties(Inspection& inspection)
{
    forEachEntry(inspection, [&](const std::string& name, const Json::Value& entry) {
        if (cimgate::flagOf(entry, mapping::kIsCollection)) {
            return;
        }
        const std::string cimClass = mapping::classNameOf(entry);
        const Json::Value& classMap = mapping::classOf(entry, cimClass);
        if (!classMap.isObject() || !inspection.isClear(classMap)) {
            return;
        }
        const bool isCached = cimgate::flagOf(classMap, mapping::kIsCached);
        const Json::Value& properties = mapping::propertiesOf(entry, cimClass);
        forEachMember(properties, [&](const std::string& property, const Json::Value& declared) {
            if (declared.isObject() && inspection.isClear(declared)) {
                checkProperty(inspection, Place{name, entry}.part("property", property, declared),
                              isCached);
            }
        });
        checkNames(inspection, {name, entry}, properties);
    });
}

} // namespace host::check
