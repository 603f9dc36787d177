#include "answer.h"

#include "object_reading.h"
#include "value_reading.h"

#include <cstring>
#include <utility>

namespace cmpisfcc {

namespace {

bool isNullData(const CMPIData& data)
{
    return (data.state & CMPI_nullValue) != 0;
}

CMPIData withKeyState(CMPIData data)
{
    data.state = static_cast<CMPIValueState>(data.state | CMPI_keyValue);
    return data;
}

// The key of that name, among the properties that were made from keys.
NamedValue* findKey(const NamedValues& properties, unsigned int keyCount, const char* name)
{
    for (unsigned int i = 0; i < keyCount; ++i) {
        if (sameName(properties.items[i].name, name)) {
            return &properties.items[i];
        }
    }
    return nullptr;
}

// Whether a key of a path, read already, is all that its property says.
bool isSameText(const CMPIData& key, const cimxml::PropertyView& property)
{
    return key.type == CMPI_string && !isNullData(key) && property.type() == cimxml::Type::String &&
           !property.isArray() && !property.isNull() &&
           property.embedded() == cimxml::Embedded::None &&
           property.text() == charsOf(key.value.string);
}

} // namespace

Answer::Answer(Returns returns, const CMPIObjectPath* request)
    : mReturns(returns),
      mRequest(static_cast<const PathObject*>(request)),
      mEnumeration(makeOwned<EnumerationObject>())
{
    if (mRequest != nullptr) {
        mNameSpace = arena().copy(mRequest->nameSpace);
        mLast.nameSpace = mNameSpace;
    }
}

bool Answer::refuse(std::string problem)
{
    mProblem = std::move(problem);
    return false;
}

bool Answer::refuseValue(std::string_view name, std::string_view text, cimxml::Type type)
{
    constexpr std::size_t kShownBytes = 64;
    return refuse("The value '" + std::string(text.substr(0, kShownBytes)) + "' of '" +
                  std::string(name) + "' is no " + std::string(cimxml::typeName(type)));
}

bool Answer::expect(Returns returned)
{
    return returned == mReturns ||
           refuse("The answer returns something else than the operation does");
}

bool Answer::append(CMPIType type, CMPIValue value)
{
    mEnumeration->append(CMPIData{type, CMPI_goodValue, value});
    return true;
}

const char* Answer::intern(std::string_view name, std::size_t position)
{
    if (position < mNames.size() && name == mNames[position]) {
        return mNames[position];
    }
    const char* copy = arena().copy(name);
    if (position >= mNames.size()) {
        mNames.resize(position + 1, "");
    }
    mNames[position] = copy;
    return copy;
}

Place Answer::placeOf(std::string_view className, const cimxml::ObjectPathView& path)
{
    const auto textOf = [this](std::string_view text, const char*& last) {
        if (last == nullptr || text != last) {
            last = arena().copy(text);
        }
        return last;
    };
    const std::string_view host = path ? path.host() : std::string_view();
    const std::string nameSpace = path ? path.nameSpace() : std::string();
    return {host.empty() ? nullptr : textOf(host, mLast.host),
            nameSpace.empty() ? mNameSpace : textOf(nameSpace, mLast.nameSpace),
            textOf(className, mLast.className)};
}

const Place* Answer::sharedPlace(const Place& place)
{
    if (mShared == nullptr || *mShared != place) {
        mShared = arena().create(place);
    }
    return mShared;
}

bool Answer::readText(cimxml::Type type, std::string_view text, CMPIData& data)
{
    return readScalar(arena(), type, text, data);
}

bool Answer::readReference(const cimxml::ObjectPathView& view, CMPIData& data)
{
    PathObject* path = nullptr;
    if (!readPath(view, path)) {
        return false;
    }
    data = CMPIData{CMPI_ref, CMPI_goodValue, CMPIValue{}};
    data.value.ref = path;
    return true;
}

bool Answer::readPath(const cimxml::ObjectPathView& view, PathObject*& path)
{
    path = makeObject<PathObject>(&arena());
    static_cast<Place&>(*path) = placeOf(view.className(), view);
    return addKeys(view, path->keys);
}

bool Answer::addKeys(const cimxml::ObjectPathView& path, NamedValues& keys)
{
    if (path.isClass()) {
        return true;
    }
    for (const cimxml::KeyView key : path.keys()) {
        CMPIData data = {};
        if (key.isReference()) {
            if (!readReference(key.reference(), data)) {
                return false;
            }
        } else if (!readText(key.type(), key.text(), data)) {
            return refuseValue(key.name(), key.text(), key.type());
        }
        keys.append(arena(), intern(key.name(), keys.count), withKeyState(data));
    }
    return true;
}

bool Answer::readArray(const cimxml::PropertyView& view, CMPIData& data)
{
    auto* array = makeObject<ArrayObject>(&arena());
    array->elementType = interfaceType(view.type(), false);
    for (const cimxml::ElementView element : view.elements()) {
        CMPIData value = {array->elementType, CMPI_nullValue, CMPIValue{}};
        if (element.isNull()) {
            array->append(value);
            continue;
        }
        if (view.type() == cimxml::Type::Reference) {
            if (!readReference(element.reference(), value)) {
                return false;
            }
        } else if (!readText(view.type(), element.text(), value)) {
            return refuseValue(view.name(), element.text(), view.type());
        }
        array->append(value);
    }
    data = CMPIData{interfaceType(view.type(), true), CMPI_goodValue, CMPIValue{}};
    data.value.array = array;
    return true;
}

bool Answer::readProperty(const cimxml::PropertyView& view, CMPIData& data)
{
    const cimxml::Type type = view.type();
    const bool isArray = view.isArray();
    if (view.isNull()) {
        data = CMPIData{interfaceType(type, isArray), CMPI_nullValue, CMPIValue{}};
        return true;
    }
    if (type == cimxml::Type::Reference && !isArray) {
        return readReference(view.reference(), data);
    }
    if (isArray ? !readArray(view, data) : !readText(type, view.text(), data)) {
        return isArray ? false : refuseValue(view.name(), view.text(), type);
    }
    if (view.embedded() != cimxml::Embedded::None) {
        data = withEmbedded(arena(), data);
    }
    return true;
}

// Keys come first. A property of a key's name says more than the path does (its type), unless it
// has no value.
bool Answer::addProperties(const cimxml::InstanceView& view, InstanceObject& instance)
{
    NamedValues& properties = instance.properties;
    const unsigned int keyCount = properties.count;
    bool hasQualifiers = view.hasQualifiers();
    for (const cimxml::PropertyView property : view.properties()) {
        hasQualifiers = hasQualifiers || property.hasQualifiers();
        const std::string_view name = property.name(); // a null character follows it
        NamedValue* key = findKey(properties, keyCount, name.data());
        if (key != nullptr && isSameText(key->data, property)) {
            continue;
        }
        CMPIData data = {};
        if (!readProperty(property, data)) {
            return false;
        }
        if (key == nullptr) {
            properties.append(arena(), intern(name, properties.count), data);
        } else if (!isNullData(data)) {
            key->data = withKeyState(data);
        }
    }
    return !hasQualifiers || addQualifiers(view, instance);
}

bool Answer::addQualifiers(const cimxml::InstanceView& view, InstanceObject& instance)
{
    cimxml::Instance whole;
    std::string problem;
    if (!cimxml::toInstance(view, whole, problem)) {
        return refuse(problem);
    }
    instance.qualifiers = qualifiersFrom(arena(), whole.qualifiers, whole.properties);
    return true;
}

bool Answer::onInstance(const cimxml::InstanceView& view, const cimxml::ObjectPathView& path)
{
    if (!expect(Returns::Instances)) {
        return false;
    }
    auto* instance = makeObject<InstanceObject>(&arena());
    instance->properties.reserve(arena(), mPropertyCount);
    instance->place = sharedPlace(placeOf(view.className(), path));
    if (!path && mRequest != nullptr) {
        instance->properties = mRequest->keys.copyInto(arena());
    }
    if ((path && !addKeys(path, instance->properties)) || !addProperties(view, *instance)) {
        return false;
    }
    mPropertyCount = instance->properties.count;
    CMPIValue value = {};
    value.inst = instance;
    return append(CMPI_instance, value);
}

bool Answer::onPath(const cimxml::ObjectPathView& view)
{
    PathObject* path = nullptr;
    if (!expect(Returns::Paths) || !readPath(view, path)) {
        return false;
    }
    CMPIValue value = {};
    value.ref = path;
    return append(CMPI_ref, value);
}

bool Answer::onClassName(std::string_view name)
{
    if (!expect(Returns::ClassNames)) {
        return false;
    }
    auto* path = makeObject<PathObject>(&arena());
    path->nameSpace = mNameSpace;
    path->className = arena().copy(name);
    CMPIValue value = {};
    value.ref = path;
    return append(CMPI_ref, value);
}

bool Answer::onClass(const cimxml::Class& cls, const cimxml::ObjectPathView& /*path*/)
{
    if (!expect(Returns::Classes)) {
        return false;
    }
    CMPIValue value = {};
    value.cls = classFrom(arena(), cls);
    return append(CMPI_class, value);
}

bool Answer::onValue(const cimxml::Value& value)
{
    if (!expect(Returns::Value)) {
        return false;
    }
    mValue = dataFrom(arena(), value);
    return true;
}

bool Answer::onReturnValue(const cimxml::MethodParameter& value)
{
    if (!expect(Returns::Method)) {
        return false;
    }
    mValue = dataFrom(arena(), value.value, value.embedded);
    return true;
}

bool Answer::onOutput(const cimxml::MethodParameter& output)
{
    mOutputs.append(arena(), arena().copy(output.name),
                    dataFrom(arena(), output.value, output.embedded));
    return true;
}

bool Answer::onError(const cimxml::CimError& error)
{
    if (!mError) {
        mError = error;
    }
    return true;
}

CMPIEnumeration* Answer::takeEnumeration()
{
    return mEnumeration.release();
}

} // namespace cmpisfcc
