#include "objects.h"
#include "values.h"

namespace cmpisfcc {

namespace {

EnumerationObject& self(CMPIEnumeration* enumeration)
{
    return *static_cast<EnumerationObject*>(enumeration);
}

CMPIEnumeration* cloneEnumeration(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    const EnumerationObject& source = self(enumeration);
    Owned<EnumerationObject> copy = makeOwned<EnumerationObject>();
    copy->elementType = source.elementType;
    ElementLink* next = nullptr;
    for (const ElementLink* element = source.first; element != nullptr; element = element->next) {
        CMPIData data = {};
        (void)copyData(*copy->arena, source.dataOf(element), data);
        copy->append(data);
        next = element == source.next ? copy->last : next;
    }
    copy->next = next;
    succeed(rc);
    return copy.release();
}

CMPIData getNext(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    EnumerationObject& source = self(enumeration);
    succeed(rc);
    const CMPIData data = source.dataOf(source.next);
    if (source.next != nullptr) {
        source.next = source.next->next;
    }
    return data;
}

CMPIBoolean hasNext(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    succeed(rc);
    return self(enumeration).next == nullptr ? 0 : 1;
}

ArrayObject* arrayOf(const EnumerationObject& source)
{
    auto* array = makeObject<ArrayObject>(source.arena);
    array->elementType = source.elementType;
    array->elements = source.arena->createArray<CMPIData>(source.count);
    array->capacity = source.count;
    for (const ElementLink* element = source.first; element != nullptr; element = element->next) {
        array->append(source.dataOf(element));
    }
    return array;
}

CMPIArray* toArray(CMPIEnumeration* enumeration, CMPIStatus* rc)
{
    EnumerationObject& source = self(enumeration);
    if (source.array == nullptr) {
        source.array = arrayOf(source);
    }
    succeed(rc);
    return source.array;
}

} // namespace

void EnumerationObject::append(const CMPIData& objectInArena)
{
    elementType = objectInArena.type;
    auto* element = arena->create<ElementLink>();
    element->object = objectInArena.value.dataPtr.ptr;
    (last == nullptr ? first : last->next) = element;
    last = element;
    next = first;
    ++count;
}

CMPIData EnumerationObject::dataOf(const ElementLink* element) const
{
    CMPIData data = {elementType, CMPI_badValue, CMPIValue{}};
    if (element != nullptr) {
        data.state = CMPI_goodValue;
        data.value.dataPtr.ptr = element->object;
    }
    return data;
}

constexpr CMPIEnumerationFT EnumerationObject::kTable = {
    NATIVE_FT_VERSION,      releaseObject<EnumerationObject>, Guarded<cloneEnumeration>::call,
    Guarded<getNext>::call, Guarded<hasNext>::call,           Guarded<toArray>::call,
};

} // namespace cmpisfcc
