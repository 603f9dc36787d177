#include "front/native_resources.h"

#include "content_hash.h"
#include "error_body.h"
#include "front/content_coding.h"
#include "front/parsed_target.h"
#include "front/protocol.h"
#include "front/refusals.h"
#include "native/tree.h"
#include "query_options.h"
#include "resource_headers.h"
#include "schema/addresses.h"

#include <httpd/freed_memory.h>

#include <algorithm>
#include <string>
#include <utility>

namespace host {

namespace {

// Of schema::kMetadataUri: clients may escape its "$".
constexpr std::string_view kEscapedMetadata = "/redfish/v1/%24metadata";

const char* typeNameOf(native::MediaType type)
{
    return type == native::MediaType::Xml ? "application/xml" : kJson;
}

std::optional<httpd::Response> refusalOfQuery(const httpd::Request& request)
{
    if (request.target.find('?') == std::string::npos) {
        return std::nullopt;
    }
    if (std::optional<httpd::Response> response = refusalOfTarget(request)) {
        return response;
    }
    return refusalOfOptions(parsedTarget(request.target), kAllOptions);
}

std::optional<httpd::Response> refusalOf(const httpd::Request& request,
                                         const native::Document& document)
{
    if (std::optional<httpd::Response> response =
            refusalOfHeaders(request, typeNameOf(document.type))) {
        return response;
    }
    return document.isResource ? refusalOfTarget(request) : refusalOfQuery(request);
}

void addHeaders(httpd::Response& response, const native::Document& document, bool isGzip)
{
    response.headers.push_back({"Content-Type", typeNameOf(document.type)});
    completeHeaders(response, document.describedBy);
    response.headers.push_back({"ETag", entityTagOf(document.hash, isGzip)});
    if (isGzip) {
        response.headers.push_back({"Content-Encoding", "gzip"});
    }
    if (native::isWorthCompressing(document)) {
        response.headers.push_back({"Vary", "Accept-Encoding"});
    }
}

} // namespace

NativeResources::NativeResources(native::Documents documents)
    : mDocuments(std::move(documents)),
      mNext(mDocuments.begin()),
      mCompressor(std::make_unique<Compressor>())
{}

bool NativeResources::isAwaited(std::string_view target) const
{
    return !mHasSchemas && native::isSchemaUri(target) && find(target) == nullptr;
}

void NativeResources::addSchemas(native::Documents schemas)
{
    mDocuments.merge(schemas);
    mNext = mDocuments.begin();
    mHasSchemas = true;
}

bool NativeResources::compressNext()
{
    mNext = std::find_if(mNext, mDocuments.end(), [](const auto& document) {
        return native::isWorthCompressing(document.second);
    });
    if (mNext == mDocuments.end()) {
        mCompressor.reset();
        httpd::returnFreedMemory(); // the plain texts lie all over the memory
        return false;
    }
    native::compress((mNext++)->second, *mCompressor);
    return true;
}

std::optional<httpd::Response> NativeResources::answerTo(const httpd::Request& request) const
{
    const native::Document* document = find(request.target);
    if (document == nullptr) {
        return std::nullopt;
    }
    if (!isRead(request)) {
        return answerToOtherMethod(request, kReadMethods);
    }
    if (std::optional<httpd::Response> response = refusalOf(request, *document)) {
        return response;
    }
    if (document->isResource && request.target.find('?') != std::string::npos) {
        return std::nullopt;
    }
    const bool isGzip = document->isCompressed && wantsGzip(request.headers);
    httpd::Response response;
    addHeaders(response, *document, isGzip);
    response.body = isGzip ? document->body : native::plainTextOf(*document);
    return response;
}

// As mapped resources are found: without the query, and without one "/" at the end. Every request
// comes by here first, so that nothing is copied but the rare name that is escaped.
const native::Document* NativeResources::find(std::string_view target) const
{
    std::string_view path = target.substr(0, target.find('?'));
    if (path.ends_with('/')) {
        path.remove_suffix(1);
    }
    const auto found = mDocuments.find(path == kEscapedMetadata ? schema::kMetadataUri : path);
    return found == mDocuments.end() ? nullptr : &found->second;
}

} // namespace host
