// The elements around what an answer returns.
#include "response_state.h"
#include "xml_characters.h"
#include "xml_document.h"

#include <algorithm>
#include <utility>

namespace cimxml {
namespace {

using Kind = XmlToken::Kind;

// However much is fed at once, no more than this is copied at a time.
constexpr std::size_t kSliceBytes = std::size_t{64} * 1024;

bool isMajorVersion(pugi::xml_attribute version, const char* majorAndPoint)
{
    const std::string_view text = version.value();
    return text.empty() || text.starts_with(majorAndPoint);
}

} // namespace

void ResponseReader::State::reset(ResponseHandler& handler)
{
    mHandler = &handler;
    mProblem.clear();
    mMessageId.clear();
    mOperation.clear();
    mBuffer.clear();
    mScanner = XmlScanner();
    mReceivedBytes = 0;
    mIsAtBeginning = true;
    mIsFirstToken = true;
    mLevel = Outside;
    mHasChild = {};
    mIsMethod = false;
    mHasError = false;
    mHasReturnValue = false;
    mIsInPiece = false;
    mPieceDepth = 0;
    mClosing.clear();
}

bool ResponseReader::State::fail(std::string problem)
{
    mProblem = std::move(problem);
    return false;
}

bool ResponseReader::State::feed(std::string_view bytes)
{
    while (mProblem.empty() && !bytes.empty()) {
        const std::string_view slice = bytes.substr(0, kSliceBytes);
        bytes.remove_prefix(slice.size());
        feedSlice(slice);
    }
    return mProblem.empty();
}

bool ResponseReader::State::feedSlice(std::string_view bytes)
{
    mReceivedBytes += bytes.size();
    if (mReceivedBytes > mLimits.bodyBytes) {
        return fail("the answer is longer than " + std::to_string(mLimits.bodyBytes) + " bytes");
    }
    mBuffer += bytes;
    if (isBeginning() || !takeTokens()) {
        return mProblem.empty();
    }
    compact();
    if (mBuffer.size() > mLimits.objectBytes) {
        return fail("an object is longer than " + std::to_string(mLimits.objectBytes) + " bytes");
    }
    return true;
}

// Takes a byte order mark off; true while there may come more of one.
bool ResponseReader::State::isBeginning()
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (!mIsAtBeginning) {
        return false;
    }
    if (mBuffer.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(mBuffer)) {
        return true;
    }
    mIsAtBeginning = false;
    if (mBuffer.starts_with(kByteOrderMark)) {
        mBuffer.erase(0, kByteOrderMark.size());
    }
    return false;
}

bool ResponseReader::State::takeTokens()
{
    for (;;) {
        if (!mClosing.empty() && !skipToClosing()) {
            return mProblem.empty();
        }
        const XmlToken token = mScanner.next(mBuffer);
        if (token.kind == Kind::NeedMore) {
            return true;
        }
        if (token.kind == Kind::Bad) {
            return fail(std::string("the answer is not well-formed: ") + token.problem);
        }
        if (!(mIsInPiece ? takePieceToken(token) : takeEnvelopeToken(token))) {
            return false;
        }
        mIsFirstToken = false;
    }
}

void ResponseReader::State::compact()
{
    const std::size_t done = mIsInPiece ? mPieceBegin : mScanner.begin();
    mBuffer.erase(0, done);
    mScanner.drop(done);
    mNoClosing -= std::min(mNoClosing, done);
    mPieceBegin = 0;
}

bool ResponseReader::State::finish()
{
    if (!mProblem.empty()) {
        return false;
    }
    if (mLevel != Outside || !mHasChild[Outside]) {
        return fail(mReceivedBytes == 0 ? "the answer is empty" : "the answer breaks off");
    }
    return isXmlSpaceOnly(mBuffer) || fail("the answer goes on behind its end");
}

bool ResponseReader::State::takeEnvelopeToken(const XmlToken& token)
{
    const auto text = std::string_view(mBuffer).substr(token.begin, token.end - token.begin);
    std::string problem;
    if (!checkCharacters(text, problem) ||
        (token.kind == Kind::Instruction && !checkInstruction(text, mIsFirstToken, problem))) {
        return fail("the answer is not well-formed: " + problem);
    }
    switch (token.kind) {
    case Kind::StartTag:
    case Kind::EmptyTag:
        return openEnvelope(token);
    case Kind::EndTag:
        return closeEnvelope(tagName(text));
    case Kind::Text:
    case Kind::Cdata:
        return isXmlSpaceOnly(text) ||
               fail(mLevel == Outside ? "the answer has text outside its element"
                                      : mNames[mLevel] + " may not hold text");
    default:
        return true;
    }
}

bool ResponseReader::State::openEnvelope(const XmlToken& token)
{
    const auto tag = std::string_view(mBuffer).substr(token.begin, token.end - token.begin);
    const std::string_view name = tagName(tag);
    const bool isEmpty = token.kind == Kind::EmptyTag;
    if (mLevel == Returns || (mLevel == Call && (mIsMethod || name != kReturnValuesRule.name))) {
        return beginPiece(token);
    }
    if (mHasChild[mLevel]) {
        return fail(mLevel == Outside ? "the answer goes on behind its end"
                                      : mNames[mLevel] + " holds more than one element");
    }
    if (!isExpected(name)) {
        return fail((mLevel == Outside ? "the answer" : mNames[mLevel]) + " may not hold " +
                    std::string(name));
    }
    enter(name);
    return readAttributes(tag, isEmpty) && (!isEmpty || closeEnvelope(name));
}

bool ResponseReader::State::isExpected(std::string_view name) const
{
    switch (mLevel) {
    case Outside:
        return name == "CIM";
    case Cim:
        return name == "MESSAGE";
    case Message:
        return name == "SIMPLERSP";
    case Response:
        return name == kMethodResponseRule.name || name == kOperationResponseRule.name;
    default:
        return name == kReturnValuesRule.name;
    }
}

void ResponseReader::State::enter(std::string_view name)
{
    mHasChild[mLevel] = true;
    mLevel = static_cast<Level>(mLevel + 1);
    mHasChild[mLevel] = false;
    mNames[mLevel] = name;
    mIsMethod = mIsMethod || name == kMethodResponseRule.name;
}

// Parses a start tag as an element of its own.
bool ResponseReader::State::readAttributes(std::string_view tag, bool isEmpty)
{
    std::string copy(tag.substr(0, tag.size() - (isEmpty ? 2 : 1)));
    copy += "/>";
    pugi::xml_document document;
    const pugi::xml_parse_result result = parseElement(copy.data(), copy.size(), document);
    if (!result) {
        return fail(std::string("the answer is not well-formed: ") + result.description());
    }
    const pugi::xml_node element = document.first_child();
    if (!isMajorVersion(element.attribute("CIMVERSION"), "2.") ||
        !isMajorVersion(element.attribute("DTDVERSION"), "2.") ||
        !isMajorVersion(element.attribute("PROTOCOLVERSION"), "1.")) {
        return fail("the answer is of an unsupported version");
    }
    if (mLevel == Message) {
        mMessageId = element.attribute("ID").value();
    } else if (mLevel == Call) {
        mOperation = element.attribute("NAME").value();
    }
    return mLevel != Call || !mOperation.empty() || fail(mNames[mLevel] + " is without NAME");
}

bool ResponseReader::State::closeEnvelope(std::string_view name)
{
    if (mLevel == Outside || name != mNames[mLevel]) {
        return fail("the answer is not well-formed: </" + std::string(name) +
                    "> closes what is not open");
    }
    if (mLevel < Call && !mHasChild[mLevel]) {
        return fail(mNames[mLevel] + " is empty");
    }
    mLevel = static_cast<Level>(mLevel - 1);
    return true;
}

} // namespace cimxml
