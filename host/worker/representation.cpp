#include "worker/representation.h"

#include "content_hash.h"
#include "gzip.h"
#include "host_limits.h"

#include <string>
#include <utility>

namespace host {

void addRepresentation(httpd::Response& response, bool wantsGzip)
{
    const std::string hash = contentHashOf(response.body);
    std::string compressed;
    if (wantsGzip && response.body.size() >= kCompressedFromBytes) {
        compressed = Compressor().compress(response.body);
    }
    const bool isGzip = !compressed.empty();
    if (isGzip) {
        response.body = std::move(compressed);
        response.headers.push_back({"Content-Encoding", "gzip"});
    }
    response.headers.push_back({"ETag", entityTagOf(hash, isGzip)});
    response.headers.push_back({"Vary", "Accept-Encoding"});
}

} // namespace host
