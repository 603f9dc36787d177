#include "object_reading.h"

#include "value_reading.h"

#include <cimxml/objects.h>

namespace cmpisfcc {

namespace {

// Objects within objects of a text; what is deeper stays a text.
constexpr unsigned int kDeepestEmbedding = 8;

CMPIData withEmbeddedAt(Arena& arena, const CMPIData& data, unsigned int depth);

CMPIData dataAt(Arena& arena, const cimxml::Value& value, cimxml::Embedded embedded,
                unsigned int depth)
{
    const CMPIData data = dataFrom(arena, value);
    return embedded == cimxml::Embedded::None ? data : withEmbeddedAt(arena, data, depth);
}

InstanceObject* instanceFrom(Arena& arena, const cimxml::Instance& instance, unsigned int depth)
{
    auto* object = makeObject<InstanceObject>(&arena);
    object->place = arena.create(Place{nullptr, nullptr, arena.copy(instance.className)});
    for (const cimxml::Property& property : instance.properties) {
        object->properties.append(arena, arena.copy(property.name),
                                  dataAt(arena, property.value, property.embedded, depth));
    }
    object->qualifiers = qualifiersFrom(arena, instance.qualifiers, instance.properties);
    return object;
}

// The object that a text says; null where it says none.
CMPIData objectFrom(Arena& arena, const char* xml, unsigned int depth)
{
    CMPIData data = {CMPI_null, CMPI_nullValue, CMPIValue{}};
    std::string problem;
    cimxml::Instance instance;
    cimxml::Class cls;
    if (depth == kDeepestEmbedding) {
        return data;
    }
    if (cimxml::decodeInstance(xml, instance, problem)) {
        data = {CMPI_instance, CMPI_goodValue, CMPIValue{}};
        data.value.inst = instanceFrom(arena, instance, depth + 1);
    } else if (cimxml::decodeClass(xml, cls, problem)) {
        data = {CMPI_class, CMPI_goodValue, CMPIValue{}};
        ClassObject* object = classFrom(arena, cls);
        object->xml = xml;
        data.value.cls = object;
    }
    return data;
}

// An array with a text that says no object stays one of texts.
CMPIData arrayWithEmbedded(Arena& arena, const CMPIData& data, unsigned int depth)
{
    const auto& texts = *static_cast<const ArrayObject*>(data.value.array);
    auto* objects = makeObject<ArrayObject>(&arena);
    objects->elementType = CMPI_instance;
    for (CMPICount i = 0; i < texts.count; ++i) {
        const CMPIData& text = texts.elements[i];
        if ((text.state & CMPI_nullValue) != 0) {
            objects->append({CMPI_instance, CMPI_nullValue, CMPIValue{}});
            continue;
        }
        const CMPIData object = objectFrom(arena, charsOf(text.value.string), depth);
        if (object.type == CMPI_null) {
            return data;
        }
        objects->elementType = object.type;
        objects->append(object);
    }
    CMPIData result = {static_cast<CMPIType>(objects->elementType | CMPI_ARRAY), CMPI_goodValue,
                       CMPIValue{}};
    result.value.array = objects;
    return result;
}

CMPIData withEmbeddedAt(Arena& arena, const CMPIData& data, unsigned int depth)
{
    if ((data.state & CMPI_nullValue) != 0) {
        return data;
    }
    if (data.type == CMPI_stringA) {
        return arrayWithEmbedded(arena, data, depth);
    }
    if (data.type != CMPI_string) {
        return data;
    }
    const CMPIData object = objectFrom(arena, charsOf(data.value.string), depth);
    return object.type == CMPI_null ? data : object;
}

NamedValues qualifierValues(Arena& arena, const std::vector<cimxml::Qualifier>& qualifiers)
{
    NamedValues values = {};
    values.reserve(arena, static_cast<unsigned int>(qualifiers.size()));
    for (const cimxml::Qualifier& qualifier : qualifiers) {
        values.append(arena, arena.copy(qualifier.name), dataFrom(arena, qualifier.value));
    }
    return values;
}

void addMethods(Arena& arena, const std::vector<cimxml::Method>& methods, ClassObject& object)
{
    object.methods = arena.createArray<MethodDeclaration>(methods.size());
    for (const cimxml::Method& method : methods) {
        MethodDeclaration& declaration = object.methods[object.methodCount++];
        declaration.name = arena.copy(method.name);
        declaration.returnType =
            method.returnType ? interfaceType(*method.returnType, false) : CMPIType{CMPI_null};
        for (const cimxml::Parameter& parameter : method.parameters) {
            declaration.parameters.append(arena, arena.copy(parameter.name),
                                          CMPIData{interfaceType(parameter.type, parameter.isArray),
                                                   CMPI_nullValue, CMPIValue{}});
        }
        declaration.qualifiers = qualifierValues(arena, method.qualifiers);
    }
}

} // namespace

ClassObject* classFrom(Arena& arena, const cimxml::Class& cls)
{
    auto* object = makeObject<ClassObject>(&arena);
    object->className = arena.copy(cls.name);
    for (const cimxml::Property& property : cls.properties) {
        object->properties.append(arena, arena.copy(property.name),
                                  dataFrom(arena, property.value));
    }
    object->qualifiers = qualifiersFrom(arena, cls.qualifiers, cls.properties);
    addMethods(arena, cls.methods, *object);
    return object;
}

const Qualifiers* qualifiersFrom(Arena& arena, const std::vector<cimxml::Qualifier>& own,
                                 const std::vector<cimxml::Property>& properties)
{
    auto* qualifiers = arena.create<Qualifiers>();
    qualifiers->own = qualifierValues(arena, own);
    qualifiers->members = arena.createArray<MemberQualifiers>(properties.size());
    for (const cimxml::Property& property : properties) {
        if (!property.qualifiers.empty()) {
            qualifiers->members[qualifiers->memberCount++] = {
                arena.copy(property.name), qualifierValues(arena, property.qualifiers)};
        }
    }
    return qualifiers;
}

CMPIData dataFrom(Arena& arena, const cimxml::Value& value, cimxml::Embedded embedded)
{
    return dataAt(arena, value, embedded, 0);
}

CMPIData withEmbedded(Arena& arena, const CMPIData& data)
{
    return withEmbeddedAt(arena, data, 0);
}

} // namespace cmpisfcc
