#include "native/document.h"

#include "content_hash.h"
#include "host_limits.h"
#include "wire/fields.h"

#include <utility>

namespace host::native {

namespace {

// About what they take on their way.
size_t bytesOf(const Documents& documents)
{
    constexpr size_t kBesideBody = 256;
    size_t bytes = documents.size() * kBesideBody;
    for (const auto& [uri, document] : documents) {
        bytes += document.body.size();
    }
    return bytes;
}

bool takeDocument(FieldReader& reader, Documents& documents)
{
    std::string uri;
    Document document;
    uint32_t type = 0;
    uint32_t plainBytes = 0;
    if (!reader.text(uri) || !reader.number(type) || !reader.flag(document.isResource) ||
        !reader.text(document.describedBy) || !reader.text(document.hash) ||
        !reader.number(plainBytes) || !reader.text(document.body) ||
        type > static_cast<uint32_t>(MediaType::Xml)) {
        return false;
    }
    document.type = static_cast<MediaType>(type);
    document.plainBytes = plainBytes;
    documents.insert_or_assign(documents.end(), std::move(uri), std::move(document));
    return true;
}

} // namespace

Document makeDocument(MediaType type, std::string text, std::string describedBy)
{
    Document document;
    document.type = type;
    document.describedBy = std::move(describedBy);
    document.hash = contentHashOf(text);
    document.plainBytes = text.size();
    document.body = std::move(text);
    return document;
}

bool isWorthCompressing(const Document& document)
{
    return document.plainBytes >= kCompressedFromBytes;
}

void compress(Document& document, Compressor& compressor)
{
    std::string compressed = compressor.compress(document.body);
    document.isCompressed = !compressed.empty();
    if (document.isCompressed) {
        document.body = std::move(compressed);
        document.body.shrink_to_fit();
    }
}

std::string plainTextOf(const Document& document)
{
    return document.isCompressed ? decompressed(document.body, document.plainBytes) : document.body;
}

std::string encodeDocuments(const Documents& documents)
{
    std::string text;
    text.reserve(bytesOf(documents));
    for (const auto& [uri, document] : documents) {
        putText(text, uri);
        putNumber(text, static_cast<uint32_t>(document.type));
        putNumber(text, document.isResource ? 1 : 0);
        putText(text, document.describedBy);
        putText(text, document.hash);
        putNumber(text, static_cast<uint32_t>(document.plainBytes));
        putText(text, document.body);
    }
    return text;
}

bool decodeDocuments(std::string_view text, Documents& documents)
{
    documents.clear();
    FieldReader reader(text);
    while (!reader.atEnd()) {
        if (!takeDocument(reader, documents)) {
            return false;
        }
    }
    return true;
}

} // namespace host::native
