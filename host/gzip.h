// The content coding gzip (RFC 1952). What it makes has no name and no time in it: of the same text
// always the same bytes.
#ifndef HOST_GZIP_H_
#define HOST_GZIP_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

namespace host {

// One for many texts: what it works with is larger than most of them.
class Compressor
{
public:
    Compressor();
    ~Compressor();
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    // "" where there is no memory for it.
    std::string compress(std::string_view text);

private:
    std::unique_ptr<z_stream_s> mStream; // null without memory
};

// The text, which has so many bytes; "" for what is no gzip of such a text.
std::string decompressed(std::string_view gzip, size_t bytes);

} // namespace host

#endif
