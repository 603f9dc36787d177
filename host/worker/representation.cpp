#include "worker/representation.h"

#include "host_limits.h"
#include "log.h"

// The whole of it is in the header: nothing to be linked.
#define XXH_INLINE_ALL // NOLINT(cppcoreguidelines-macro-usage): the header's own switch
#include <xxhash.h>
#include <zlib.h>

#include <array>
#include <optional>
#include <string>

namespace host {

namespace {

// 128 bits in hexadecimal digits.
std::string hashOf(const std::string& text)
{
    XXH128_canonical_t hash;
    XXH128_canonicalFromHash(&hash, XXH3_128bits(text.data(), text.size()));
    std::string digits;
    for (const unsigned char byte : hash.digest) {
        digits += "0123456789abcdef"[byte >> 4U];
        digits += "0123456789abcdef"[byte & 0xfU];
    }
    return digits;
}

// What zlib writes in front where it is asked for gzip: no name and no time, so that the same body
// always has the same bytes.
constexpr int kGzipWindowBits = MAX_WBITS + 16;
constexpr int kUsualMemoryLevel = 8;

// Nothing for want of memory.
std::optional<std::string> gzipped(std::string& text)
{
    z_stream stream{};
    if (deflateInit2(&stream, kCompressionLevel, Z_DEFLATED, kGzipWindowBits, kUsualMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        return std::nullopt;
    }
    std::string compressed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(text.data()); // NOLINT: zlib's interface
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data()); // NOLINT: zlib's interface
    stream.avail_out = static_cast<uInt>(compressed.size());
    const int outcome = deflate(&stream, Z_FINISH);
    compressed.resize(stream.total_out);
    (void)deflateEnd(&stream);
    return outcome == Z_STREAM_END ? std::optional(std::move(compressed)) : std::nullopt;
}

} // namespace

void addRepresentation(httpd::Response& response, bool wantsGzip)
{
    std::string tag = hashOf(response.body);
    if (wantsGzip && response.body.size() >= kCompressedFromBytes) {
        if (std::optional<std::string> compressed = gzipped(response.body)) {
            response.body = std::move(*compressed);
            response.headers.push_back({"Content-Encoding", "gzip"});
            tag += "-gzip";
        }
    }
    response.headers.push_back({"ETag", '"' + tag + '"'});
    response.headers.push_back({"Vary", "Accept-Encoding"});
}

} // namespace host
