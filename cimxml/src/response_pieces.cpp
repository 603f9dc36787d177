// What an answer returns, object by object.
#include "decoder.h"
#include "response_state.h"
#include "xml_document.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>

namespace cimxml {
namespace {

using Kind = XmlToken::Kind;

bool isClassName(pugi::xml_node element)
{
    return isNamed(element, "CLASSNAME");
}

// INSTANCENAME, or one of the elements that end with PATH
pugi::xml_node pathIn(pugi::xml_node element)
{
    return element.find_child([](pugi::xml_node child) {
        return isNamed(child, "INSTANCENAME") || std::string_view(child.name()).ends_with("PATH");
    });
}

// The elements that lists consist of. None is ever within another of its name.
bool isListed(std::string_view name)
{
    return name == "VALUE.NAMEDINSTANCE" || name == "VALUE.OBJECTWITHPATH" ||
           name == "VALUE.OBJECT" || name == "VALUE.INSTANCEWITHPATH";
}

// Whether there is a tag that begins with this; most texts have no such character at all.
bool holdsTag(std::string_view xml, char c)
{
    return xml.find(c) != std::string_view::npos &&
           xml.find(std::string{'<', c}) != std::string_view::npos;
}

} // namespace

bool ResponseReader::State::beginPiece(const XmlToken& token)
{
    mIsInPiece = true;
    mPieceBegin = token.begin;
    mPieceDepth = token.kind == Kind::StartTag ? 1 : 0;
    if (mPieceDepth == 0) {
        return endPiece(token.end);
    }
    const auto tag = std::string_view(mBuffer).substr(token.begin, token.end - token.begin);
    if (isListed(tagName(tag))) {
        mClosing = "</" + std::string(tagName(tag));
        mNoClosing = token.end;
    }
    return true;
}

// The end of a listed object is found by its end tag alone, which is several times faster than tag
// by tag. Only where there is a comment, CDATA or an instruction, which may hold anything, is that
// not enough, and the scanner goes on. False when that end has not arrived, or on a problem.
bool ResponseReader::State::skipToClosing()
{
    const auto looked = mBuffer.begin() + static_cast<std::ptrdiff_t>(mNoClosing);
    const std::boyer_moore_horspool_searcher searcher(mClosing.begin(), mClosing.end());
    const auto at = std::search(looked, mBuffer.end(), searcher);
    const auto begin = static_cast<std::size_t>(at - mBuffer.begin());
    if (at == mBuffer.end()) {
        mNoClosing = std::max(mNoClosing, begin - std::min(begin, mClosing.size() - 1));
        return false;
    }
    mNoClosing = begin;
    const std::size_t last = mBuffer.find('>', begin);
    if (last == std::string::npos) {
        return false;
    }
    mClosing.clear();
    const auto piece = std::string_view(mBuffer).substr(mPieceBegin, last + 1 - mPieceBegin);
    if (holdsTag(piece, '!') || holdsTag(piece, '?')) {
        return true;
    }
    mScanner.skipTo(last + 1);
    return endPiece(last + 1);
}

bool ResponseReader::State::takePieceToken(const XmlToken& token)
{
    if (token.kind == Kind::StartTag) {
        ++mPieceDepth;
        return mPieceDepth + mLevel <= mLimits.depth || fail("elements nested too deeply");
    }
    if (token.kind == Kind::EndTag) {
        --mPieceDepth;
        return mPieceDepth != 0 || endPiece(token.end);
    }
    if (token.kind == Kind::Instruction) {
        const auto text = std::string_view(mBuffer).substr(token.begin, token.end - token.begin);
        return checkInstruction(text, false, mProblem);
    }
    return true;
}

bool ResponseReader::State::endPiece(std::size_t end)
{
    mIsInPiece = false;
    const std::size_t bytes = end - mPieceBegin;
    std::string problem;
    if (!checkCharacters(std::string_view(mBuffer).substr(mPieceBegin, bytes), problem)) {
        return fail("the answer is not well-formed: " + problem);
    }
    const pugi::xml_parse_result result = parseElement(mBuffer.data() + mPieceBegin, bytes, mPiece);
    if (!result) {
        return fail(std::string("the answer is not well-formed: ") + result.description());
    }
    const pugi::xml_node element = mPiece.first_child();
    Fault fault;
    if (!checkChild(element, pieceRule(), fault,
                    mLimits.depth - std::min<std::size_t>(mLimits.depth, mLevel))) {
        return fail(std::move(fault.problem));
    }
    if (!dispatch(element)) {
        return !mProblem.empty() ? false : fail(std::string("unexpected ") + element.name());
    }
    return true;
}

const ElementRule& ResponseReader::State::pieceRule() const
{
    if (mLevel == Returns) {
        return kReturnValuesRule;
    }
    return mIsMethod ? kMethodResponseRule : kOperationResponseRule;
}

bool ResponseReader::State::dispatch(pugi::xml_node element)
{
    if (mLevel == Call) {
        return dispatchOutcome(element);
    }
    if (mHasError) {
        return fail(std::string(element.name()) + " behind an ERROR");
    }
    if (isNamed(element, "INSTANCENAME") || isNamed(element, "INSTANCEPATH")) {
        return mHandler->onPath(ObjectPathView(element));
    }
    if (isNamed(element, "OBJECTPATH")) {
        return mHandler->onPath(ObjectPathView(pathIn(element)));
    }
    if (isClassName(element)) {
        return mHandler->onClassName(ObjectPathView(element).className());
    }
    const bool isValue = isNamed(element, "VALUE") || isNamed(element, "VALUE.ARRAY") ||
                         isNamed(element, "VALUE.REFERENCE");
    return isValue ? dispatchValue(element) : dispatchObject(element);
}

// INSTANCE, CLASS, and the VALUE. elements that hold one of them.
bool ResponseReader::State::dispatchObject(pugi::xml_node element)
{
    if (isNamed(element, "INSTANCE")) {
        return mHandler->onInstance(InstanceView(element), ObjectPathView());
    }
    if (isNamed(element, "CLASS")) {
        return dispatchClass(element, ObjectPathView());
    }
    const ObjectPathView path(pathIn(element));
    if (const pugi::xml_node instance = element.child("INSTANCE")) {
        return mHandler->onInstance(InstanceView(instance), path);
    }
    const pugi::xml_node cls = element.child("CLASS");
    return cls ? dispatchClass(cls, path) : fail(std::string(element.name()) + " holds no object");
}

bool ResponseReader::State::dispatchClass(pugi::xml_node element, const ObjectPathView& path)
{
    Class cls;
    Fault fault;
    if (!decodeClass(element, cls, fault)) {
        return fail(std::move(fault.problem));
    }
    return mHandler->onClass(cls, path);
}

bool ResponseReader::State::dispatchValue(pugi::xml_node element)
{
    Value value;
    Fault fault;
    if (!decodeValueElement(element, Type::String, value, fault)) {
        return fail(std::move(fault.problem));
    }
    return mHandler->onValue(value);
}

// ERROR, RETURNVALUE, PARAMVALUE
bool ResponseReader::State::dispatchOutcome(pugi::xml_node element)
{
    if (isNamed(element, "ERROR")) {
        mHasError = true;
        return mHandler->onError(decodeError(element));
    }
    const bool isReturn = isNamed(element, "RETURNVALUE");
    if (mHasError || (isReturn && mHasReturnValue)) {
        return fail(std::string(element.name()) + " where none is expected");
    }
    mHasReturnValue = mHasReturnValue || isReturn;
    MethodParameter parameter;
    Fault fault;
    if (!decodeMethodParameter(element, parameter, fault)) {
        return fail(std::move(fault.problem));
    }
    return isReturn ? mHandler->onReturnValue(parameter) : mHandler->onOutput(parameter);
}

} // namespace cimxml
