#include "tables.h"
#include "values.h"

#include <algorithm>

namespace cmpisfcc {

namespace {

ArrayObject& self(CMPIArray* array)
{
    return *static_cast<ArrayObject*>(array);
}

CMPICount getSize(CMPIArray* array, CMPIStatus* rc)
{
    succeed(rc);
    return self(array).count;
}

CMPIType getSimpleType(CMPIArray* array, CMPIStatus* rc)
{
    succeed(rc);
    return self(array).elementType;
}

CMPIData getElementAt(CMPIArray* array, CMPICount index, CMPIStatus* rc)
{
    succeed(rc);
    const ArrayObject& source = self(array);
    return index < source.count ? source.elements[index]
                                : CMPIData{source.elementType, CMPI_badValue, CMPIValue{}};
}

CMPIStatus setElementAt(CMPIArray* array, CMPICount index, CMPIValue* value, CMPIType type)
{
    ArrayObject& target = self(array);
    CMPIData data = {};
    if (!takeValue(*target.arena, value, type, CharsAt::Member, data)) {
        return failure(CMPI_RC_ERR_FAILED, "An element cannot be of this type");
    }
    if (data.type != target.elementType) {
        if (type != CMPI_null) {
            return failure(CMPI_RC_ERR_FAILED, "The array's elements are of another type");
        }
        data.type = target.elementType;
    }
    if (index < target.count) {
        target.elements[index] = data;
    } else if (index == target.count && target.canGrow) {
        target.append(data);
    } else {
        return failure(CMPI_RC_ERR_FAILED, "The array has no such element");
    }
    return kSuccess;
}

CMPIArray* makeArray(CMPICount size, CMPIType type, CMPIStatus* rc)
{
    Owned<ArrayObject> array = makeOwned<ArrayObject>();
    const auto element = static_cast<CMPIType>(type & ~CMPI_ARRAY);
    array->elementType = element == CMPI_chars ? static_cast<CMPIType>(CMPI_string) : element;
    array->canGrow = size == 0;
    array->elements = array->arena->createArray<CMPIData>(size);
    array->count = size;
    array->capacity = size;
    std::fill_n(array->elements, size, CMPIData{array->elementType, CMPI_nullValue, CMPIValue{}});
    succeed(rc);
    return array.release();
}

} // namespace

void ArrayObject::append(const CMPIData& dataInArena)
{
    if (count == capacity) {
        const CMPICount larger = std::max(4U, capacity * 2);
        auto* moved = arena->createArray<CMPIData>(larger);
        std::copy_n(elements, count, moved);
        elements = moved;
        capacity = larger;
    }
    elements[count++] = dataInArena;
}

ArrayObject* copyArray(const CMPIArray* array, Arena* arena)
{
    const auto& source = *static_cast<const ArrayObject*>(array);
    Owned<ArrayObject> copy = makeOwned<ArrayObject>(arena);
    copy->elementType = source.elementType;
    copy->canGrow = source.canGrow;
    copy->elements = copy->arena->createArray<CMPIData>(source.count);
    copy->count = source.count;
    copy->capacity = source.count;
    for (CMPICount i = 0; i < source.count; ++i) {
        (void)copyData(*copy->arena, source.elements[i], copy->elements[i]);
    }
    return copy.release();
}

constexpr CMPIArrayFT ArrayObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<ArrayObject>,
    Guarded<cloned<CMPIArray, copyArray>>::call,
    Guarded<getSize>::call,
    Guarded<getSimpleType>::call,
    Guarded<getElementAt>::call,
    Guarded<setElementAt>::call,
};

} // namespace cmpisfcc

extern "C" CMPIArray* native_new_CMPIArray(CMPICount size, CMPIType type, CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeArray>::call(size, type, rc);
}
