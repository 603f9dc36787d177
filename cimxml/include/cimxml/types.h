// What CIM-XML messages carry: types, values, object paths, instances and classes, as owned data.
//
// Names (of classes, properties, keys, methods, qualifiers) keep the case they came in; CIM
// compares them without case, so look them up with find() or equalsIgnoreCase().
//
// Every member has an initializer, so that designated ones may leave any out.
//
// Threads: plain values; nothing static is written.
#ifndef CIMXML_TYPES_H_
#define CIMXML_TYPES_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace cimxml {

enum class Type : std::uint8_t {
    Boolean,
    Char16,
    Uint8,
    Sint8,
    Uint16,
    Sint16,
    Uint32,
    Sint32,
    Uint64,
    Sint64,
    Real32,
    Real64,
    String,
    DateTime,
    Reference
};

// "uint32", "datetime": as it stands in a TYPE attribute.
std::string_view typeName(Type type);
std::optional<Type> typeFromName(std::string_view name); // without case

bool isUnsigned(Type type); // Uint8 to Uint64
bool isSigned(Type type);   // Sint8 to Sint64
bool isReal(Type type);
bool isNumber(Type type); // one of these

// ASCII letters only: CIM names have no other case.
bool equalsIgnoreCase(std::string_view a, std::string_view b);

struct ObjectPath;

// One value, by the kind of its type:
//   Boolean bool; Uint8..Uint64 uint64_t; Sint8..Sint64 int64_t; Real32, Real64 double;
//   Char16 (one character in UTF-8), String, DateTime (its 25 characters) std::string;
//   Reference a path, never a null pointer.
// monostate is null.
using Scalar = std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string,
                            std::shared_ptr<const ObjectPath>>;

bool isNull(const Scalar& scalar);

// The text that VALUE holds for a scalar of this type, before XML escaping: TRUE and FALSE, decimal
// integers, the shortest decimal text that reads back as the same real ("INF", "-INF", "NaN"). Null
// and references give an empty text.
std::string scalarText(Type type, const Scalar& scalar);

// Reads such a text; nothing when it is not one, whole and in range. Booleans in any case; integers
// decimal, hexadecimal ("0x1F", "-0x1F") or binary ("101b"), with a sign where it makes sense ("-0"
// is a fine unsigned zero); reals also as INF, +INF, -INF, NaN in any case; white space around
// booleans and numbers is left aside. Char16 is one character of the Basic Multilingual Plane.
// Strings are taken as they are. References are no text: nothing.
std::optional<Scalar> parseScalar(Type type, std::string_view text);

// Whether these are the 25 characters of a CIM date-time (DSP0004): a point in time
// "yyyymmddhhmmss.mmmmmmsutc" or an interval "ddddddddhhmmss.mmmmmm:000"; asterisks from some field
// on are fine.
bool isDateTime(std::string_view text);

// A value with its type. An array that is null has isNull, an empty one does not.
struct Value
{
    Type type = Type::String;
    bool isArray = false;
    bool isNull = true;                // no VALUE at all
    Scalar scalar = {};                // of a scalar that is not null
    std::vector<Scalar> elements = {}; // of an array; each may be null

    static Value null(Type type, bool isArray = false);
    // Null for a monostate.
    static Value of(Type type, Scalar scalar);
    static Value array(Type type, std::vector<Scalar> elements);
};

// Embedded objects are strings that hold XML.
enum class Embedded : std::uint8_t { None, Object, Instance };

// A key. Without a TYPE attribute the type follows from VALUETYPE: "string" String, "boolean"
// Boolean, "numeric" Uint64, or Sint64 when negative, or Real64 when neither.
struct KeyBinding
{
    std::string name = {}; // empty for a class with one unnamed key
    Type type = Type::String;
    Scalar value = {}; // never null
    // Whether the type came in, or is to go out, as a TYPE attribute.
    bool hasType = false;
};

// Path of an instance, or of a class when it has no keys. Parts that were not given are empty.
struct ObjectPath
{
    std::string host = {};
    std::string nameSpace = {}; // "root/xcim", without slashes around it
    std::string className = {};
    std::vector<KeyBinding> keys = {};

    const KeyBinding* findKey(std::string_view name) const;
};

// Class and keys, "XCIM_Thing.Id=\"a\",Port=1", in the path's order: for messages.
std::string pathText(const ObjectPath& path);

struct Qualifier
{
    std::string name = {};
    Value value = {};
    bool propagated = false;
    // Flavors, with DSP0201's defaults.
    bool overridable = true;
    bool toSubclass = true;
    bool toInstance = false;
    bool translatable = false;
};

struct Property
{
    std::string name = {};
    Value value = {}; // its type is the property's; in a class, the default value
    Embedded embedded = Embedded::None;
    bool propagated = false;
    std::string classOrigin = {};
    std::string referenceClass = {};             // of references; empty: any
    std::optional<std::uint32_t> arraySize = {}; // of arrays of a fixed size
    std::vector<Qualifier> qualifiers = {};
};

struct Instance
{
    std::string className = {};
    std::vector<Property> properties = {};
    std::vector<Qualifier> qualifiers = {};

    const Property* find(std::string_view name) const;
    Property* find(std::string_view name);
};

// An instance and where it is.
struct NamedInstance
{
    ObjectPath path = {};
    Instance instance = {};
};

struct Parameter
{
    std::string name = {};
    Type type = Type::String;
    bool isArray = false;
    std::string referenceClass = {};
    std::optional<std::uint32_t> arraySize = {};
    std::vector<Qualifier> qualifiers = {};
};

struct Method
{
    std::string name = {};
    std::optional<Type> returnType = {}; // none: returns nothing
    bool propagated = false;
    std::string classOrigin = {};
    std::vector<Parameter> parameters = {};
    std::vector<Qualifier> qualifiers = {};

    const Parameter* findParameter(std::string_view parameterName) const;
};

struct Class
{
    std::string name = {};
    std::string superClass = {}; // empty for a root class
    std::vector<Property> properties = {};
    std::vector<Method> methods = {};
    std::vector<Qualifier> qualifiers = {};

    const Property* findProperty(std::string_view propertyName) const;
    const Method* findMethod(std::string_view methodName) const;
};

const Qualifier* findQualifier(const std::vector<Qualifier>& qualifiers, std::string_view name);

// Input or output of a method, and its return value (then without a name).
struct MethodParameter
{
    std::string name = {};
    // String when there was no PARAMTYPE; hasType tells.
    Value value = {};
    bool hasType = true;
    Embedded embedded = Embedded::None;
};

// The CIM status (DSP0200) of a failure that no other is for: CIM_ERR_FAILED.
constexpr unsigned int kCimErrFailed = 1;

// An ERROR element.
struct CimError
{
    // CIM status; what is no such number reads as a general failure.
    unsigned int code = kCimErrFailed;
    std::string description = {};
};

} // namespace cimxml

#endif
