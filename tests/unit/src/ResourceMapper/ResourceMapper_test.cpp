#include "LibraryTest.h"

namespace {

using support::countLogged;
using support::LogCapture;
using support::Request;

class Construction : public support::LibraryTest
{};

TEST_F(Construction, MapperStartsEmpty)
{
    Request request("/redfish/v1/X");
    const ResourceMapper& mapper = request.mapper;
    EXPECT_EQ(mapper.mOemResourceName, "");
    EXPECT_EQ(mapper.mCimClass, "");
    EXPECT_EQ(mapper.mCimMethodName, "");
    EXPECT_EQ(mapper.mInstanceId, "");
    EXPECT_TRUE(mapper.mResourceObj.isNull());
    EXPECT_TRUE(mapper.mSelectorSet.isNull());
    EXPECT_TRUE(mapper.mErrorArgs.isNull());
    EXPECT_TRUE(mapper.mSelectedLinks.isNull());
    EXPECT_FALSE(mapper.mIsCollection);
    EXPECT_FALSE(mapper.mSupportsNextLink);
    EXPECT_FALSE(mapper.mSupportsTopSkip);
    EXPECT_TRUE(mapper.mShowLinks);
}

TEST_F(Construction, MapperKeepsItsArguments)
{
    odata::Scope scope = odata::Scope::ForRequest("/redfish/v1/X");
    const odata::URI uri = scope.NewURI();
    // Never used, only compared.
    auto* const session = reinterpret_cast<SfccSession*>(&scope);
    const ResourceMapper live(session, scope, uri, false);
    EXPECT_EQ(live.mpSfccHandle, session);
    EXPECT_EQ(&live.mScope, &scope);
    EXPECT_EQ(&live.mURI, &uri);
    EXPECT_FALSE(live.mIsZMQCall);
    const ResourceMapper queued(nullptr, scope, uri, true);
    EXPECT_EQ(queued.mpSfccHandle, nullptr);
    EXPECT_TRUE(queued.mIsZMQCall);
}

TEST_F(Construction, ConstructorAndDestructorAreLogged)
{
    {
        const Request request("/redfish/v1/X");
        EXPECT_EQ(countLogged(3, "ResourceMapper", "Entering"), 1);
        EXPECT_EQ(countLogged(3, "ResourceMapper", "Leaving"), 1);
        EXPECT_EQ(countLogged(3, "~ResourceMapper", "Entering"), 0);
    }
    EXPECT_EQ(countLogged(3, "~ResourceMapper", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "~ResourceMapper", "Leaving"), 1);
}

TEST_F(Construction, DataCacheAccessorIsLogged)
{
    {
        const SQLInterface accessor;
        EXPECT_EQ(countLogged(3, "SQLInterface", "Entering"), 1);
        EXPECT_EQ(countLogged(3, "SQLInterface", "Leaving"), 1);
    }
    EXPECT_EQ(countLogged(3, "~SQLInterface", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "~SQLInterface", "Leaving"), 1);
}

TEST_F(Construction, MembersAreDestroyedAfterTheDestructorHasLogged)
{
    {
        const Request request("/redfish/v1/X");
        LogCapture::Reset();
    }
    std::vector<std::string> functions;
    for (const support::LogLine& line : LogCapture::Lines()) {
        functions.push_back(line.function() + " " + line.message());
    }
    EXPECT_THAT(functions,
                ::testing::ElementsAre("~ResourceMapper Entering", "~ResourceMapper Leaving",
                                       "~SQLInterface Entering", "~SQLInterface Leaving"));
}

} // namespace
