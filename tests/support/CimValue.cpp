#include "CimValue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace support {

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): tests are single-threaded
int liveObjects = 0;

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

struct TextObject : CMPIString
{
    std::optional<std::string> text;
};

struct DateTimeObject : CMPIDateTime
{
    std::optional<CMPIUint64> us;
};

struct ArrayObject : CMPIArray
{
    CMPIType elementType = CMPI_null;
    std::vector<CimValue> elements;
};

struct PathObject : CMPIObjectPath
{
    CimMembers keys;
};

struct InstanceObject : CMPIInstance
{
    CimMembers properties;
    CimMembers keys;
};

struct ArgsObject : CMPIArgs
{
    CimMembers arguments;
    std::vector<std::string> names; // of what was added
    std::vector<std::string> added;
};

// Releasing what belongs to another object.
template <typename Object>
CMPIStatus refuseRelease(Object* /*object*/)
{
    ADD_FAILURE() << "released a value that belongs to another object";
    return kOk;
}

template <typename Derived, typename Object>
CMPIStatus release(Object* object)
{
    --liveObjects;
    delete static_cast<Derived*>(object);
    return kOk;
}

template <typename Table, typename Object>
Table borrowedTable(CMPIStatus (*releaseIt)(Object*))
{
    Table table = {};
    table.release = releaseIt;
    return table;
}

CMPIData read(const CimMembers& members, unsigned int index, CMPIString** name, CMPIStatus* rc)
{
    const auto& [memberName, value] = members.at(index);
    if (name != nullptr) {
        *name = memberName.empty() ? nullptr : newCimString(memberName);
    }
    setStatus(rc, value.ReadStatus(), "not to be read");
    return value.Data();
}

CMPIStringFT* textTable(bool isOwned)
{
    static auto borrowed = borrowedTable<CMPIStringFT>(&refuseRelease<CMPIString>);
    static auto owned = borrowedTable<CMPIStringFT>(&release<TextObject, CMPIString>);
    return isOwned ? &owned : &borrowed;
}

CMPIDateTimeFT* dateTimeTable()
{
    static CMPIDateTimeFT table = [] {
        auto made = borrowedTable<CMPIDateTimeFT>(&refuseRelease<CMPIDateTime>);
        made.getBinaryFormat = [](CMPIDateTime* dateTime, CMPIStatus* rc) -> CMPIUint64 {
            const auto& us = static_cast<DateTimeObject*>(dateTime)->us;
            setStatus(rc, us ? CMPI_RC_OK : CMPI_RC_ERR_FAILED, "no time");
            return us.value_or(0);
        };
        return made;
    }();
    return &table;
}

// Sets an element to a copy of a string or of a number.
CMPIStatus setElement(CMPIArray* base, CMPICount index, CMPIValue* value, CMPIType type)
{
    auto* array = static_cast<ArrayObject*>(base);
    if (index >= array->elements.size() || type != array->elementType) {
        ADD_FAILURE() << "element " << index << " of type " << type << " does not fit";
        return {CMPI_RC_ERR_FAILED, nullptr};
    }
    array->elements[index] = type == CMPI_string
                                 ? CimValue::Text(static_cast<const char*>(value->string->hdl))
                                 : CimValue::Number(type, value->uint16);
    return kOk;
}

CMPIArrayFT* arrayTable(bool isOwned)
{
    const auto make = [](CMPIStatus (*releaseIt)(CMPIArray*)) {
        auto made = borrowedTable<CMPIArrayFT>(releaseIt);
        made.getSize = [](CMPIArray* array, CMPIStatus* rc) {
            setStatus(rc, CMPI_RC_OK);
            return static_cast<CMPICount>(static_cast<ArrayObject*>(array)->elements.size());
        };
        made.getElementAt = [](CMPIArray* array, CMPICount index, CMPIStatus* rc) {
            const CimValue& element = static_cast<ArrayObject*>(array)->elements.at(index);
            setStatus(rc, element.ReadStatus(), "no element");
            return element.Data();
        };
        made.setElementAt = &setElement;
        return made;
    };
    static CMPIArrayFT borrowed = make(&refuseRelease<CMPIArray>);
    static CMPIArrayFT owned = make(&release<ArrayObject, CMPIArray>);
    return isOwned ? &owned : &borrowed;
}

CMPIObjectPathFT* pathTable(bool isOwned)
{
    const auto make = [](CMPIStatus (*releaseIt)(CMPIObjectPath*)) {
        auto made = borrowedTable<CMPIObjectPathFT>(releaseIt);
        made.getKeyCount = [](CMPIObjectPath* path, CMPIStatus* rc) {
            setStatus(rc, CMPI_RC_OK);
            return static_cast<unsigned int>(static_cast<PathObject*>(path)->keys.size());
        };
        made.getKeyAt = [](CMPIObjectPath* path, unsigned int index, CMPIString** name,
                           CMPIStatus* rc) {
            const CimMembers& keys = static_cast<PathObject*>(path)->keys;
            if (index >= keys.size()) {
                setStatus(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY, "no key");
                return CMPIData{CMPI_null, CMPI_nullValue, {}};
            }
            return read(keys, index, name, rc);
        };
        return made;
    };
    static CMPIObjectPathFT borrowed = make(&refuseRelease<CMPIObjectPath>);
    static CMPIObjectPathFT owned = make(&release<PathObject, CMPIObjectPath>);
    return isOwned ? &owned : &borrowed;
}

CMPIData propertyOf(CMPIInstance* instance, const char* name, CMPIStatus* rc)
{
    for (const auto& [property, value] : static_cast<InstanceObject*>(instance)->properties) {
        if (property == name) {
            setStatus(rc, CMPI_RC_OK);
            return value.Data();
        }
    }
    setStatus(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY, "no such property");
    return {CMPI_null, CMPI_nullValue, {}};
}

CMPIInstanceFT* instanceTable()
{
    static CMPIInstanceFT table = [] {
        auto made = borrowedTable<CMPIInstanceFT>(&release<InstanceObject, CMPIInstance>);
        made.getProperty = &propertyOf;
        made.getObjectPath = [](CMPIInstance* instance, CMPIStatus* rc) -> CMPIObjectPath* {
            const CimMembers& keys = static_cast<InstanceObject*>(instance)->keys;
            if (keys.size() == 1 && keys[0].second.ReadStatus() != CMPI_RC_OK) {
                setStatus(rc, keys[0].second.ReadStatus(), "no path");
                return nullptr;
            }
            setStatus(rc, CMPI_RC_OK);
            return newCimPath(keys);
        };
        return made;
    }();
    return &table;
}

std::string quoted(const char* text)
{
    return '"' + std::string(text) + '"';
}

std::string described(const ArrayObject& array)
{
    std::string text;
    for (const CimValue& element : array.elements) {
        const CMPIData data = element.Data();
        text += text.empty() ? "" : ", ";
        if (data.state == CMPI_nullValue) {
            text += "null";
        } else if (data.type == CMPI_string) {
            text += quoted(static_cast<const char*>(data.value.string->hdl));
        } else {
            text += std::to_string(data.value.uint16);
        }
    }
    return "[" + text + "]";
}

std::string described(CMPIObjectPath* path)
{
    CMPIString* text = path->ft->toString(path, nullptr);
    std::string copy = static_cast<const char*>(text->hdl);
    (void)text->ft->release(text);
    return copy;
}

// What a value is as an argument.
std::string described(const CMPIValue* value, CMPIType type)
{
    if (type == CMPI_chars) {
        return "chars " + quoted(reinterpret_cast<const char*>(value));
    }
    if (type == CMPI_ref) {
        return "ref " + described(value->ref);
    }
    if (type != CMPI_stringA && type != CMPI_uint16A) {
        ADD_FAILURE() << "argument of type " << type;
        return "?";
    }
    const auto* array = static_cast<const ArrayObject*>(value->array);
    EXPECT_EQ(array->elementType | CMPI_ARRAY, type) << "another type than the array's";
    return (type == CMPI_stringA ? "stringA " : "uint16A ") + described(*array);
}

// A name that is there already is refused, as clients do.
CMPIStatus addArgument(CMPIArgs* base, const char* name, CMPIValue* value, CMPIType type)
{
    auto* args = static_cast<ArgsObject*>(base);
    if (std::find(args->names.begin(), args->names.end(), name) != args->names.end()) {
        CMPIStatus refused = kOk;
        setStatus(&refused, CMPI_RC_ERR_ALREADY_EXISTS, "exists");
        return refused;
    }
    args->names.emplace_back(name);
    args->added.push_back(std::string(name) + " " + described(value, type));
    return kOk;
}

CMPIArgsFT* argsTable()
{
    static CMPIArgsFT table = [] {
        auto made = borrowedTable<CMPIArgsFT>(&release<ArgsObject, CMPIArgs>);
        made.getArgCount = [](CMPIArgs* args, CMPIStatus* rc) {
            setStatus(rc, CMPI_RC_OK);
            return static_cast<unsigned int>(static_cast<ArgsObject*>(args)->arguments.size());
        };
        made.getArgAt = [](CMPIArgs* args, unsigned int index, CMPIString** name, CMPIStatus* rc) {
            return read(static_cast<ArgsObject*>(args)->arguments, index, name, rc);
        };
        made.addArg = &addArgument;
        return made;
    }();
    return &table;
}

TextObject* newText(const std::optional<std::string>& text, CMPIStringFT* table)
{
    auto* object = new TextObject();
    object->text = text;
    object->hdl = text ? object->text->data() : nullptr;
    object->ft = table;
    return object;
}

} // namespace

CimValue CimValue::Number(CMPIType type, long long value)
{
    CimValue made;
    made.mData.type = type;
    made.mData.value.sint64 = -1;
    switch (type) {
    case CMPI_boolean:
        made.mData.value.boolean = static_cast<CMPIBoolean>(value);
        break;
    case CMPI_uint8:
    case CMPI_sint8:
        made.mData.value.sint8 = static_cast<CMPISint8>(value);
        break;
    case CMPI_char16:
    case CMPI_uint16:
    case CMPI_sint16:
        made.mData.value.sint16 = static_cast<CMPISint16>(value);
        break;
    case CMPI_uint32:
    case CMPI_sint32: {
        const auto low = static_cast<int32_t>(value);
        std::memcpy(&made.mData.value, &low, sizeof low);
        break;
    }
    default:
        made.mData.value.sint64 = value;
    }
    return made;
}

CimValue CimValue::Real32(float value)
{
    CimValue made;
    made.mData.type = CMPI_real32;
    made.mData.value.real32 = value;
    return made;
}

CimValue CimValue::Real64(double value)
{
    CimValue made;
    made.mData.type = CMPI_real64;
    made.mData.value.real64 = value;
    return made;
}

CimValue CimValue::Text(const std::optional<std::string>& text, CMPIType type)
{
    CimValue made;
    auto object = std::shared_ptr<TextObject>(newText(text, textTable(false)));
    made.mData.type = type;
    made.mData.value.string = object.get();
    made.mObject = object;
    return made;
}

CimValue CimValue::Chars(const std::string& text)
{
    CimValue made;
    auto object = std::make_shared<std::string>(text);
    made.mData.type = CMPI_chars;
    made.mData.value.chars = object->data();
    made.mObject = object;
    return made;
}

CimValue CimValue::DateTime(const std::optional<CMPIUint64>& us)
{
    CimValue made;
    auto object = std::make_shared<DateTimeObject>();
    object->us = us;
    object->ft = dateTimeTable();
    made.mData.type = CMPI_dateTime;
    made.mData.value.dateTime = object.get();
    made.mObject = object;
    return made;
}

CimValue CimValue::Null(CMPIType type, CMPIValueState state)
{
    CimValue made;
    made.mData.type = type;
    made.mData.state = state;
    return made;
}

CimValue CimValue::Array(CMPIType elementType, std::vector<CimValue> elements)
{
    CimValue made;
    auto object = std::make_shared<ArrayObject>();
    object->elements = std::move(elements);
    object->ft = arrayTable(false);
    made.mData.type = static_cast<CMPIType>(elementType | CMPI_ARRAY);
    made.mData.value.array = object.get();
    made.mObject = object;
    return made;
}

CimValue CimValue::Reference(CimMembers keys)
{
    CimValue made;
    auto object = std::make_shared<PathObject>();
    object->keys = std::move(keys);
    object->ft = pathTable(false);
    made.mData.type = CMPI_ref;
    made.mData.value.ref = object.get();
    made.mObject = object;
    return made;
}

CimValue CimValue::Unreadable()
{
    CimValue made = Null(CMPI_null, CMPI_badValue);
    made.mReadStatus = CMPI_RC_ERR_FAILED;
    return made;
}

CMPIString* newCimString(const std::string& text)
{
    ++liveObjects;
    return newText(text, textTable(true));
}

CMPIInstance* newCimInstance(CimMembers properties, CimMembers keys)
{
    auto* object = new InstanceObject();
    object->ft = instanceTable();
    object->properties = std::move(properties);
    object->keys = std::move(keys);
    ++liveObjects;
    return object;
}

CMPIObjectPath* newCimPath(CimMembers keys)
{
    auto* object = new PathObject();
    object->ft = pathTable(true);
    object->keys = std::move(keys);
    ++liveObjects;
    return object;
}

CMPIArgs* newCimArgs(CimMembers arguments)
{
    auto* object = new ArgsObject();
    object->ft = argsTable();
    object->arguments = std::move(arguments);
    ++liveObjects;
    return object;
}

CMPIArray* newCimArray(CMPICount size, CMPIType elementType)
{
    auto* object = new ArrayObject();
    object->ft = arrayTable(true);
    object->elementType = elementType;
    object->elements.assign(size, CimValue::Null(elementType));
    ++liveObjects;
    return object;
}

const std::vector<std::string>& addedArguments(CMPIArgs* args)
{
    return static_cast<ArgsObject*>(args)->added;
}

void fillCimArgs(CMPIArgs* args, CimMembers arguments)
{
    static_cast<ArgsObject*>(args)->arguments = std::move(arguments);
}

int liveCimObjects()
{
    return liveObjects;
}

void setStatus(CMPIStatus* status, CMPIrc code, const char* text)
{
    if (status != nullptr) {
        status->rc = code;
        status->msg =
            code == CMPI_RC_OK || text == nullptr ? nullptr : newCimString(std::string(text));
    }
}

} // namespace support
