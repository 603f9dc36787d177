#include "xml_scanner.h"

#include "xml_characters.h"

#include <algorithm>

namespace cimxml {
namespace {

using Kind = XmlToken::Kind;
constexpr std::size_t kNowhere = std::string_view::npos;
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCdata = "<![CDATA[";

bool isBeginningOf(std::string_view text, std::string_view whole)
{
    return whole.starts_with(text.substr(0, whole.size()));
}

bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
           static_cast<unsigned char>(c) >= 0x80U;
}

// Outside the values of a tag's attributes.
bool meansSomething(char c)
{
    return c == '>' || c == '"' || c == '\'' || c == '<';
}

} // namespace

std::string_view tagName(std::string_view tag)
{
    tag.remove_prefix(tag.starts_with("</") ? 2 : 1);
    return tag.substr(0, tag.find_first_of("/> \t\r\n"));
}

XmlToken XmlScanner::next(std::string_view text)
{
    XmlToken token;
    token.begin = mBegin;
    if (mKind == Kind::NeedMore) {
        mKind = classify(text.substr(mBegin), token.problem);
    }
    if (mKind == Kind::NeedMore || mKind == Kind::Bad) {
        token.kind = mKind;
        return token;
    }
    const std::size_t end = findEnd(text);
    if (end == kNowhere) {
        mLooked = text.size();
        return token;
    }
    token.kind = mKind;
    token.end = end;
    if ((mKind == Kind::StartTag || mKind == Kind::EndTag) && text[end - 1] == '<') {
        token.kind = Kind::Bad;
        token.problem = "\"<\" within a tag";
    } else if (mKind == Kind::StartTag && text[end - 2] == '/') {
        token.kind = Kind::EmptyTag;
    }
    mBegin = mLooked = end;
    mKind = Kind::NeedMore;
    return token;
}

void XmlScanner::skipTo(std::size_t place)
{
    mBegin = mLooked = place;
    mKind = Kind::NeedMore;
    mQuote = 0;
}

void XmlScanner::drop(std::size_t bytes)
{
    mBegin -= bytes;
    mLooked -= bytes;
}

Kind XmlScanner::classify(std::string_view text, const char*& problem) const
{
    if (text.empty()) {
        return Kind::NeedMore;
    }
    if (text.front() != '<') {
        return Kind::Text;
    }
    if (text.size() == 1) {
        return Kind::NeedMore;
    }
    if (isNameStart(text[1])) {
        return Kind::StartTag;
    }
    switch (text[1]) {
    case '/':
        return Kind::EndTag;
    case '?':
        return Kind::Instruction;
    case '!':
        break;
    default:
        problem = "a tag without a name";
        return Kind::Bad;
    }
    if (text.starts_with(kComment)) {
        return Kind::Comment;
    }
    if (text.starts_with(kCdata)) {
        return Kind::Cdata;
    }
    if (isBeginningOf(text, kComment) || isBeginningOf(text, kCdata)) {
        return Kind::NeedMore;
    }
    problem = "a document type declaration";
    return Kind::Bad;
}

// One behind the token; kNowhere while it goes on.
std::size_t XmlScanner::findEnd(std::string_view text)
{
    switch (mKind) {
    case Kind::Text:
        return text.find('<', mLooked);
    case Kind::Comment:
        return findClosing(text, "-->", kComment.size());
    case Kind::Cdata:
        return findClosing(text, "]]>", kCdata.size());
    case Kind::Instruction:
        return findClosing(text, "?>", 2);
    default:
        return findTagEnd(text);
    }
}

// The end of a tag; or one behind a "<" within it, which is wrong.
std::size_t XmlScanner::findTagEnd(std::string_view text)
{
    const char* const end = text.data() + text.size();
    const char* at = text.data() + std::max(mLooked, mBegin + 1);
    for (; at < end; ++at) {
        if (mQuote == 0) {
            at = std::find_if(at, end, [](char c) { return meansSomething(c); });
        } else {
            at = std::find_if(at, end, [quote = mQuote](char c) { return c == quote || c == '<'; });
        }
        if (at == end) {
            break;
        }
        if (*at == '<' || *at == '>') {
            mQuote = 0;
            return static_cast<std::size_t>(at - text.data()) + 1;
        }
        mQuote = mQuote == 0 ? *at : '\0';
    }
    return kNowhere;
}

std::size_t XmlScanner::findClosing(std::string_view text, std::string_view closing,
                                    std::size_t opening) const
{
    // All but the last byte of the closing may have been there before.
    const std::size_t looked = mLooked - std::min(mLooked, closing.size() - 1);
    const std::size_t at = text.find(closing, std::max(mBegin + opening, looked));
    return at == kNowhere ? kNowhere : at + closing.size();
}

} // namespace cimxml
