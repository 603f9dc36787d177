// The service's own resources, as clients are answered.
//
// Threads: those of its owner.
#ifndef HOST_FRONT_NATIVE_RESOURCES_H_
#define HOST_FRONT_NATIVE_RESOURCES_H_

#include "native/document.h"

#include <httpd/server.h>

#include <memory>
#include <optional>
#include <string_view>

namespace host {

class NativeResources
{
public:
    // documents are all but the vendor's schemas, which come later.
    explicit NativeResources(native::Documents documents);

    // Whether a target may be one of the schemas that have not come yet.
    bool isAwaited(std::string_view target) const;

    // The schemas have come, or will not: nothing then.
    void addSchemas(native::Documents schemas);

    // Compresses the next document that is worth it, once all have come; false where none is left.
    // All of them together take longer than the start should, each by itself less than a request.
    bool compressNext();

    // The answer to a request for one of them, whatever it is; nothing where it is for another
    // target, or where a worker has to make of a resource what the query asks for. It is short of
    // what all answers of the service carry.
    std::optional<httpd::Response> answerTo(const httpd::Request& request) const;

private:
    const native::Document* find(std::string_view target) const;

    native::Documents mDocuments;
    bool mHasSchemas = false;
    native::Documents::iterator mNext; // to be compressed
    std::unique_ptr<Compressor> mCompressor;
};

} // namespace host

#endif
