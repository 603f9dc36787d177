#include <front/content_coding.h>
#include <gtest/gtest.h>

namespace {

using host::wantsGzip;

bool wants(const char* accepted)
{
    return wantsGzip({{"Host", "h"}, {"accept-encoding", accepted}});
}

TEST(GzipIsWanted, WhereItIsNamed)
{
    for (const char* accepted :
         {"gzip", "GZIP", "x-gzip", "deflate, gzip", "gzip;q=1", "gzip ; q=0.001",
          "br;q=1.0, gzip;q=0.8, *;q=0.1", "gzip;q=1.000", "gzip, identity",
          "identity;q=0.5,gzip;q=0.5", ",gzip,", "gzip;Q=0.3", "*", "*;q=0.2", "gzip, identity;q=0",
          "gzip, *;q=0"}) {
        EXPECT_TRUE(wants(accepted)) << accepted;
    }
}

TEST(GzipIsWanted, NotWhereItIsRefusedOrLessWelcomeThanPlain)
{
    for (const char* accepted :
         {"", "identity", "deflate, br", "gzip;q=0", "gzip;q=0.000", "*;q=0", "gzip;q=0, *",
          "identity, gzip;q=0.9", "identity;q=0.6, gzip;q=0.5", "gzipped", "gz ip"}) {
        EXPECT_FALSE(wants(accepted)) << accepted;
    }
}

TEST(GzipIsWanted, NotByAWeightThatIsNone)
{
    for (const char* accepted :
         {"gzip;q=", "gzip;q=2", "gzip;q=1.001", "gzip;q=0.1234", "gzip;q=.5", "gzip;q=0,5",
          "gzip;q=-1", "gzip;q=1x0", "gzip;q=0x5", "gzip;q=abc", "gzip;level=9"}) {
        EXPECT_FALSE(wants(accepted)) << accepted;
    }
}

TEST(GzipIsWanted, NotWithoutTheHeader)
{
    EXPECT_FALSE(wantsGzip({{"Host", "h"}}));
}

TEST(GzipIsWanted, BySeveralLinesAsByOne)
{
    EXPECT_TRUE(wantsGzip({{"Accept-Encoding", "br"}, {"Accept-Encoding", "gzip"}}));
    EXPECT_FALSE(wantsGzip({{"Accept-Encoding", "identity"}, {"Accept-Encoding", "gzip;q=0.1"}}));
}

} // namespace
