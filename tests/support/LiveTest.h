// Fixture for tests of live reads: a scripted CIM client beside the rest, and the check that no
// test leaves one of its objects unreleased.
#ifndef TESTS_SUPPORT_LIVE_TEST_H_
#define TESTS_SUPPORT_LIVE_TEST_H_

#include "LibraryTest.h"
#include "ScriptedCim.h"
#include "SfccInterface.h"

namespace support {

class LiveTest : public LibraryTest
{
protected:
    LiveTest() { resetScriptedCim(); }

    void TearDown() override
    {
        LibraryTest::TearDown();
        EXPECT_EQ(liveCimObjects(), 0) << "CIM objects left unreleased";
        EXPECT_EQ(livePathsToCall(), 0) << "object paths left unreleased";
    }

    SfccSession mSession{"root"};
};

} // namespace support

#endif
