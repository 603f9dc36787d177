// Answers that are made once, when the service starts, and given to whoever asks: on their way from
// the spawner, which has read the mapping, to the front.
#ifndef HOST_NATIVE_DOCUMENT_H_
#define HOST_NATIVE_DOCUMENT_H_

#include "gzip.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace host::native {

enum class MediaType : uint32_t { Json, Xml };

struct Document
{
    MediaType type = MediaType::Json;
    bool isResource = false; // of Redfish: clients may ask for parts of it
    std::string describedBy; // the address of its JSON Schema; "": it has none
    std::string hash;        // of its content, as it comes without a coding
    size_t plainBytes = 0;
    bool isCompressed = false; // with gzip
    std::string body;
};

// By URI, without a "/" at its end.
using Documents = std::map<std::string, Document, std::less<>>;

// A document of that text, not compressed.
Document makeDocument(MediaType type, std::string text, std::string describedBy = {});

// Whether a document is worth compressing.
bool isWorthCompressing(const Document& document);

// Compresses one that is not yet; left as it is for want of memory.
void compress(Document& document, Compressor& compressor);

// The text of a document; "" for one that is damaged.
std::string plainTextOf(const Document& document);

// A text for decodeDocuments(), which is false when a text is none. Documents travel before they
// are compressed.
std::string encodeDocuments(const Documents& documents);
bool decodeDocuments(std::string_view text, Documents& documents);

} // namespace host::native

#endif
