#include <gmock/gmock.h>
#include <host_limits.h>
#include <worker/representation.h>
#include <zlib.h>

#include <array>

namespace {

using testing::MatchesRegex;

httpd::Response answerOf(const std::string& body, bool wantsGzip)
{
    httpd::Response response{200, {{"Content-Type", "application/json"}}, body};
    host::addRepresentation(response, wantsGzip);
    return response;
}

std::string headerOf(const httpd::Response& response, const char* name)
{
    return std::string(httpd::findHeader(response.headers, name));
}

std::string unzipped(const std::string& compressed)
{
    std::string text(1'000'000, '\0');
    z_stream stream{};
    EXPECT_EQ(inflateInit2(&stream, MAX_WBITS + 16), Z_OK);
    std::string input = compressed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(stream.avail_in, 0U);
    text.resize(stream.total_out);
    (void)inflateEnd(&stream);
    return text;
}

const std::string kLarge(host::kCompressedFromBytes, 'x');

TEST(Representation, HasAStrongTagOfTheBodysBytes)
{
    const std::string tag = headerOf(answerOf("{}", false), "ETag");
    EXPECT_THAT(tag, MatchesRegex("\"[0-9a-f]{32}\""));
    EXPECT_EQ(headerOf(answerOf("{}", false), "ETag"), tag);
    EXPECT_NE(headerOf(answerOf("{ }", false), "ETag"), tag);
    EXPECT_NE(headerOf(answerOf("", false), "ETag"), tag);
}

TEST(Representation, VariesWithWhatTheClientAccepts)
{
    EXPECT_EQ(headerOf(answerOf("{}", false), "Vary"), "Accept-Encoding");
    EXPECT_EQ(headerOf(answerOf(kLarge, true), "Vary"), "Accept-Encoding");
}

TEST(Representation, IsCompressedWhereThatIsWantedAndHasAnotherTagThen)
{
    const httpd::Response plain = answerOf(kLarge, false);
    const httpd::Response compressed = answerOf(kLarge, true);
    EXPECT_EQ(plain.body, kLarge);
    EXPECT_EQ(headerOf(plain, "Content-Encoding"), "");
    EXPECT_EQ(headerOf(compressed, "Content-Encoding"), "gzip");
    EXPECT_LT(compressed.body.size(), kLarge.size() / 10);
    EXPECT_EQ(unzipped(compressed.body), kLarge);
    EXPECT_NE(headerOf(compressed, "ETag"), headerOf(plain, "ETag"));
    EXPECT_EQ(answerOf(kLarge, true).body, compressed.body);
}

TEST(Representation, OfASmallBodyIsPlain)
{
    const std::string small = kLarge.substr(1);
    const httpd::Response response = answerOf(small, true);
    EXPECT_EQ(response.body, small);
    EXPECT_EQ(headerOf(response, "Content-Encoding"), "");
    EXPECT_EQ(headerOf(response, "ETag"), headerOf(answerOf(small, false), "ETag"));
}

} // namespace
