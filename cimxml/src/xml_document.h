// XML texts to trees, with the checks that the parser itself leaves out.
#ifndef CIMXML_XML_DOCUMENT_H_
#define CIMXML_XML_DOCUMENT_H_

#include <pugixml.hpp>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace cimxml {

// Elements within elements of a message that is read at once, with embedded references as keys.
constexpr std::size_t kMaxDepth = 64;

// Whether an instruction may stand where it is: an XML declaration only at the beginning, and with
// no encoding but UTF-8.
bool checkInstruction(std::string_view instruction, bool isFirst, std::string& problem);

// Whether all characters and references are allowed; else says in problem what is not.
bool checkCharacters(std::string_view xml, std::string& problem);

// Parses one element, in place: the bytes change and must outlive the document. Comments and
// instructions are left out, white space is kept.
pugi::xml_parse_result parseElement(char* xml, std::size_t bytes, pugi::xml_document& document);

// All text of an element, where several pieces (by CDATA or comments between them) make it up too.
// Followed by a zero byte; valid until the document ends.
std::string_view elementText(pugi::xml_node element);

inline bool isNamed(pugi::xml_node node, const char* name)
{
    return std::strcmp(node.name(), name) == 0;
}

// A whole text that is one element, perhaps with an XML declaration.
class XmlDocument
{
public:
    // On failure offset() is near the place.
    bool parse(std::string_view xml, std::string& problem);

    pugi::xml_node root() const { return mDocument.document_element(); }
    std::size_t offset() const { return mOffset; }

private:
    bool check(std::string_view xml, std::string& problem);

    std::string mText; // the tree refers to it
    pugi::xml_document mDocument;
    std::size_t mOffset = 0;
};

} // namespace cimxml

#endif
