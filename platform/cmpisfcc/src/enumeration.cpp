#include "objects.h"

namespace cmpisfcc {

namespace {

EnumerationObject& self(CMPIEnumeration* enumeration)
{
    return *static_cast<EnumerationObject*>(enumeration);
}

CMPIEnumeration* cloneEnumeration(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    Owned<EnumerationObject> copy = makeOwned<EnumerationObject>();
    copy->elements = copyArray(self(enumeration).elements, copy->arena);
    copy->next = self(enumeration).next;
    succeed(rc);
    return copy.release();
}

CMPIData getNext(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    EnumerationObject& source = self(enumeration);
    const CMPIData data = ArrayObject::kTable.getElementAt(source.elements, source.next, rc);
    if (source.next < source.elements->count) {
        ++source.next;
    }
    return data;
}

CMPIBoolean hasNext(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    succeed(rc);
    return self(enumeration).next < self(enumeration).elements->count ? 1 : 0;
}

CMPIArray* toArray(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    succeed(rc);
    return self(enumeration).elements;
}

} // namespace

constexpr CMPIEnumerationFT EnumerationObject::kTable = {
    NATIVE_FT_VERSION,      releaseObject<EnumerationObject>, Guarded<cloneEnumeration>::call,
    Guarded<getNext>::call, Guarded<hasNext>::call,           Guarded<toArray>::call,
};

} // namespace cmpisfcc
