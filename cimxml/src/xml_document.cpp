#include "xml_document.h"

#include "xml_characters.h"
#include "xml_scanner.h"

#include <cimxml/types.h>

#include <algorithm>

namespace cimxml {
namespace {

using Kind = XmlToken::Kind;

// Text of values is kept as it is; the text before an element's first child costs no node.
constexpr unsigned int kParseFlags = pugi::parse_cdata | pugi::parse_escapes |
                                     pugi::parse_wconv_attribute | pugi::parse_eol |
                                     pugi::parse_ws_pcdata | pugi::parse_embed_pcdata;

// "&" stands for itself within CDATA, comments and instructions.
bool hasReferences(Kind kind)
{
    return kind == Kind::StartTag || kind == Kind::EmptyTag || kind == Kind::Text;
}

bool checkReferences(std::string_view xml, std::string& problem)
{
    // Only where one is bad does it matter what it stands in.
    if (findBadReference(xml) == std::string_view::npos) {
        return true;
    }
    XmlScanner scanner;
    for (XmlToken token = scanner.next(xml); token.end > token.begin; token = scanner.next(xml)) {
        if (hasReferences(token.kind) &&
            findBadReference(xml.substr(token.begin, token.end - token.begin)) !=
                std::string_view::npos) {
            problem = "a reference to an unknown entity or a forbidden character";
            return false;
        }
    }
    return true;
}

// Whether the rest of an <?xml ...?> declares nothing but UTF-8.
bool isUtf8Declaration(std::string_view declaration)
{
    constexpr std::string_view kEncoding = "encoding";
    std::size_t at = declaration.find(kEncoding);
    if (at == std::string_view::npos) {
        return true;
    }
    at = declaration.find_first_of("\"'", at);
    if (at == std::string_view::npos) {
        return false;
    }
    const std::string_view value = declaration.substr(at + 1);
    return equalsIgnoreCase(value.substr(0, value.find(declaration[at])), "UTF-8");
}

// Follows how deep the tags of a document are.
class DepthCheck
{
public:
    // False, with the problem, when the token may not stand here.
    bool accept(const XmlToken& token, std::string_view text, std::string& problem)
    {
        switch (token.kind) {
        case Kind::StartTag:
        case Kind::EmptyTag:
            return open(token.kind, problem);
        case Kind::EndTag:
            --mDepth;
            return mDepth != kClosedTooOften || fail("an end tag without a start tag", problem);
        case Kind::Text:
            return mDepth != 0 || isXmlSpaceOnly(text) ||
                   fail("text outside the document's element", problem);
        case Kind::Cdata:
            return mDepth != 0 || fail("CDATA outside the document's element", problem);
        case Kind::Instruction:
            return checkInstruction(text, token.begin == 0, problem);
        default:
            return true;
        }
    }
    bool isComplete() const { return mHasRoot && mDepth == 0; }

private:
    static constexpr std::size_t kClosedTooOften = static_cast<std::size_t>(-1);

    static bool fail(const char* what, std::string& problem)
    {
        problem = what;
        return false;
    }
    bool open(Kind kind, std::string& problem)
    {
        if (mDepth == 0 && mHasRoot) {
            return fail("an element behind the end of the document", problem);
        }
        mHasRoot = true;
        mDepth += kind == Kind::StartTag ? 1U : 0U;
        return mDepth <= kMaxDepth || fail("elements nested too deeply", problem);
    }
    std::size_t mDepth = 0;
    bool mHasRoot = false;
};

} // namespace

bool checkInstruction(std::string_view instruction, bool isFirst, std::string& problem)
{
    constexpr std::string_view kXml = "<?xml";
    const std::string_view rest = instruction.substr(std::min(kXml.size(), instruction.size()));
    const bool isDeclaration = equalsIgnoreCase(instruction.substr(0, kXml.size()), kXml) &&
                               (isXmlSpace(rest.front()) || rest.front() == '?');
    if (!isDeclaration) {
        return true;
    }
    if (!isFirst) {
        problem = "an XML declaration that is not at the beginning";
    } else if (!isUtf8Declaration(rest)) {
        problem = "an encoding other than UTF-8";
    }
    return problem.empty();
}

bool checkCharacters(std::string_view xml, std::string& problem)
{
    if (findForbidden(xml) != std::string_view::npos) {
        problem = "a character that is not UTF-8 or not allowed in XML";
        return false;
    }
    return checkReferences(xml, problem);
}

pugi::xml_parse_result parseElement(char* xml, std::size_t bytes, pugi::xml_document& document)
{
    return document.load_buffer_inplace(xml, bytes, kParseFlags, pugi::encoding_utf8);
}

std::string_view elementText(pugi::xml_node element)
{
    const pugi::xml_node child = element.first_child();
    if (!child) {
        return element.value();
    }
    const std::string_view before = element.value();
    if (before.empty() && !child.next_sibling()) {
        return child.value();
    }
    std::string joined(before);
    for (const pugi::xml_node piece : element.children()) {
        joined += piece.value();
    }
    element.remove_children();
    element.text().set(joined.c_str());
    return element.text().get();
}

bool XmlDocument::parse(std::string_view xml, std::string& problem)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (xml.starts_with(kByteOrderMark)) {
        xml.remove_prefix(kByteOrderMark.size());
    }
    if (!check(xml, problem)) {
        return false;
    }
    mText = xml;
    const pugi::xml_parse_result result = parseElement(mText.data(), mText.size(), mDocument);
    if (!result) {
        mOffset = static_cast<std::size_t>(result.offset);
        problem = result.description();
    }
    return static_cast<bool>(result);
}

bool XmlDocument::check(std::string_view xml, std::string& problem)
{
    if (!checkCharacters(xml, problem)) {
        mOffset = std::min(findForbidden(xml), xml.size());
        return false;
    }
    XmlScanner scanner;
    DepthCheck depth;
    XmlToken token = scanner.next(xml);
    for (; token.end > token.begin; token = scanner.next(xml)) {
        mOffset = token.begin;
        if (token.kind == Kind::Bad) {
            problem = token.problem;
            return false;
        }
        if (!depth.accept(token, xml.substr(token.begin, token.end - token.begin), problem)) {
            return false;
        }
    }
    mOffset = token.begin;
    if (token.kind == Kind::Bad) {
        problem = token.problem;
        return false;
    }
    if (!depth.isComplete()) {
        problem = "the document breaks off";
        return false;
    }
    if (!isXmlSpaceOnly(xml.substr(token.begin))) {
        problem = "text outside the document's element";
        return false;
    }
    return true;
}

} // namespace cimxml
