#include "check/rules.h"

#include <ResourceMapper/mapping/CimType.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <vector>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

// Names are taken from the path as it is once its escapes are undone.
std::string unescaped(const std::string& segment)
{
    constexpr size_t kEscapeBytes = 3;
    constexpr int kHex = 16;
    std::string text;
    for (size_t at = 0; at < segment.size(); ++at) {
        const std::string digits = segment.substr(at + 1, 2);
        char* end = nullptr;
        const long code = std::strtol(digits.c_str(), &end, kHex);
        if (segment[at] == '%' && digits.size() == 2 && *end == '\0') {
            text += static_cast<char>(code);
            at += kEscapeBytes - 1;
        } else {
            text += segment[at];
        }
    }
    return text;
}

std::vector<std::string> segmentsOf(const std::string& uri)
{
    std::vector<std::string> segments;
    size_t begin = uri.find_first_not_of('/');
    while (begin != std::string::npos) {
        const size_t end = uri.find('/', begin);
        segments.push_back(unescaped(uri.substr(begin, end - begin)));
        begin = end == std::string::npos ? end : uri.find_first_not_of('/', end);
    }
    return segments;
}

std::string methodOf(const std::string& action)
{
    const size_t dot = action.find('.');
    return dot == std::string::npos ? action : action.substr(dot + 1);
}

// ---- Targets ----

// The URIs of resources: of a target that is one of them the rules of URIs tell.
bool isResourceUri(const Inspection& inspection, const std::string& target)
{
    const Json::Value& all = inspection.mapping();
    return std::any_of(all.begin(), all.end(), [&](const Json::Value& entry) {
        return entry.isObject() && cimgate::textOf(entry, mapping::kOdataId) == target;
    });
}

// What a POST to the target finds: the entry that stands two segments before the last, and in its
// class the action that is called like the last segment.
void checkTarget(Inspection& inspection, const Place& action, const std::string& key,
                 const std::string& entryName, const std::string& target)
{
    const Place place = action.at(action.value[mapping::kTarget]);
    const std::vector<std::string> segments = segmentsOf(target);
    const std::string shape = "let it be the entry's \"@odata.id\", /Actions/ and " + key.substr(1);
    constexpr size_t kAtLeast = 3;
    if (target.front() != '/' || target.back() == '/' ||
        target.find_first_of("?#") != std::string::npos) {
        inspection.add(place, {"\"target\" " + quoted(target) + " is no path",
                               "no request is for it: POST is answered 404", shape});
    } else if (segments.size() < kAtLeast) {
        inspection.add(place, {"\"target\" " + quoted(target) + " has fewer than three segments",
                               "POST ends a worker (500)", shape});
    } else if (const std::string& found = segments[segments.size() - kAtLeast];
               found != entryName) {
        inspection.add(place, {"\"target\" leads to the entry " + quoted(found) +
                                   ", by its last segment but two",
                               "the action is looked for there: POST is answered 404", shape});
    } else if ("#" + segments.back() != key) {
        inspection.add(place, {"\"target\" ends in " + quoted(segments.back()) +
                                   ", the action's key is " + quoted(key),
                               "POST is answered 404", shape});
    }
}

// An entry may register the actions of another one, which cannot have a URI by its name.
bool isOfAnotherEntry(const Inspection& inspection, const Place& entry, const std::string& target,
                      const std::string& key)
{
    const std::vector<std::string> segments = segmentsOf(target);
    constexpr size_t kFromEnd = 3;
    if (segments.size() < kFromEnd || segments[segments.size() - kFromEnd] == entry.name) {
        return false;
    }
    const Json::Value& other =
        cimgate::memberOf(inspection.mapping(), segments[segments.size() - kFromEnd]);
    return other.isObject() && "#" + segments.back() == key &&
           mapping::actionsOf(other, mapping::classNameOf(other)).isMember(key);
}

void checkAction(Inspection& inspection, const Place& entry, const std::string& key,
                 const Json::Value& value)
{
    const Place action = entry.part("action", key, value);
    const std::string target = cimgate::textOf(value, mapping::kTarget);
    if (target.empty()) {
        inspection.add(action, {"the action has no \"target\"",
                                "it is shown to clients, and nobody can call it",
                                "give the entry's \"@odata.id\", /Actions/ and the action's name"});
    } else if (!key.starts_with('#')) {
        inspection.add(action, {"the action's key does not begin with #", "POST is answered 404",
                                "write # and the last segment of the target"});
    } else if (!isOfAnotherEntry(inspection, entry, target, key) &&
               !isResourceUri(inspection, target)) {
        checkTarget(inspection, action, key, entry.name, target);
    }
}

// A method without parameters need not be declared; one that is declared must be found.
void checkDeclared(Inspection& inspection, const Place& entry, const std::string& key,
                   const Json::Value& action, const Json::Value& methods)
{
    const std::vector<std::string> segments = segmentsOf(cimgate::textOf(action, mapping::kTarget));
    const std::string method = segments.empty() ? "" : methodOf(segments.back());
    if (!method.empty() && "#" + segments.back() == key && !methods.empty() &&
        !methods.isMember(method)) {
        inspection.add(entry.part("action", key, action),
                       {"its method " + quoted(method) + " is not declared in \"methods\"",
                        "every parameter is refused (400)",
                        "declare it under the name that follows the first dot of the target's last "
                        "segment"});
    }
}

// ---- Parameters ----

bool isCollectionType(const std::string& type)
{
    return type.find("Collection") != std::string::npos;
}

bool isAcceptedType(const std::string& type)
{
    return type == "Edm.Int64" || type == "Edm.Boolean" || type == "Edm.String" ||
           strcasecmp(type.c_str(), "Edm.DateTimeOffset") == 0 || isCollectionType(type);
}

void checkRedfishType(Inspection& inspection, const Place& input)
{
    const std::string type = cimgate::textOf(input.value, mapping::kRedfishType);
    const bool isArray = cimgate::flagOf(input.value, mapping::kIsArrayType);
    const char* const accepted = "give Edm.String, Edm.Int64, Edm.Boolean or Edm.DateTimeOffset";
    if (type.empty()) {
        inspection.add(input, {"the parameter has no \"redfish_type\"",
                               "every value of it is refused (400)", accepted});
        return;
    }
    const Place place = input.at(input.value[mapping::kRedfishType]);
    if (!isAcceptedType(type)) {
        inspection.add(place, {"no value is of the \"redfish_type\" " + quoted(type),
                               "every value of the parameter is refused (400)", accepted});
    } else if (type == "Collection(Edm.Int64)" || type == "Collection(Edm.Boolean)") {
        inspection.add(place, {"elements of " + quoted(type) + " are taken for texts",
                               "arrays of numbers or truths are refused (400)",
                               "give the type of an element, with \"is_arraytype\": true"});
    } else if (isCollectionType(type) && !isArray) {
        inspection.add(place, {"a parameter of " + quoted(type) + " is no array",
                               "arrays are refused (400)", "add \"is_arraytype\": true"});
    }
}

// The CIM type of elements that a value map translates; texts otherwise, which any value map fits.
std::string mappedType(const Json::Value& input)
{
    const std::string type = cimgate::textOf(input, mapping::kCimType);
    const bool isArray = cimgate::flagOf(input, mapping::kIsArrayType);
    if (isArray) {
        return type == "string" ? "" : "uint16";
    }
    return strcasecmp(type.c_str(), "boolean") == 0 ? "" : type;
}

// Of two CIM values with one Redfish value the first one is sent.
void checkIsUnique(Inspection& inspection, const Place& input)
{
    std::map<std::string, std::string> cimValues;
    const Json::Value& map = mapping::valueMapOf(input.value);
    forEachMember(map, [&](const std::string& cimValue, const Json::Value& shown) {
        if (!shown.isConvertibleTo(Json::stringValue)) {
            return;
        }
        const auto [first, isNew] = cimValues.try_emplace(shown.asString(), cimValue);
        if (!isNew) {
            inspection.add(input.at(shown),
                           {"the value map has " + quoted(first->first) + " twice",
                            quoted(cimValue) + " is never sent, but " + quoted(first->second),
                            "give each value a name of its own"});
        }
    });
}

void checkCimType(Inspection& inspection, const Place& parameter)
{
    const std::string type = cimgate::textOf(parameter.value, mapping::kCimType);
    if (!type.empty() && !mapping::isCimType(type) && !mapping::numberTypeOf(type)) {
        inspection.add(
            parameter.at(parameter.value[mapping::kCimType]),
            {quoted(mapping::kCimType) + " is " + quoted(type) + ", which is no type of CIM",
             "arrays with a value map go as numbers of 16 bits, all else as if it were "
             "not there",
             "give the type that the method's declaration has"});
    }
}

void checkAliasOfArray(Inspection& inspection, const Place& input)
{
    const std::string alias = cimgate::textOf(input.value, mapping::kAlias);
    if (!alias.empty() && cimgate::flagOf(input.value, mapping::kIsArrayType) &&
        !mapping::valueMapOf(input.value).empty()) {
        inspection.add(input.at(input.value[mapping::kAlias]),
                       {"an array with a value map has an alias",
                        "its elements are sent as clients give them, untranslated",
                        "name the parameter as CIM does, without an alias"});
    }
}

void checkInput(Inspection& inspection, const Place& input)
{
    checkRedfishType(inspection, input);
    checkCimType(inspection, input);
    checkValueMap(inspection, input, mappedType(input.value), Direction::Sent);
    checkIsUnique(inspection, input);
    checkAliasOfArray(inspection, input);
}

void checkArguments(Inspection& inspection, const Place& method, const Json::Value& inputs)
{
    std::map<std::string, std::string> arguments;
    forEachMember(inputs, [&](const std::string& name, const Json::Value& input) {
        const std::string alias =
            input.isObject() ? cimgate::textOf(input, mapping::kAlias) : std::string();
        const auto [first, isNew] = arguments.try_emplace(alias.empty() ? name : alias, name);
        if (!isNew) {
            inspection.add(
                method.part("input", name, input),
                {"it is sent as " + quoted(first->first) + ", as " + first->second + " is",
                 "CIM gets one of the two", "give each an alias of its own"});
        }
    });
}

void checkMethod(Inspection& inspection, const Place& method)
{
    const auto check = [&](const char* key, const char* kind, const auto& rule) {
        forEachMember(cimgate::memberOf(method.value, key),
                      [&](const std::string& name, const Json::Value& parameter) {
                          if (parameter.isObject() && inspection.isClear(parameter)) {
                              rule(inspection, method.part(kind, name, parameter));
                          }
                      });
    };
    check(mapping::kInputs, "input", checkInput);
    check(mapping::kOutputs, "output", checkCimType);
    checkArguments(inspection, method, cimgate::memberOf(method.value, mapping::kInputs));
}

void checkClass(Inspection& inspection, const Place& entry, const Json::Value& classMap)
{
    const Json::Value& methods = cimgate::memberOf(classMap, mapping::kMethods);
    forEachMember(methods, [&](const std::string& method, const Json::Value& declared) {
        if (declared.isObject() && inspection.isClear(declared)) {
            checkMethod(inspection, entry.part("method", method, declared));
        }
    });
    const bool isRegistered = mapping::hasVendorWord(entry.name) &&
                              !cimgate::textOf(entry.value, mapping::kOdataId).empty();
    forEachMember(cimgate::memberOf(classMap, mapping::kActions),
                  [&](const std::string& key, const Json::Value& action) {
                      if (isRegistered && action.isObject() && inspection.isClear(action)) {
                          checkAction(inspection, entry, key, action);
                          checkDeclared(inspection, entry, key, action, methods);
                      }
                  });
}

} // namespace

void checkActions(Inspection& inspection)
{
    forEachEntry(inspection, [&](const std::string& name, const Json::Value& value) {
        const std::string cimClass = mapping::classNameOf(value);
        const Json::Value& classMap = mapping::classOf(value, cimClass);
        if (!cimgate::flagOf(value, mapping::kIsCollection) && classMap.isObject() &&
            inspection.isClear(classMap)) {
            checkClass(inspection, {name, value}, classMap);
        }
    });
}

} // namespace host::check
