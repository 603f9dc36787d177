// Finds where the tags of an XML text are, as the text arrives.
#ifndef CIMXML_XML_SCANNER_H_
#define CIMXML_XML_SCANNER_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace cimxml {

struct XmlToken
{
    enum class Kind {
        NeedMore,
        Bad,
        StartTag,
        EmptyTag,
        EndTag,
        Text,
        Cdata,
        Comment,
        Instruction
    };

    Kind kind = Kind::NeedMore;
    std::size_t begin = 0;
    std::size_t end = 0;
    const char* problem = ""; // of Bad
};

// NAME of <NAME ...>, <NAME/>, </NAME>
std::string_view tagName(std::string_view tag);

// Remembers how far it has looked, so that a token that arrives byte by byte is looked at once.
// Refuses document type declarations: no message needs one, and entities can be bombs.
class XmlScanner
{
public:
    // The next token of text, which begins with what the last call was given.
    XmlToken next(std::string_view text);

    // Where the next token begins.
    std::size_t begin() const { return mBegin; }

    // Leaves aside what is before this place.
    void skipTo(std::size_t place);

    // The text has lost these bytes at its front; all of them had been in tokens.
    void drop(std::size_t bytes);

private:
    XmlToken::Kind classify(std::string_view text, const char*& problem) const;
    std::size_t findEnd(std::string_view text);
    std::size_t findTagEnd(std::string_view text);
    std::size_t findClosing(std::string_view text, std::string_view closing,
                            std::size_t opening) const;

    XmlToken::Kind mKind = XmlToken::Kind::NeedMore;
    std::size_t mBegin = 0;
    std::size_t mLooked = 0; // no end of this token before here
    char mQuote = 0;         // within an attribute's value
};

} // namespace cimxml

#endif
