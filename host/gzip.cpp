#include "gzip.h"

#include "host_limits.h"

#define ZLIB_CONST // it only reads what it is given
#include <zlib.h>

namespace host {

namespace {

constexpr int kGzipWindow = MAX_WBITS + 16; // 16: with the header and trailer of gzip
constexpr int kMemoryLevel = 8;             // zlib's default

const Bytef* bytesOf(std::string_view text)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): zlib's name for bytes
    return reinterpret_cast<const Bytef*>(text.data());
}

Bytef* bytesOf(std::string& text)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): as above
    return reinterpret_cast<Bytef*>(text.data());
}

void setEnds(z_stream& stream, std::string_view in, std::string& out)
{
    stream.next_in = bytesOf(in);
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = bytesOf(out);
    stream.avail_out = static_cast<uInt>(out.size());
}

} // namespace

Compressor::Compressor() : mStream(std::make_unique<z_stream>())
{
    if (deflateInit2(mStream.get(), kCompressionLevel, Z_DEFLATED, kGzipWindow, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        mStream.reset();
    }
}

Compressor::~Compressor()
{
    if (mStream != nullptr) {
        (void)deflateEnd(mStream.get());
    }
}

std::string Compressor::compress(std::string_view text)
{
    if (mStream == nullptr || deflateReset(mStream.get()) != Z_OK) {
        return {};
    }
    std::string gzip(deflateBound(mStream.get(), text.size()), '\0');
    setEnds(*mStream, text, gzip);
    if (deflate(mStream.get(), Z_FINISH) != Z_STREAM_END) {
        return {};
    }
    gzip.resize(mStream->total_out);
    return gzip;
}

std::string decompressed(std::string_view gzip, size_t bytes)
{
    z_stream stream{};
    if (inflateInit2(&stream, kGzipWindow) != Z_OK) {
        return {};
    }
    std::string text(bytes, '\0');
    setEnds(stream, gzip, text);
    const bool isWhole = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.total_out == bytes;
    (void)inflateEnd(&stream);
    return isWhole ? text : std::string();
}

} // namespace host
