#include <ExhaustedMemory.h>
#include <gtest/gtest.h>
#include <odata/odata.h>

#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr uint32_t kUnreadable = 4294967295U;

odata::URI parsedUri(const std::string& url)
{
    return odata::Scope::ForRequest(url).NewURI();
}

std::vector<std::string> segmentsOf(const odata::URI& uri)
{
    std::vector<std::string> segments;
    for (unsigned int i = 0; i < uri.GetSegmentCount(); ++i) {
        segments.emplace_back(uri.GetSegment(i));
    }
    return segments;
}

std::string valueOf(const odata::URI& uri, unsigned int option)
{
    std::vector<char> buffer(uri.GetOptionLength(option) + 1, 'x');
    const size_t copied = uri.CopyOption(option, buffer.data(), buffer.size());
    EXPECT_EQ(uri.GetOptionLength(option), copied);
    EXPECT_EQ('\0', buffer[copied]);
    return {buffer.data(), copied};
}

std::string escaped(unsigned int byte)
{
    std::array<char, 4> text{};
    (void)std::snprintf(text.data(), text.size(), "%%%02X", byte);
    return text.data();
}

std::string pathAndSelect(const std::string& text)
{
    std::string url = "/";
    url += text;
    url += "?$select=";
    url += text;
    return url;
}

using Strings = std::vector<std::string>;

TEST(OdataUri, keepsTheTextAsItCame)
{
    const std::string url = "//redfish/v1/A%20B/?$select=Name,+Id&%24top=%zz#end";
    EXPECT_EQ(url, parsedUri(url).GetText());
}

TEST(OdataUri, ofAnEmptyScopeHasNothing)
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    EXPECT_STREQ("", uri.GetText());
    EXPECT_EQ(0U, uri.GetSegmentCount());
    EXPECT_EQ(0U, uri.GetOptionMask());
    EXPECT_EQ(nullptr, uri.GetUnknownOption());
    EXPECT_EQ(OL_URI_OK, uri.GetFault());
}

TEST(OdataUri, livesOnAfterItsScope)
{
    odata::URI uri = parsedUri("/redfish/v1?$top=3");
    const odata::URI moved = std::move(uri);
    EXPECT_EQ((Strings{"redfish", "v1"}), segmentsOf(moved));
}

TEST(OdataUri, splitsThePathIntoSegments)
{
    EXPECT_EQ((Strings{"redfish", "v1", "Chassis"}), segmentsOf(parsedUri("/redfish/v1/Chassis")));
    EXPECT_EQ((Strings{"no", "slash", "first"}), segmentsOf(parsedUri("no/slash/first")));
}

TEST(OdataUri, emptySegmentsDoNotCount)
{
    EXPECT_EQ((Strings{"a", "b"}), segmentsOf(parsedUri("//a///b//")));
    EXPECT_EQ(Strings{}, segmentsOf(parsedUri("/")));
    EXPECT_EQ(Strings{}, segmentsOf(parsedUri("///?/x/y")));
}

TEST(OdataUri, segmentOutsideTheRangeIsNull)
{
    const odata::URI uri = parsedUri("/a/b");
    EXPECT_STREQ("b", uri.GetSegment(1));
    EXPECT_EQ(nullptr, uri.GetSegment(2));
    EXPECT_EQ(nullptr, uri.GetSegment(std::numeric_limits<unsigned int>::max()));
}

TEST(OdataUri, decodesAnEscapedSlashInsideItsSegment)
{
    EXPECT_EQ((Strings{"a/b", "c?d"}), segmentsOf(parsedUri("/a%2fb/c%3Fd")));
}

TEST(OdataUri, decodesEveryByteButNul)
{
    for (unsigned int byte = 1; byte < 256; ++byte) {
        const std::string text = "x" + escaped(byte) + "y";
        const std::string decoded = {'x', static_cast<char>(byte), 'y'};
        const odata::URI uri = parsedUri(pathAndSelect(text));
        EXPECT_EQ(decoded, uri.GetSegment(0)) << text;
        EXPECT_EQ(decoded, valueOf(uri, OL_OPTION_SELECT)) << text;
        EXPECT_EQ(OL_URI_OK, uri.GetFault()) << text;
    }
}

TEST(OdataUri, decodesHexDigitsOfEitherCase)
{
    EXPECT_EQ(Strings{"\xAB\xCD\xEF"}, segmentsOf(parsedUri("/%aB%Cd%eF")));
}

TEST(OdataUri, decodesOnce)
{
    EXPECT_EQ(Strings{"%41"}, segmentsOf(parsedUri("/%2541")));
}

TEST(OdataUri, badEncodingIsLiteralTextAndAFault)
{
    for (const std::string text :
         {"%00", "%", "%4", "a%", "%g1", "%1g", "% 1", "%%", "100%", "%-1", "%+1", "%\xFF\xFF"}) {
        const odata::URI uri = parsedUri(pathAndSelect(text));
        EXPECT_EQ(text, uri.GetSegment(0));
        EXPECT_EQ(text, valueOf(uri, OL_OPTION_SELECT));
        EXPECT_EQ(OL_URI_BAD_ENCODING, uri.GetFault()) << text;
        EXPECT_EQ(OL_URI_BAD_ENCODING, parsedUri("/a?custom=" + text).GetFault()) << text;
        EXPECT_EQ(OL_URI_BAD_ENCODING, parsedUri("/a?" + text + "=1").GetFault()) << text;
    }
}

TEST(OdataUri, whatFollowsBadEncodingIsDecoded)
{
    EXPECT_EQ((Strings{"%zA%", "B"}), segmentsOf(parsedUri("/%z%41%/%42")));
}

TEST(OdataUri, queryBeginsAtTheFirstQuestionMark)
{
    const odata::URI uri = parsedUri("/a?$select=b?c/d");
    EXPECT_EQ(Strings{"a"}, segmentsOf(uri));
    EXPECT_EQ("b?c/d", valueOf(uri, OL_OPTION_SELECT));
}

TEST(OdataUri, reportsEachOptionByItsBit)
{
    const std::vector<std::pair<std::string, unsigned int>> options{
        {"$filter", 1}, {"$expand", 2}, {"$select", 4}, {"$top", 16}, {"$skip", 32}};
    for (const auto& [name, bit] : options) {
        const odata::URI uri = parsedUri("/a?" + name + "=7");
        EXPECT_EQ(bit, uri.GetOptionMask()) << name;
        EXPECT_EQ("7", valueOf(uri, bit)) << name;
    }
    EXPECT_EQ(55U, parsedUri("/a?$skip=1&$top=2&$select=x&$expand=*&$filter=y").GetOptionMask());
}

TEST(OdataUri, optionNamesAreDecoded)
{
    const odata::URI uri = parsedUri("/a?%24select=Name&$t%6Fp=3");
    EXPECT_EQ(unsigned{OL_OPTION_SELECT | OL_OPTION_TOP}, uri.GetOptionMask());
    EXPECT_EQ("Name", valueOf(uri, OL_OPTION_SELECT));
}

TEST(OdataUri, optionNamesHaveACase)
{
    const odata::URI uri = parsedUri("/a?$Select=Name&$TOP=1");
    EXPECT_EQ(0U, uri.GetOptionMask());
    EXPECT_STREQ("$Select", uri.GetUnknownOption());
}

TEST(OdataUri, optionWithoutEqualsSignIsPresentAndEmpty)
{
    for (const std::string query : {"$select", "$select=", "&&$select&"}) {
        const odata::URI uri = parsedUri("/a?" + query);
        EXPECT_EQ(unsigned{OL_OPTION_SELECT}, uri.GetOptionMask()) << query;
        EXPECT_EQ(0U, uri.GetOptionLength(OL_OPTION_SELECT)) << query;
        EXPECT_EQ("", valueOf(uri, OL_OPTION_SELECT)) << query;
    }
}

TEST(OdataUri, valueBeginsAtTheFirstEqualsSign)
{
    EXPECT_EQ("a=b==", valueOf(parsedUri("/a?$filter=a=b=="), OL_OPTION_FILTER));
    EXPECT_EQ(0U, parsedUri("/a?$filter%3Da").GetOptionMask());
}

TEST(OdataUri, escapedSeparatorsBelongToTheValue)
{
    EXPECT_EQ("a&$top=1", valueOf(parsedUri("/a?$select=a%26$top%3d1"), OL_OPTION_SELECT));
}

TEST(OdataUri, plusStaysInAValue)
{
    EXPECT_EQ("+Name+,++Id", valueOf(parsedUri("/a?$select=+Name+,++Id"), OL_OPTION_SELECT));
}

TEST(OdataUri, ofARepeatedOptionTheFirstCounts)
{
    const odata::URI uri = parsedUri("/a?$top=1&$top=2&$select=x&%24top=3");
    EXPECT_EQ(1U, uri.GetOptionUInt32(OL_OPTION_TOP));
    EXPECT_EQ("x", valueOf(uri, OL_OPTION_SELECT));
    EXPECT_EQ(OL_URI_REPEATED_OPTION, uri.GetFault());
}

TEST(OdataUri, anEmptyFirstValueCountsBeforeARepetition)
{
    const odata::URI uri = parsedUri("/a?$select&$select=x");
    EXPECT_EQ("", valueOf(uri, OL_OPTION_SELECT));
    EXPECT_EQ(OL_URI_REPEATED_OPTION, uri.GetFault());
}

TEST(OdataUri, repeatedUnknownAndCustomOptionsAreNoFault)
{
    EXPECT_EQ(OL_URI_OK, parsedUri("/a?$count=1&$count=2&x=1&x=2").GetFault());
}

TEST(OdataUri, reportsTheFirstUnknownOptionDecoded)
{
    EXPECT_STREQ("$c unt",
                 parsedUri("/a?custom=1&%24c%20unt=true&$format=json").GetUnknownOption());
    EXPECT_STREQ("$", parsedUri("/a?$top=1&$&$x").GetUnknownOption());
    EXPECT_STREQ("$top ", parsedUri("/a?$top%20=1").GetUnknownOption());
}

TEST(OdataUri, customOptionsAreIgnored)
{
    const odata::URI uri = parsedUri("/a?select=Name&top=1&&=&x&a$top=2&_=3");
    EXPECT_EQ(0U, uri.GetOptionMask());
    EXPECT_EQ(nullptr, uri.GetUnknownOption());
    EXPECT_EQ(OL_URI_OK, uri.GetFault());
}

TEST(OdataUri, theFirstFaultCounts)
{
    EXPECT_EQ(OL_URI_BAD_ENCODING, parsedUri("/%?$top=1&$top=2").GetFault());
    EXPECT_EQ(OL_URI_REPEATED_OPTION, parsedUri("/a?$top=1&$top=2&$select=%").GetFault());
}

TEST(OdataUri, parsesTheLongestText)
{
    const std::string head = "/redfish?$select=";
    const std::string value(OL_URI_MAX_BYTES - head.size(), 'n');
    const odata::URI uri = parsedUri(head + value);
    EXPECT_EQ(OL_URI_OK, uri.GetFault());
    EXPECT_EQ(value, valueOf(uri, OL_OPTION_SELECT));
}

TEST(OdataUri, parsesNothingOfALongerText)
{
    std::string url = "/redfish?$top=1&$other&$select=";
    url.resize(OL_URI_MAX_BYTES + 1, '%');
    const odata::URI uri = parsedUri(url);
    EXPECT_EQ(OL_URI_TOO_LONG, uri.GetFault());
    EXPECT_EQ(url, uri.GetText());
    EXPECT_EQ(0U, uri.GetSegmentCount());
    EXPECT_EQ(0U, uri.GetOptionMask());
    EXPECT_EQ(nullptr, uri.GetUnknownOption());
}

TEST(OdataUri, keepsTheMostSegments)
{
    std::string url;
    for (int i = 0; i < OL_URI_MAX_SEGMENTS; ++i) {
        url += "//" + std::to_string(i);
    }
    const odata::URI uri = parsedUri(url + "/?$top=1");
    EXPECT_EQ(OL_URI_OK, uri.GetFault());
    ASSERT_EQ(unsigned{OL_URI_MAX_SEGMENTS}, uri.GetSegmentCount());
    EXPECT_STREQ("63", uri.GetSegment(63));

    const odata::URI longer = parsedUri(url + "/%?$top=1");
    EXPECT_EQ(OL_URI_TOO_LONG, longer.GetFault());
    EXPECT_EQ(0U, longer.GetSegmentCount());
    EXPECT_EQ(0U, longer.GetOptionMask());
}

TEST(OdataUri, readsDigitsAsANumber)
{
    const std::vector<std::pair<std::string, uint32_t>> cases{
        {"0", 0},
        {"1", 1},
        {"007", 7},
        {"000000000000000000000000000012", 12},
        {"%33%30", 30},
        {"4294967294", 4294967294U},
        {"4294967295", kUnreadable}};
    for (const auto& [text, number] : cases) {
        EXPECT_EQ(number, parsedUri("/a?$top=" + text).GetOptionUInt32(OL_OPTION_TOP)) << text;
    }
}

TEST(OdataUri, readsAnythingElseAsTheLargestNumber)
{
    for (const std::string text :
         {"", "4294967296", "18446744073709551617", "99999999999999999999999", "-1", "+1", "1.0",
          "1e3", "0x10", "%201", "1%20", "1+", "one", "1,2", "%ef%bc%91", "1%00"}) {
        EXPECT_EQ(kUnreadable, parsedUri("/a?$skip=" + text).GetOptionUInt32(OL_OPTION_SKIP))
            << text;
    }
    EXPECT_EQ(kUnreadable, parsedUri("/a?$skip").GetOptionUInt32(OL_OPTION_SKIP));
}

TEST(OdataUri, absentOptionReadsAsNothing)
{
    const odata::URI uri = parsedUri("/a?$top=5");
    for (const unsigned int option : {0U, 1U, 8U, 20U, 32U, 64U, 55U, ~0U}) {
        std::array<char, 2> buffer{'x', 'y'};
        EXPECT_EQ(0U, uri.GetOptionLength(option)) << option;
        EXPECT_EQ(0U, uri.GetOptionUInt32(option)) << option;
        EXPECT_EQ(0U, uri.CopyOption(option, buffer.data(), buffer.size())) << option;
        EXPECT_EQ('\0', buffer[0]) << option;
    }
}

TEST(OdataUri, cutsACopyToItsBuffer)
{
    const odata::URI uri = parsedUri("/a?$select=abcdef");
    EXPECT_EQ(6U, uri.GetOptionLength(OL_OPTION_SELECT));
    for (size_t size = 1; size <= 8; ++size) {
        std::array<char, 9> buffer{};
        buffer.fill('#');
        const std::string expected = std::string("abcdef").substr(0, size - 1);
        EXPECT_EQ(expected.size(), uri.CopyOption(OL_OPTION_SELECT, buffer.data(), size));
        EXPECT_EQ(expected, buffer.data());
        EXPECT_EQ('#', buffer[expected.size() + 1]);
    }
}

TEST(OdataUri, copyIntoNoBufferWritesNothing)
{
    char byte = '#';
    EXPECT_EQ(0U, parsedUri("/a?$select=abc").CopyOption(OL_OPTION_SELECT, &byte, 0));
    EXPECT_EQ('#', byte);
}

TEST(OdataUri, releaseAllowsNull)
{
    OL_URI_Release(nullptr);
}

TEST(OdataUriDeathTest, wrapperAbortsOnANullHandle)
{
    EXPECT_DEATH(const odata::URI uri(nullptr), "odata: null handle: URI");
    odata::URI uri = parsedUri("/a");
    const odata::URI owner = std::move(uri);
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is tested
    EXPECT_DEATH(uri.GetSegmentCount(), "odata: null handle: URI");
}

TEST(OdataUri, isNullWhenMemoryIsExhausted)
{
    const std::string url = "/a-segment-too-long-to-be-stored-in-place/b?$select=x&$top=1&$other=1";
    int allowed = 0;
    for (bool hasFailed = true; hasFailed; ++allowed) {
        OL_Scope* scope = __OL_Scope_New();
        OL_Scope_SetRequestURL(scope, url.c_str());
        OL_URI* uri = nullptr;
        {
            const ExhaustedMemory exhausted(allowed);
            uri = OL_Scope_NewURI(scope);
            hasFailed = ExhaustedMemory::hasFailed();
        }
        EXPECT_EQ(hasFailed, uri == nullptr) << allowed;
        OL_URI_Release(uri);
        OL_Scope_Release(scope);
    }
    EXPECT_GE(allowed, 5);
}

// Text of up to 400 pieces that are likely to mean something to the parser, or any byte but NUL.
std::string randomUrl(std::mt19937& random)
{
    static const std::array<std::string, 24> kPieces{
        "/",         "//",     "?",         "&",       "=",       "%",  "%2",      "%24",
        "%00",       "%zz",    "$",         "+",       "#",       ",",  "Name",    "4294967295",
        "&$select=", "&$top=", "&%24skip=", "$expand", "$filter", "-1", "redfish", "%E2%82%AC"};
    std::string url;
    const size_t pieceCount = random() % (random() % 2 == 0 ? 20 : 400);
    for (size_t i = 0; i < pieceCount; ++i) {
        const size_t choice = random() % (kPieces.size() + 8);
        if (choice < kPieces.size()) {
            url += kPieces[choice];
        } else {
            url += static_cast<char>(1 + random() % 255);
        }
    }
    return random() % 64 == 0 ? url + std::string(OL_URI_MAX_BYTES, 'x') : url;
}

void checkInvariants(const std::string& url, const odata::URI& uri)
{
    ASSERT_EQ(url, uri.GetText());
    ASSERT_LE(uri.GetSegmentCount(), unsigned{OL_URI_MAX_SEGMENTS});
    size_t decodedBytes = 0;
    for (const std::string& segment : segmentsOf(uri)) {
        ASSERT_FALSE(segment.empty());
        decodedBytes += segment.size();
    }
    for (const unsigned int option : {1U, 2U, 4U, 16U, 32U}) {
        const std::string value = valueOf(uri, option);
        ASSERT_EQ(std::string::npos, value.find('\0'));
        const bool isPresent = (uri.GetOptionMask() & option) != 0;
        ASSERT_TRUE(isPresent || (value.empty() && uri.GetOptionUInt32(option) == 0));
        decodedBytes += value.size();
    }
    ASSERT_LE(decodedBytes, url.size());
    ASSERT_EQ(0U, uri.GetOptionMask() & ~55U);
    if (const char* unknown = uri.GetUnknownOption()) {
        ASSERT_EQ('$', unknown[0]);
    }
    if (uri.GetFault() == OL_URI_TOO_LONG) {
        ASSERT_EQ(0U, uri.GetSegmentCount() + uri.GetOptionMask());
    } else {
        ASSERT_LE(url.size(), size_t{OL_URI_MAX_BYTES});
    }
}

TEST(OdataUri, takesAnyText)
{
    std::mt19937 random(20240501); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts every time
    std::set<OL_URIFault> faults;
    for (int i = 0; i < 20000 && !testing::Test::HasFatalFailure(); ++i) {
        const std::string url = randomUrl(random);
        SCOPED_TRACE(url);
        const odata::URI uri = parsedUri(url);
        checkInvariants(url, uri);
        faults.insert(uri.GetFault());
    }
    EXPECT_EQ(4U, faults.size()); // or the texts do not reach all of the parser
}

} // namespace
