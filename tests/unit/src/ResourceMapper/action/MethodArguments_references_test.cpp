// From the URI of a resource to a reference to its CIM instance.
#include "ActionTest.h"

namespace {

using support::countLogged;
using support::json;
using support::logged;
using support::scriptedCim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class References : public support::ActionTest
{
protected:
    References()
    {
        mEntries = json(R"({
            "Jobs": {"Selectors": "CreationClassName=C,Name=X", "UniqueSelector": "InstanceID",
                     "mappings": {"XCIM_Job": {}, "XCIM_Other": {}}},
            "Plain": {"UniqueSelector": "Id", "mappings": {"XCIM_Plain": {}}},
            "Fixed": {"Selectors": "A=1,B=2=3,C=", "mappings": {"XCIM_Fixed": {}}},
            "Bare": {"mappings": {"XCIM_Bare": {}}},
            "Twice": {"Selectors": "Id=fixed", "UniqueSelector": "Id",
                      "mappings": {"XCIM_Twice": {}}},
            "/Rooted": {"mappings": {"XCIM_Rooted": {}}},
            "NoClass": {"mappings": {}}, "NoMappings": {},
            "Broken": {"Selectors": "A=1,B", "mappings": {"XCIM_Broken": {}}},
            "Ended": {"Selectors": "A=1,", "mappings": {"XCIM_Ended": {}}}})");
        declare("{}");
        ResourceMapper::RmfObj[""] = json(R"({"mappings": {"XCIM_Nameless": {}}})");
    }

    std::vector<std::string> add(const std::string& uri)
    {
        CMPIArgs* args = support::newCimArgs();
        char argName[] = "Cim";
        char name[] = "Body";
        mResult = mapper().AddRefToArgs(args, argName, name, uri, mErrorArgs);
        std::vector<std::string> added = support::addedArguments(args);
        (void)args->ft->release(args);
        return added;
    }

    unsigned int mResult = kUnset;
};

TEST_F(References, HaveTheFixedKeysBeforeTheUniqueOne)
{
    EXPECT_THAT(add("/redfish/v1/Managers/Tavix.Embedded.1/Jobs/JID_1"),
                ElementsAre("Cim ref root/xcim:XCIM_Job CreationClassName=C Name=X "
                            "InstanceID=JID_1"));
    EXPECT_EQ(mResult, RM_OK);
    EXPECT_TRUE(mErrorArgs.isNull());
    EXPECT_TRUE(logged(4, "Resource name Jobs , KeyVal JID_1"));
    EXPECT_TRUE(logged(4, "UniqueKey InstanceID"));
    EXPECT_EQ(countLogged(3, "AddRefToArgs", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "AddRefToArgs", "Leaving"), 1);
}

TEST_F(References, HaveTheKeysThatTheMappingNames)
{
    EXPECT_THAT(add("/r/Plain/7"), ElementsAre("Cim ref root/xcim:XCIM_Plain Id=7"));
    EXPECT_THAT(add("/r/Fixed/7"), ElementsAre("Cim ref root/xcim:XCIM_Fixed A=1 B=2=3 C="));
    EXPECT_THAT(add("/r/Bare/7"), ElementsAre("Cim ref root/xcim:XCIM_Bare"));
    EXPECT_THAT(add("/r/Twice/7"), ElementsAre("Cim ref root/xcim:XCIM_Twice Id=fixed"));
}

TEST_F(References, OfMoreThan1024BytesAreRefused)
{
    const std::string base = "/r/Plain/";
    EXPECT_EQ(add(base + std::string(1024 - base.size(), 'a')).size(), 1U);
    const std::string tooLong = base + std::string(1025 - base.size(), 'a');
    EXPECT_THAT(add(tooLong), IsEmpty());
    EXPECT_EQ(mResult, RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_EQ(mErrorArgs[0].asString(), tooLong);
}

TEST_F(References, WithoutAUniqueKeyLogNone)
{
    add("/r/Fixed/7");
    EXPECT_THAT(support::messagesAtLevel(4), ElementsAre("Resource name Fixed , KeyVal 7"));
}

TEST_F(References, AreNamedByTheLastTwoSegments)
{
    EXPECT_THAT(add("Plain/7"), ElementsAre("Cim ref root/xcim:XCIM_Plain Id=7"));
    EXPECT_THAT(add("//Plain/7"), ElementsAre("Cim ref root/xcim:XCIM_Plain Id=7"));
    EXPECT_THAT(add("http://host/r/Plain/7"), ElementsAre("Cim ref root/xcim:XCIM_Plain Id=7"));
    EXPECT_THAT(add("/r/Plain/"), ElementsAre("Cim ref root/xcim:XCIM_Plain Id="));
    EXPECT_THAT(add("/r/Plain/a=b,c%20d?e"),
                ElementsAre("Cim ref root/xcim:XCIM_Plain Id=a=b,c%20d?e"));
    // A single leading slash belongs to the name.
    EXPECT_THAT(add("/Rooted/7"), ElementsAre("Cim ref root/xcim:XCIM_Rooted"));
    EXPECT_TRUE(logged(4, "Resource name /Rooted , KeyVal 7"));
}

TEST_F(References, ToWhatIsNotThereAreRefused)
{
    for (const char* uri :
         {"JID_1", "", "/", "/7", "//", "//7", "a//7", "/Plain/7", "/r/None/7", "/r/plain/7",
          "/r/Plain/7/8", "/r/NoClass/7", "/r/NoMappings/7", "Rooted/7"}) {
        SCOPED_TRACE(uri);
        support::LogCapture::Reset();
        mErrorArgs = json(R"(["before", "before", "kept"])");
        EXPECT_THAT(add(uri), IsEmpty());
        EXPECT_EQ(mResult, RM_PROPERTY_VALUE_NOT_IN_LIST);
        EXPECT_EQ(mErrorArgs[0].asString(), uri);
        EXPECT_EQ(mErrorArgs[1].asString(), "Body");
        EXPECT_EQ(mErrorArgs[2].asString(), "kept");
        EXPECT_EQ(countLogged(3, "AddRefToArgs", "Leaving"), 1);
    }
}

TEST_F(References, ToANameWithANulAreRefused)
{
    EXPECT_THAT(add(std::string("/r/Plain\0/7", 11)), IsEmpty());
    EXPECT_EQ(mResult, RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_EQ(mErrorArgs[0].asString(), std::string("/r/Plain\0/7", 11));
}

TEST_F(References, WithASelectorWithoutAValueAbort)
{
    EXPECT_ABORTS("eq_pos != std::string::npos", add("/r/Broken/7"));
    EXPECT_ABORTS("eq_pos != std::string::npos", add("/r/Ended/7"));
}

TEST_F(References, WhosePathCannotBeMadeAbort)
{
    scriptedCim().pathStatus = CMPI_RC_ERR_FAILED;
    EXPECT_ABORTS("op != NULL", add("/r/Plain/7"));
}

} // namespace
