#include "values.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace cmpisfcc {

namespace {

// Reads no more than the member: callers pass the address of a variable of its size, too.
template <typename Member>
Member readMember(const CMPIValue* value)
{
    Member member;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a pointer is meant where the member is one
    std::memcpy(&member, value, sizeof(Member));
    return member;
}

bool takeNumber(const CMPIValue* value, CMPIType type, CMPIValue& out)
{
    switch (type) {
    case CMPI_boolean:
        out.boolean = readMember<CMPIBoolean>(value) == 0 ? 0 : 1;
        return true;
    case CMPI_uint8:
    case CMPI_sint8:
        out.uint8 = readMember<CMPIUint8>(value);
        return true;
    case CMPI_char16:
    case CMPI_uint16:
    case CMPI_sint16:
        out.uint16 = readMember<CMPIUint16>(value);
        return true;
    // long may have 64 bits, of which the caller has set 32.
    case CMPI_uint32:
        out.uint32 = static_cast<std::uint32_t>(readMember<CMPIUint32>(value));
        return true;
    case CMPI_sint32:
        out.sint32 = static_cast<std::int32_t>(readMember<CMPISint32>(value));
        return true;
    case CMPI_uint64:
    case CMPI_sint64:
    case CMPI_real64:
        out.uint64 = readMember<CMPIUint64>(value);
        return true;
    case CMPI_real32:
        out.real32 = readMember<CMPIReal32>(value);
        return true;
    default:
        return false;
    }
}

bool takeText(Arena& arena, const char* text, CMPIData& out)
{
    out.type = CMPI_string;
    if (text == nullptr) {
        out.state = CMPI_nullValue;
    } else {
        out.value.string = makeString(arena, arena.copy(text));
    }
    return true;
}

// A value that is a pointer to another object.
template <typename Object, typename Copy>
bool takeObject(Arena& arena, const Object* object, Object*& member, CMPIData& out, Copy copy)
{
    if (object == nullptr) {
        out.state = CMPI_nullValue;
    } else {
        member = copy(object, &arena);
    }
    return true;
}

bool takeReferred(Arena& arena, const CMPIValue* value, CMPIData& out)
{
    switch (out.type) {
    case CMPI_string:
        return takeText(arena, charsOf(readMember<CMPIString*>(value)), out);
    case CMPI_dateTime:
        return takeObject(arena, readMember<CMPIDateTime*>(value), out.value.dateTime, out,
                          copyDateTime);
    case CMPI_ref:
        return takeObject(arena, readMember<CMPIObjectPath*>(value), out.value.ref, out, copyPath);
    case CMPI_instance:
        return takeObject(arena, readMember<CMPIInstance*>(value), out.value.inst, out,
                          copyInstance);
    case CMPI_class:
        return takeObject(arena, readMember<CMPIConstClass*>(value), out.value.cls, out, copyClass);
    default:
        return false;
    }
}

// The type that values of this one are kept as.
CMPIType keptType(CMPIType type)
{
    const auto arrayBit = static_cast<CMPIType>(type & CMPI_ARRAY);
    const auto element = static_cast<CMPIType>(type & ~CMPI_ARRAY);
    return element == CMPI_chars ? static_cast<CMPIType>(arrayBit | CMPI_string) : type;
}

template <typename Number>
std::string decimal(Number number)
{
    std::array<char, 32> digits = {};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return std::string(digits.data(), end);
}

// DSP0201 spells these in its own way.
template <typename Real>
std::string realText(Real real)
{
    if (std::isnan(real)) {
        return "NaN";
    }
    if (std::isinf(real)) {
        return real < 0 ? "-INF" : "INF";
    }
    return decimal(real);
}

std::string utf8(CMPIChar16 unit)
{
    const unsigned code = unit >= 0xd800 && unit < 0xe000 ? 0xfffdU : unit; // a lone surrogate
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800) {
        return {static_cast<char>(0xc0 | (code >> 6)), static_cast<char>(0x80 | (code & 0x3f))};
    }
    return {static_cast<char>(0xe0 | (code >> 12)), static_cast<char>(0x80 | ((code >> 6) & 0x3f)),
            static_cast<char>(0x80 | (code & 0x3f))};
}

std::string integerText(CMPIType type, const CMPIValue& value)
{
    switch (type) {
    case CMPI_uint8:
        return decimal(value.uint8);
    case CMPI_uint16:
        return decimal(value.uint16);
    case CMPI_uint32:
        return decimal(static_cast<std::uint32_t>(value.uint32));
    case CMPI_uint64:
        return decimal(value.uint64);
    case CMPI_sint8:
        return decimal(value.sint8);
    case CMPI_sint16:
        return decimal(value.sint16);
    case CMPI_sint32:
        return decimal(static_cast<std::int32_t>(value.sint32));
    case CMPI_sint64:
        return decimal(value.sint64);
    default:
        return "";
    }
}

std::string pathText(CMPIObjectPath* path)
{
    CMPIString* string = path == nullptr ? nullptr : PathObject::kTable.toString(path, nullptr);
    if (string == nullptr) {
        return "";
    }
    std::string text = charsOf(string);
    (void)string->ft->release(string);
    return text;
}

std::string instanceText(CMPIInstance* instance)
{
    const auto* self = static_cast<const InstanceObject*>(instance);
    std::string text = "instance of ";
    text += textOrNone(self->place->className);
    text += " {";
    for (unsigned i = 0; i < self->properties.count; ++i) {
        const NamedValue& property = self->properties.items[i];
        const bool isPlain =
            (property.data.state & CMPI_nullValue) == 0 && (property.data.type & CMPI_ARRAY) == 0;
        text += std::string(i == 0 ? " " : ", ") + property.name + "=";
        text += isPlain ? textOf(property.data.type, property.data.value) : "";
    }
    return text + " }";
}

} // namespace

bool takeValue(Arena& arena, const CMPIValue* value, CMPIType type, CharsAt charsAt, CMPIData& out)
{
    out = CMPIData{keptType(type), CMPI_goodValue, CMPIValue{}};
    if (value == nullptr || type == CMPI_null) {
        out.state = CMPI_nullValue;
        return true;
    }
    if (type == CMPI_chars) {
        return takeText(arena,
                        charsAt == CharsAt::Address ? reinterpret_cast<const char*>(value)
                                                    : readMember<const char*>(value),
                        out);
    }
    if ((type & CMPI_ARRAY) != 0) {
        return takeObject(arena, readMember<CMPIArray*>(value), out.value.array, out, copyArray);
    }
    return takeNumber(value, type, out.value) || takeReferred(arena, value, out);
}

bool copyData(Arena& arena, const CMPIData& data, CMPIData& out)
{
    const bool isNull = (data.state & CMPI_nullValue) != 0;
    if (!takeValue(arena, isNull ? nullptr : &data.value, data.type, CharsAt::Member, out)) {
        return false;
    }
    out.state = static_cast<CMPIValueState>(out.state | data.state);
    return true;
}

std::string textOf(CMPIType type, const CMPIValue& value)
{
    switch (type) {
    case CMPI_boolean:
        return value.boolean != 0 ? "TRUE" : "FALSE";
    case CMPI_char16:
        return utf8(value.char16);
    case CMPI_real32:
        return realText(value.real32);
    case CMPI_real64:
        return realText(value.real64);
    case CMPI_chars:
        return value.chars == nullptr ? "" : value.chars;
    case CMPI_string:
        return charsOf(value.string) == nullptr ? "" : charsOf(value.string);
    case CMPI_dateTime:
        return value.dateTime == nullptr ? "" : static_cast<DateTimeObject*>(value.dateTime)->text;
    case CMPI_ref:
        return pathText(value.ref);
    case CMPI_instance:
        return value.inst == nullptr ? "" : instanceText(value.inst);
    default:
        return integerText(type, value);
    }
}

} // namespace cmpisfcc

extern "C" char* value2Chars(CMPIType type, CMPIValue* value)
{
    if (value == nullptr) {
        return nullptr;
    }
    // The caller frees it with free().
    if (type == CMPI_boolean) {
        return ::strdup(value->boolean != 0 ? "true" : "false");
    }
    try {
        return ::strdup(cmpisfcc::textOf(type, *value).c_str());
    } catch (const std::exception&) {
        return nullptr;
    }
}
