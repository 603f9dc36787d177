// Functions that stand in several of the interface's tables alike.
#ifndef CMPISFCC_TABLES_H_
#define CMPISFCC_TABLES_H_

#include "objects.h"

namespace cmpisfcc {

// A copy that the caller owns; kCopy makes it.
template <typename Public, auto kCopy>
Public* cloned(Public* object, CMPIStatus* rc)
{
    succeed(rc);
    return kCopy(object, nullptr);
}

// Reading what an object holds by name: properties, keys, arguments.
template <typename Object, NamedValues Object::*kValues>
struct Reading
{
    using Public = typename Object::Public;

    static CMPIData get(Public* object, const char* name, CMPIStatus* rc)
    {
        return valuesOf(object).get(name, rc);
    }
    static CMPIData getAt(Public* object, unsigned int index, CMPIString** name, CMPIStatus* rc)
    {
        return valuesOf(object).getAt(index, name, rc);
    }
    static unsigned int count(Public* object, CMPIStatus* rc)
    {
        succeed(rc);
        return valuesOf(object).count;
    }

private:
    static const NamedValues& valuesOf(Public* object)
    {
        return static_cast<const Object*>(object)->*kValues;
    }
};

// Answers carry no qualifiers here, so an object has none, nor has a member of it (a property, a
// method), nor a part of a member (a parameter).
template <typename Public, CMPIrc kCode>
struct NoQualifiers
{
    static CMPIData get(Public* /*object*/, const char* /*name*/, CMPIStatus* rc)
    {
        fail(rc, kCode);
        return noData(CMPI_nullValue | CMPI_notFound);
    }
    static CMPIData getAt(Public* object, unsigned int /*index*/, CMPIString** name, CMPIStatus* rc)
    {
        if (name != nullptr) {
            *name = nullptr;
        }
        return get(object, nullptr, rc);
    }
    static unsigned int count(Public* /*object*/, CMPIStatus* rc)
    {
        succeed(rc);
        return 0;
    }

    static CMPIData getOfMember(Public* object, const char* /*member*/, const char* name,
                                CMPIStatus* rc)
    {
        return get(object, name, rc);
    }
    static CMPIData getOfMemberAt(Public* object, const char* /*member*/, unsigned int index,
                                  CMPIString** name, CMPIStatus* rc)
    {
        return getAt(object, index, name, rc);
    }
    static unsigned int countOfMember(Public* object, const char* /*member*/, CMPIStatus* rc)
    {
        return count(object, rc);
    }
    static CMPIData getOfPart(Public* object, const char* /*member*/, const char* /*part*/,
                              const char* name, CMPIStatus* rc)
    {
        return get(object, name, rc);
    }
};

} // namespace cmpisfcc

#endif
