#include "worker/shapes.h"

#include "library_quiet.h"
#include "schema/addresses.h"
#include "schema/resource_type.h"

#include <JsonAccess.h>
#include <ResourceMapper/mapping/Entry.h>

#include <algorithm>
#include <string_view>

namespace host {

namespace mapping = cimgate::mapping;

namespace {

constexpr const char* kMembers = "Members";
constexpr size_t kColonFromEnd = 2; // "+02:00"

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "2024-05-01T10:20:30+0200", with or without a fraction of the second.
bool hasOffsetWithoutColon(std::string_view text)
{
    constexpr size_t kSecondsEnd = 19;
    constexpr size_t kOffset = 5;
    if (text.size() < kSecondsEnd + kOffset || text[10] != 'T') {
        return false;
    }
    const std::string_view offset = text.substr(text.size() - kOffset);
    return (offset[0] == '+' || offset[0] == '-') &&
           std::all_of(offset.begin() + 1, offset.end(), isDigit);
}

void shapeDateTime(Json::Value& value)
{
    const char* begin = nullptr;
    const char* end = nullptr;
    if (!value.isString() || !value.getString(&begin, &end)) {
        return;
    }
    if (hasOffsetWithoutColon({begin, static_cast<size_t>(end - begin)})) {
        std::string text(begin, end);
        value = text.insert(text.size() - kColonFromEnd, ":");
    }
}

void shapeDateTimes(Json::Value& value)
{
    if (!value.isArray()) {
        shapeDateTime(value);
        return;
    }
    for (Json::Value& element : value) {
        shapeDateTime(element);
    }
}

// Of an object's members with these names.
void shapeDateTimes(Json::Value& object, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        if (Json::Value* value = cimgate::findMember(object, name)) {
            shapeDateTimes(*value);
        }
    }
}

std::vector<std::string> dateTimesAmong(const std::vector<schema::Property>& properties)
{
    std::vector<std::string> names;
    for (const schema::Property& property : properties) {
        if (property.type == schema::ValueType::DateTime) {
            names.push_back(property.name);
        }
    }
    return names;
}

// Puts a value in the place of a null.
void replaceNull(Json::Value* member, Json::ValueType type)
{
    if (member != nullptr && member->isNull()) {
        *member = Json::Value(type);
    }
}

} // namespace

void Shapes::shape(const std::string& entryName, Json::Value& body)
{
    const Shape& shape = shapeOf(entryName);
    if (!shape.isCollection) {
        shapeResource(shape, body);
    } else if (Json::Value* members = cimgate::findMember(body, kMembers)) {
        for (Json::Value& member : *members) {
            shapeResource(shape, member);
        }
    }
}

void Shapes::shapeOutputs(const std::string& entryName, const std::string& method,
                          Json::Value& outputs)
{
    const auto& dateTimes = shapeOf(entryName).outputDateTimes;
    if (const auto found = dateTimes.find(method); found != dateTimes.end()) {
        shapeDateTimes(outputs, found->second);
    }
}

const std::string& Shapes::schemaUriOf(const std::string& entryName)
{
    return shapeOf(entryName).schemaUri;
}

const Shapes::Shape& Shapes::shapeOf(const std::string& entryName)
{
    const auto known = mShapes.find(entryName);
    if (known != mShapes.end()) {
        return known->second;
    }
    const Json::Value& entry = cimgate::memberOf(mMapping, entryName);
    return mShapes.emplace(entryName, makeShape(mMapping, entry)).first->second;
}

Shapes::Shape Shapes::makeShape(const Json::Value& mapping, const Json::Value& entry)
{
    const LibraryIsQuiet quiet;
    Shape shape;
    const schema::ResourceType type = schema::resourceTypeOf(mapping, entry);
    shape.schemaUri = type.name.name.empty() ? "" : schema::jsonSchemaUriOf(type.name);
    shape.isCollection = type.isCollection;
    const schema::ResourceType resource =
        schema::resourceTypeOf(mapping, mapping::memberEntryOf(mapping, entry));
    shape.dateTimes = dateTimesAmong(resource.properties);
    for (const schema::Property& property : resource.properties) {
        if (property.isArray) {
            shape.arrays.push_back(property.name);
        }
    }
    shape.hasLinks = resource.hasLinks;
    for (const schema::Link& link : resource.links) {
        if (link.isArray) {
            shape.linkArrays.push_back(link.name);
        }
    }
    for (const schema::Action& action : resource.actions) {
        shape.outputDateTimes[action.name] = dateTimesAmong(action.outputs);
    }
    return shape;
}

void Shapes::shapeResource(const Shape& shape, Json::Value& resource)
{
    shapeDateTimes(resource, shape.dateTimes);
    for (const std::string& name : shape.arrays) {
        replaceNull(cimgate::findMember(resource, name), Json::arrayValue);
    }
    Json::Value* links = shape.hasLinks ? cimgate::findMember(resource, mapping::kLinks) : nullptr;
    if (links == nullptr) {
        return;
    }
    replaceNull(links, Json::objectValue);
    for (const std::string& name : shape.linkArrays) {
        replaceNull(cimgate::findMember(*links, name), Json::arrayValue);
    }
}

} // namespace host
