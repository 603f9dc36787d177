// The objects behind the function tables.
//
// Every object lives in an arena. One that a caller owns is the root of its arena, and releasing it
// frees the arena; all others are parts of what they are in, and releasing them does nothing.
#ifndef CMPISFCC_OBJECTS_H_
#define CMPISFCC_OBJECTS_H_

#include "arena.h"
#include "status.h"

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace cmpisfcc {

// A pair of name and value: a key, a property, an argument.
struct NamedValue
{
    const char* name;
    CMPIData data;
};

// Named values in the order in which they came.
struct NamedValues
{
    NamedValue* items;
    unsigned int count;
    unsigned int capacity;

    [[nodiscard]] NamedValue* find(const char* name) const;
    NamedValue* append(Arena& arena, const char* nameInArena, const CMPIData& dataInArena);
    void reserve(Arena& arena, unsigned int wanted);
    // Adds what a caller gives, unless there is one of this name. what  "A key", for messages.
    CMPIStatus add(Arena& arena, const char* name, const CMPIValue* value, CMPIType type,
                   const char* what);
    // Deep copies into the arena.
    [[nodiscard]] NamedValues copyInto(Arena& arena) const;

    // What the get functions of tables answer.
    CMPIData get(const char* name, CMPIStatus* rc) const;
    CMPIData getAt(unsigned int index, CMPIString** name, CMPIStatus* rc) const;
};

// The qualifiers of a member: a property.
struct MemberQualifiers
{
    const char* member;
    NamedValues qualifiers;
};

// The qualifiers of an object and of its properties. Objects have none, as a rule: they come with a
// class, and with instances only when they are asked for.
struct Qualifiers
{
    NamedValues own;
    MemberQualifiers* members; // those properties that have any
    unsigned int memberCount;

    [[nodiscard]] const NamedValues* find(const char* member) const;
};

// Deep copy; null stays null.
const Qualifiers* copyQualifiers(const Qualifiers* qualifiers, Arena& arena);

template <typename Interface>
struct Held : Interface
{
    using Public = Interface;
    Arena* arena;
};

// Where an object is and of which class it is; null where that is not known.
struct Place
{
    const char* host;
    const char* nameSpace;
    const char* className;

    [[nodiscard]] Place copyInto(Arena& arena) const
    {
        return {arena.copy(host), arena.copy(nameSpace), arena.copy(className)};
    }
    // The same texts: those of one arena, where they are there once.
    bool operator==(const Place&) const = default;
};

struct PathObject : Held<CMPIObjectPath>, Place
{
    static constexpr const char* kTypeName = "CMPIObjectPath";
    static constexpr std::size_t kFirstBytes = 400;
    static const CMPIObjectPathFT kTable;
    NamedValues keys;
};

// An instance has no path of its own: its keys are those properties whose state says so. The
// instances of an enumeration are of a few classes, so that they share their places.
struct InstanceObject : Held<CMPIInstance>
{
    static constexpr const char* kTypeName = "CMPIInstance";
    static constexpr std::size_t kFirstBytes = 1000;
    static const CMPIInstanceFT kTable;
    const Place* place;
    NamedValues properties;
    const Qualifiers* qualifiers; // null for none
    const char* const* filter;    // names that may be set, ends with null; null: all
};

struct ArgsObject : Held<CMPIArgs>
{
    static constexpr const char* kTypeName = "CMPIArgs";
    static constexpr std::size_t kFirstBytes = 400;
    static const CMPIArgsFT kTable;
    NamedValues arguments;
};

struct ArrayObject : Held<CMPIArray>
{
    static constexpr const char* kTypeName = "CMPIArray";
    static constexpr std::size_t kFirstBytes = 400;
    static const CMPIArrayFT kTable;
    CMPIType elementType;
    bool canGrow;
    CMPICount count;
    CMPICount capacity;
    CMPIData* elements;

    void append(const CMPIData& dataInArena);
};

// An element of an enumeration, and the one behind it; null for the last.
struct ElementLink
{
    void* object;
    ElementLink* next;
};

// The elements, all of one type, in the order in which they came. They become an array only where
// one is asked for: whoever walks through thousands of them does not need it.
struct EnumerationObject : Held<CMPIEnumeration>
{
    static constexpr const char* kTypeName = "CMPIEnumeration";
    static constexpr std::size_t kFirstBytes = 1000;
    static const CMPIEnumerationFT kTable;
    CMPIType elementType;
    CMPICount count;
    ElementLink* first;
    ElementLink* last;
    ElementLink* next;  // what getNext gives; null at the end
    ArrayObject* array; // null until asked for

    void append(const CMPIData& objectInArena);
    // The element; past the end, where it is null, a bad value.
    [[nodiscard]] CMPIData dataOf(const ElementLink* element) const;
};

struct DateTimeObject : Held<CMPIDateTime>
{
    static constexpr const char* kTypeName = "CMPIDateTime";
    static constexpr std::size_t kFirstBytes = 64;
    static const CMPIDateTimeFT kTable;
    char text[26];
};

struct MethodDeclaration
{
    const char* name;
    CMPIType returnType;
    NamedValues parameters; // null values of the parameters' types
    NamedValues qualifiers;
};

struct ClassObject : Held<CMPIConstClass>
{
    static constexpr const char* kTypeName = "CMPIConstClass";
    static constexpr std::size_t kFirstBytes = 2000;
    static const CMPIConstClassFT kTable;
    const char* className;
    const char* xml; // that an embedded class came as, to be sent as; null for others
    NamedValues properties;
    const Qualifiers* qualifiers; // null for none
    MethodDeclaration* methods;
    unsigned int methodCount;
};

// A part of what lives in the arena, or, without one, an object with an arena of its own.
template <typename Object>
Object* makeObject(Arena* arena)
{
    static_assert(std::is_trivially_destructible_v<Object>);
    const bool isRoot = arena == nullptr;
    if (isRoot) {
        arena = Arena::make(sizeof(Object) + Object::kFirstBytes);
    }
    auto* object = arena->create<Object>();
    object->hdl = const_cast<char*>(Object::kTypeName);
    // The tables are constants; the interface just does not say so.
    object->ft = const_cast<std::remove_const_t<decltype(Object::kTable)>*>(&Object::kTable);
    object->arena = arena;
    if (isRoot) {
        arena->setRoot(object);
    }
    return object;
}

template <typename Object>
CMPIStatus releaseObject(typename Object::Public* object)
{
    auto* self = static_cast<Object*>(object);
    if (self->arena->isRoot(self)) {
        Arena::destroy(self->arena);
    }
    return kSuccess;
}

struct Releaser
{
    template <typename Object>
    void operator()(Object* object) const
    {
        (void)releaseObject<Object>(object);
    }
};

// An object while it is being made.
template <typename Object>
using Owned = std::unique_ptr<Object, Releaser>;

template <typename Object>
Owned<Object> makeOwned(Arena* arena = nullptr)
{
    return Owned<Object>(makeObject<Object>(arena));
}

// Deep copies; into the arena, or on their own without one.
PathObject* copyPath(const CMPIObjectPath* path, Arena* arena);
InstanceObject* copyInstance(const CMPIInstance* instance, Arena* arena);
ArrayObject* copyArray(const CMPIArray* array, Arena* arena);
DateTimeObject* copyDateTime(const CMPIDateTime* dateTime, Arena* arena);
ClassObject* copyClass(const CMPIConstClass* cls, Arena* arena);

// A string that is part of what lives in the arena. Its text is taken over as it is.
CMPIString* makeString(Arena& arena, char* textInArena);

// Text that the caller owns; null stays null.
CMPIString* newString(const char* text);
CMPIString* newString(std::string_view text);

// The text of a string; null where there is none.
inline const char* charsOf(const CMPIString* string)
{
    return string == nullptr ? nullptr : static_cast<const char*>(string->hdl);
}

// Names compare without regard to (ASCII) case.
bool sameName(const char* left, const char* right);

inline std::string textOrNone(const char* text)
{
    return text == nullptr ? "" : text;
}

} // namespace cmpisfcc

#endif
