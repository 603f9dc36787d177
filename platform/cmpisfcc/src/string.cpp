#include "objects.h"

#include <cstring>
#include <new>

namespace cmpisfcc {

namespace {

// A string that is owned is one allocation, its text right behind it.
CMPIStatus releaseString(CMPIString* string)
{
    ::operator delete(string);
    return kSuccess;
}

CMPIStatus keepString(CMPIString* /*string*/)
{
    return kSuccess;
}

CMPIString* cloneString(CMPIString* string, CMPIStatus* rc)
{
    succeed(rc);
    return newString(charsOf(string));
}

char* getCharPtr(CMPIString* string, CMPIStatus* rc)
{
    succeed(rc);
    return static_cast<char*>(string->hdl);
}

constexpr CMPIStringFT kOwnedTable = {NATIVE_FT_VERSION, releaseString, Guarded<cloneString>::call,
                                      getCharPtr};
constexpr CMPIStringFT kPartTable = {NATIVE_FT_VERSION, keepString, Guarded<cloneString>::call,
                                     getCharPtr};

CMPIString* newTextless()
{
    void* memory = ::operator new(sizeof(CMPIString));
    return ::new (memory) CMPIString{nullptr, const_cast<CMPIStringFT*>(&kOwnedTable)};
}

CMPIString* makeOwnedString(const char* text, CMPIStatus* rc)
{
    succeed(rc);
    return newString(text);
}

} // namespace

CMPIString* newString(std::string_view text)
{
    char* memory = static_cast<char*>(::operator new(sizeof(CMPIString) + text.size() + 1));
    char* chars = memory + sizeof(CMPIString);
    std::memcpy(chars, text.data(), text.size());
    chars[text.size()] = '\0';
    return ::new (memory) CMPIString{chars, const_cast<CMPIStringFT*>(&kOwnedTable)};
}

CMPIString* newString(const char* text)
{
    return text == nullptr ? newTextless() : newString(std::string_view(text));
}

CMPIString* makeString(Arena& arena, char* textInArena)
{
    void* memory = arena.allocate(sizeof(CMPIString), alignof(CMPIString));
    return ::new (memory) CMPIString{textInArena, const_cast<CMPIStringFT*>(&kPartTable)};
}

} // namespace cmpisfcc

extern "C" CMPIString* native_new_CMPIString(const char* text, CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeOwnedString>::call(text, rc);
}
