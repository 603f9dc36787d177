#include "value_reading.h"

#include "date_time.h"
#include "values.h"

#include <charconv>
#include <string>

namespace cmpisfcc {

namespace {

using cimxml::Type;

constexpr CMPIType kTypes[] = {CMPI_boolean, CMPI_char16, CMPI_uint8,  CMPI_sint8,    CMPI_uint16,
                               CMPI_sint16,  CMPI_uint32, CMPI_sint32, CMPI_uint64,   CMPI_sint64,
                               CMPI_real32,  CMPI_real64, CMPI_string, CMPI_dateTime, CMPI_ref};
static_assert(std::size(kTypes) == static_cast<std::size_t>(Type::Reference) + 1);

// The one UTF-16 unit that a text of one character stands for.
CMPIChar16 utf16Unit(std::string_view utf8)
{
    const auto bits = [utf8](std::size_t at, unsigned mask) {
        return static_cast<unsigned char>(utf8[at]) & mask;
    };
    switch (utf8.size()) {
    case 1:
        return static_cast<CMPIChar16>(bits(0, 0x7fU));
    case 2:
        return static_cast<CMPIChar16>(bits(0, 0x1fU) << 6U | bits(1, 0x3fU));
    case 3:
        return static_cast<CMPIChar16>(bits(0, 0x0fU) << 12U | bits(1, 0x3fU) << 6U |
                                       bits(2, 0x3fU));
    default:
        return 0;
    }
}

void setUnsigned(Type type, std::uint64_t number, CMPIValue& value)
{
    switch (type) {
    case Type::Uint8:
        value.uint8 = static_cast<CMPIUint8>(number);
        break;
    case Type::Uint16:
        value.uint16 = static_cast<CMPIUint16>(number);
        break;
    case Type::Uint32:
        value.uint32 = static_cast<CMPIUint32>(number);
        break;
    default:
        value.uint64 = number;
    }
}

void setSigned(Type type, std::int64_t number, CMPIValue& value)
{
    switch (type) {
    case Type::Sint8:
        value.sint8 = static_cast<CMPISint8>(number);
        break;
    case Type::Sint16:
        value.sint16 = static_cast<CMPISint16>(number);
        break;
    case Type::Sint32:
        value.sint32 = static_cast<CMPISint32>(number);
        break;
    default:
        value.sint64 = number;
    }
}

void setText(Arena& arena, Type type, const std::string& text, CMPIValue& value)
{
    if (type == Type::Char16) {
        value.char16 = utf16Unit(text);
    } else if (type == Type::DateTime) {
        value.dateTime = makeDateTime(text, &arena);
    } else {
        value.string = makeString(arena, arena.copy(text));
    }
}

PathObject* pathFrom(Arena& arena, const cimxml::ObjectPath& path)
{
    const auto copyUnlessEmpty = [&arena](const std::string& text) {
        return text.empty() ? nullptr : arena.copy(text);
    };
    auto* object = makeObject<PathObject>(&arena);
    object->host = copyUnlessEmpty(path.host);
    object->nameSpace = copyUnlessEmpty(path.nameSpace);
    object->className = arena.copy(path.className);
    for (const cimxml::KeyBinding& key : path.keys) {
        CMPIData data = dataFrom(arena, cimxml::Value::of(key.type, key.value));
        data.state = static_cast<CMPIValueState>(data.state | CMPI_keyValue);
        object->keys.append(arena, arena.copy(key.name), data);
    }
    return object;
}

CMPIData scalarFrom(Arena& arena, Type type, const cimxml::Scalar& scalar)
{
    CMPIData data = {interfaceType(type, false), CMPI_goodValue, CMPIValue{}};
    if (cimxml::isNull(scalar)) {
        data.state = CMPI_nullValue;
    } else if (const auto* truth = std::get_if<bool>(&scalar)) {
        data.value.boolean = *truth ? 1 : 0;
    } else if (const auto* natural = std::get_if<std::uint64_t>(&scalar)) {
        setUnsigned(type, *natural, data.value);
    } else if (const auto* integer = std::get_if<std::int64_t>(&scalar)) {
        setSigned(type, *integer, data.value);
    } else if (const auto* real = std::get_if<double>(&scalar)) {
        if (type == Type::Real32) {
            data.value.real32 = static_cast<CMPIReal32>(*real);
        } else {
            data.value.real64 = *real;
        }
    } else if (const auto* text = std::get_if<std::string>(&scalar)) {
        setText(arena, type, *text, data.value);
    } else {
        const auto& path = std::get<std::shared_ptr<const cimxml::ObjectPath>>(scalar);
        data.value.ref = pathFrom(arena, *path);
    }
    return data;
}

// Decimal digits alone, as nearly all numbers come.
template <typename Number>
bool readDecimal(std::string_view text, Number& number)
{
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

template <typename Narrow, typename Member>
bool readInteger(std::string_view text, Member& member)
{
    Narrow number = 0;
    if (!readDecimal(text, number)) {
        return false;
    }
    member = number;
    return true;
}

bool readPlainNumber(Type type, std::string_view text, CMPIValue& value)
{
    switch (type) {
    case Type::Uint8:
        return readInteger<std::uint8_t>(text, value.uint8);
    case Type::Uint16:
        return readInteger<std::uint16_t>(text, value.uint16);
    case Type::Uint32:
        return readInteger<std::uint32_t>(text, value.uint32);
    case Type::Uint64:
        return readInteger<std::uint64_t>(text, value.uint64);
    case Type::Sint8:
        return readInteger<std::int8_t>(text, value.sint8);
    case Type::Sint16:
        return readInteger<std::int16_t>(text, value.sint16);
    case Type::Sint32:
        return readInteger<std::int32_t>(text, value.sint32);
    case Type::Sint64:
        return readInteger<std::int64_t>(text, value.sint64);
    default:
        return false;
    }
}

} // namespace

CMPIType interfaceType(Type type, bool isArray)
{
    const CMPIType element = kTypes[static_cast<std::size_t>(type)];
    return isArray ? static_cast<CMPIType>(element | CMPI_ARRAY) : element;
}

bool readScalar(Arena& arena, Type type, std::string_view text, CMPIData& data)
{
    data = CMPIData{interfaceType(type, false), CMPI_goodValue, CMPIValue{}};
    if (type == Type::String) {
        data.value.string = makeString(arena, arena.copy(text));
        return true;
    }
    if (type == Type::DateTime) {
        if (!isDateTime(text)) {
            return false;
        }
        data.value.dateTime = makeDateTime(text, &arena);
        return true;
    }
    if (readPlainNumber(type, text, data.value)) {
        return true;
    }
    const auto scalar = cimxml::parseScalar(type, text);
    if (!scalar) {
        return false;
    }
    data = scalarFrom(arena, type, *scalar);
    return true;
}

CMPIData dataFrom(Arena& arena, const cimxml::Value& value)
{
    CMPIData data = {interfaceType(value.type, value.isArray), CMPI_nullValue, CMPIValue{}};
    if (value.isNull) {
        return data;
    }
    if (!value.isArray) {
        return scalarFrom(arena, value.type, value.scalar);
    }
    auto* array = makeObject<ArrayObject>(&arena);
    array->elementType = interfaceType(value.type, false);
    for (const cimxml::Scalar& element : value.elements) {
        array->append(scalarFrom(arena, value.type, element));
    }
    data.state = CMPI_goodValue;
    data.value.array = array;
    return data;
}

CMPIData ownedCopy(const CMPIData& data)
{
    CMPIData copy = data;
    if ((data.state & CMPI_nullValue) != 0) {
        return copy;
    }
    if ((data.type & CMPI_ARRAY) != 0) {
        copy.value.array = copyArray(data.value.array, nullptr);
    } else if (data.type == CMPI_string) {
        copy.value.string = newString(charsOf(data.value.string));
    } else if (data.type == CMPI_dateTime) {
        copy.value.dateTime = copyDateTime(data.value.dateTime, nullptr);
    } else if (data.type == CMPI_ref) {
        copy.value.ref = copyPath(data.value.ref, nullptr);
    } else if (data.type == CMPI_instance) {
        copy.value.inst = copyInstance(data.value.inst, nullptr);
    } else if (data.type == CMPI_class) {
        copy.value.cls = copyClass(data.value.cls, nullptr);
    }
    return copy;
}

} // namespace cmpisfcc
