#include "Owner.h"
#include "objects.h"

#include <gtest/gtest.h>

namespace {

// Two paths, as an operation would return them.
Owner<CMPIEnumeration> makeEnumeration()
{
    auto enumeration = cmpisfcc::makeOwned<cmpisfcc::EnumerationObject>();
    cmpisfcc::Arena* arena = enumeration->arena;
    for (const char* name : {"A", "B"}) {
        auto* path = cmpisfcc::makeObject<cmpisfcc::PathObject>(arena);
        path->className = arena->copy(name);
        CMPIData data = {CMPI_ref, CMPI_goodValue, {}};
        data.value.ref = path;
        enumeration->append(data);
    }
    return own(static_cast<CMPIEnumeration*>(enumeration.release()));
}

TEST(Enumeration, IsWalkedOnce)
{
    const auto enumeration = makeEnumeration();
    std::string names;
    Status status;
    while (CMHasNext(enumeration.get(), status.out()) != 0) {
        CMPIObjectPath* path = CMGetNext(enumeration.get(), nullptr).value.ref;
        names += taken(CMGetClassName(path, nullptr));
    }
    EXPECT_EQ(names, "AB");
    const CMPIData data = CMGetNext(enumeration.get(), status.out());
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(data.state, CMPI_badValue);
}

TEST(Enumeration, ItsArrayHasAllElementsAndMovesNothing)
{
    const auto enumeration = makeEnumeration();
    CMPIArray* array = CMToArray(enumeration.get(), nullptr);
    EXPECT_EQ(array, CMToArray(enumeration.get(), nullptr));
    EXPECT_EQ(CMGetArrayCount(array, nullptr), 2U);
    EXPECT_EQ(CMGetNext(enumeration.get(), nullptr).value.ref,
              CMGetArrayElementAt(array, 0, nullptr).value.ref);
}

TEST(Enumeration, ItsCloneIsWhereItIs)
{
    const auto enumeration = makeEnumeration();
    (void)CMGetNext(enumeration.get(), nullptr);
    const auto within = own(CMClone(enumeration.get(), nullptr));
    CMPIObjectPath* path = CMGetNext(within.get(), nullptr).value.ref;
    EXPECT_EQ(taken(CMGetClassName(path, nullptr)), "B");
    EXPECT_EQ(CMHasNext(within.get(), nullptr), 0);
    const auto walked = own(CMClone(within.get(), nullptr));
    EXPECT_EQ(CMHasNext(walked.get(), nullptr), 0);
    EXPECT_EQ(CMHasNext(enumeration.get(), nullptr), 1);
}

TEST(Enumeration, ElementsStayWhereTheyAreHoweverTheyAreAskedFor)
{
    const auto enumeration = makeEnumeration();
    CMPIObjectPath* first = CMGetNext(enumeration.get(), nullptr).value.ref;
    CMPIObjectPath* second = CMGetNext(enumeration.get(), nullptr).value.ref;
    CMPIArray* array = CMToArray(enumeration.get(), nullptr);
    EXPECT_EQ(CMGetArrayElementAt(array, 0, nullptr).value.ref, first);
    EXPECT_EQ(CMGetArrayElementAt(array, 1, nullptr).value.ref, second);
    EXPECT_EQ(taken(CMGetClassName(first, nullptr)), "A");
}

TEST(Enumeration, WithoutElementsItHasAnEmptyArray)
{
    const auto none = own(static_cast<CMPIEnumeration*>(
        cmpisfcc::makeOwned<cmpisfcc::EnumerationObject>().release()));
    EXPECT_EQ(CMHasNext(none.get(), nullptr), 0);
    EXPECT_EQ(CMGetNext(none.get(), nullptr).state, CMPI_badValue);
    EXPECT_EQ(CMGetArrayCount(CMToArray(none.get(), nullptr), nullptr), 0U);
}

TEST(Enumeration, AClonedElementOutlivesIt)
{
    auto enumeration = makeEnumeration();
    const auto clone = own(CMClone(enumeration.get(), nullptr));
    CMPIObjectPath* first = CMGetNext(enumeration.get(), nullptr).value.ref;
    const auto path = own(CMClone(first, nullptr));
    enumeration.reset();
    EXPECT_EQ(taken(CMGetClassName(path.get(), nullptr)), "A");
    CMPIArray* cloned = CMToArray(clone.get(), nullptr);
    EXPECT_EQ(CMGetArrayCount(cloned, nullptr), 2U);
}

} // namespace
