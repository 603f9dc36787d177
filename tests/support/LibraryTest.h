// Fixture for tests of the library: fresh log, mapping file and data cache for each test, and the
// check that no test leaves a prepared statement behind.
#ifndef TESTS_SUPPORT_LIBRARY_TEST_H_
#define TESTS_SUPPORT_LIBRARY_TEST_H_

#include "CacheFile.h"
#include "JsonText.h"
#include "LogCapture.h"
#include "MappingFile.h"
#include "Request.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace support {

class LibraryTest : public ::testing::Test
{
protected:
    LibraryTest() { LogCapture::Reset(); }

    void TearDown() override { EXPECT_EQ(openStatements(), 0) << "statements left open"; }

    // Fills the cache and opens it.
    void openCache(const std::string& sql) const
    {
        mCache.Run(sql);
        ASSERT_EQ(mCache.Open(), 0);
    }

    MappingFile mMapping;
    CacheFile mCache;
};

} // namespace support

#endif
