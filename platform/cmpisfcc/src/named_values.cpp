#include "objects.h"
#include "values.h"

#include <cimxml/types.h>

#include <algorithm>

namespace cmpisfcc {

bool sameName(const char* left, const char* right)
{
    return cimxml::equalsIgnoreCase(left, right);
}

NamedValue* NamedValues::find(const char* name) const
{
    if (name == nullptr) {
        return nullptr;
    }
    // Most names differ in their first letter: a filler that reads each property of 10,000
    // instances takes a tenth less time so.
    constexpr unsigned int kCaseBit = 0x20;
    const auto letter = static_cast<unsigned char>(*name) | kCaseBit;
    NamedValue* end = items + count;
    NamedValue* found = std::find_if(items, end, [name, letter](const NamedValue& item) {
        return (static_cast<unsigned char>(*item.name) | kCaseBit) == letter &&
               sameName(item.name, name);
    });
    return found == end ? nullptr : found;
}

void NamedValues::reserve(Arena& arena, unsigned int wanted)
{
    if (wanted <= capacity) {
        return;
    }
    auto* larger = arena.createArray<NamedValue>(wanted);
    std::copy_n(items, count, larger);
    items = larger;
    capacity = wanted;
}

NamedValue* NamedValues::append(Arena& arena, const char* nameInArena, const CMPIData& dataInArena)
{
    if (count == capacity) {
        reserve(arena, std::max(4U, capacity * 2));
    }
    items[count] = NamedValue{nameInArena, dataInArena};
    return &items[count++];
}

CMPIStatus NamedValues::add(Arena& arena, const char* name, const CMPIValue* value, CMPIType type,
                            const char* what)
{
    if (name == nullptr) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER,
                       (std::string(what) + " needs a name").c_str());
    }
    if (find(name) != nullptr) {
        return failure(CMPI_RC_ERR_ALREADY_EXISTS);
    }
    CMPIData data = {};
    if (!takeValue(arena, value, type, CharsAt::Address, data)) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER,
                       (std::string(what) + " cannot be of this type").c_str());
    }
    append(arena, arena.copy(name), data);
    return kSuccess;
}

NamedValues NamedValues::copyInto(Arena& arena) const
{
    NamedValues copy = {};
    copy.reserve(arena, count);
    for (unsigned int i = 0; i < count; ++i) {
        CMPIData data = {};
        (void)copyData(arena, items[i].data, data); // what is here could be kept once already
        copy.append(arena, arena.copy(items[i].name), data);
    }
    return copy;
}

CMPIData NamedValues::get(const char* name, CMPIStatus* rc) const
{
    const NamedValue* found = find(name);
    if (found == nullptr) {
        fail(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
        return noData(CMPI_nullValue);
    }
    succeed(rc);
    return found->data;
}

CMPIData NamedValues::getAt(unsigned int index, CMPIString** name, CMPIStatus* rc) const
{
    if (name != nullptr) {
        *name = nullptr;
    }
    if (index >= count) {
        fail(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
        return noData(CMPI_nullValue);
    }
    if (name != nullptr) {
        *name = newString(items[index].name);
    }
    succeed(rc);
    return items[index].data;
}

const NamedValues* Qualifiers::find(const char* member) const
{
    const MemberQualifiers* begin = members;
    const MemberQualifiers* end = begin + memberCount;
    const MemberQualifiers* found = std::find_if(
        begin, end, [member](const auto& one) { return sameName(one.member, member); });
    return found == end ? nullptr : &found->qualifiers;
}

const Qualifiers* copyQualifiers(const Qualifiers* qualifiers, Arena& arena)
{
    if (qualifiers == nullptr) {
        return nullptr;
    }
    auto* copy = arena.create<Qualifiers>();
    copy->own = qualifiers->own.copyInto(arena);
    copy->members = arena.createArray<MemberQualifiers>(qualifiers->memberCount);
    copy->memberCount = qualifiers->memberCount;
    std::transform(
        qualifiers->members, qualifiers->members + qualifiers->memberCount, copy->members,
        [&arena](const MemberQualifiers& one) {
            return MemberQualifiers{arena.copy(one.member), one.qualifiers.copyInto(arena)};
        });
    return copy;
}

} // namespace cmpisfcc
