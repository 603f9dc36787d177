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

// What the get functions of tables answer for qualifiers. One that is not found by its name is a
// general failure.
inline CMPIData getQualifierOf(const NamedValues& qualifiers, const char* name, CMPIStatus* rc)
{
    const NamedValue* found = qualifiers.find(name);
    if (found == nullptr) {
        fail(rc, CMPI_RC_ERR_FAILED);
        return noData(CMPI_nullValue);
    }
    succeed(rc);
    return found->data;
}

inline constexpr NamedValues kNoValues = {};

// The qualifiers of an object, and of its properties.
template <typename Object>
struct ReadingQualifiers
{
    using Public = typename Object::Public;

    static CMPIData get(Public* object, const char* name, CMPIStatus* rc)
    {
        return getQualifierOf(own(object), name, rc);
    }
    static CMPIData getAt(Public* object, unsigned int index, CMPIString** name, CMPIStatus* rc)
    {
        return own(object).getAt(index, name, rc);
    }
    static unsigned int count(Public* object, CMPIStatus* rc)
    {
        succeed(rc);
        return own(object).count;
    }

    static CMPIData getOfProperty(Public* object, const char* property, const char* name,
                                  CMPIStatus* rc)
    {
        const NamedValues* qualifiers = ofProperty(object, property, rc);
        return qualifiers == nullptr ? noData(CMPI_nullValue)
                                     : getQualifierOf(*qualifiers, name, rc);
    }
    static CMPIData getOfPropertyAt(Public* object, const char* property, unsigned int index,
                                    CMPIString** name, CMPIStatus* rc)
    {
        if (name != nullptr) {
            *name = nullptr;
        }
        const NamedValues* qualifiers = ofProperty(object, property, rc);
        return qualifiers == nullptr ? noData(CMPI_nullValue) : qualifiers->getAt(index, name, rc);
    }
    static unsigned int countOfProperty(Public* object, const char* property, CMPIStatus* rc)
    {
        const NamedValues* qualifiers = ofProperty(object, property, rc);
        return qualifiers == nullptr ? 0 : qualifiers->count;
    }

private:
    static const NamedValues& own(Public* object)
    {
        const Qualifiers* qualifiers = static_cast<const Object*>(object)->qualifiers;
        return qualifiers == nullptr ? kNoValues : qualifiers->own;
    }
    // Null where there is no such property.
    static const NamedValues* ofProperty(Public* object, const char* property, CMPIStatus* rc)
    {
        const auto& self = *static_cast<const Object*>(object);
        if (self.properties.find(property) == nullptr) {
            fail(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
            return nullptr;
        }
        succeed(rc);
        const NamedValues* found =
            self.qualifiers == nullptr ? nullptr : self.qualifiers->find(property);
        return found == nullptr ? &kNoValues : found;
    }
};

} // namespace cmpisfcc

#endif
