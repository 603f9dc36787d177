// What a ResponseReader knows between two pieces of an answer.
#ifndef CIMXML_RESPONSE_STATE_H_
#define CIMXML_RESPONSE_STATE_H_

#include "grammar.h"
#include "xml_scanner.h"

#include <cimxml/response.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cimxml {

// The elements around the returned objects (the envelope) are followed tag by tag; each object (a
// piece) is collected until its end tag, then parsed in place, handed over and forgotten.
class ResponseReader::State
{
public:
    explicit State(const ReaderLimits& limits) : mLimits(limits) {}

    bool feed(std::string_view bytes);
    bool finish();
    void reset(ResponseHandler& handler);

    const std::string& problem() const { return mProblem; }
    const std::string& messageId() const { return mMessageId; }
    const std::string& operation() const { return mOperation; }

private:
    // The open elements of the envelope; pieces are in the last two.
    enum Level : std::uint8_t { Outside, Cim, Message, Response, Call, Returns };

    bool fail(std::string problem);
    bool isBeginning();
    bool feedSlice(std::string_view bytes);
    bool takeTokens();
    void compact();

    bool takeEnvelopeToken(const XmlToken& token);
    bool openEnvelope(const XmlToken& token);
    void enter(std::string_view name);
    bool isExpected(std::string_view name) const;
    bool readAttributes(std::string_view tag, bool isEmpty);
    bool closeEnvelope(std::string_view name);

    bool skipToClosing();
    bool takePieceToken(const XmlToken& token);
    bool beginPiece(const XmlToken& token);
    bool endPiece(std::size_t end);
    const ElementRule& pieceRule() const;
    bool dispatch(pugi::xml_node element);
    bool dispatchObject(pugi::xml_node element);
    bool dispatchClass(pugi::xml_node element, const ObjectPathView& path);
    bool dispatchValue(pugi::xml_node element);
    bool dispatchOutcome(pugi::xml_node element);

    ReaderLimits mLimits;
    ResponseHandler* mHandler = nullptr;
    std::string mProblem;
    std::string mMessageId;
    std::string mOperation;

    std::string mBuffer; // what has arrived but for what is done with
    XmlScanner mScanner;
    std::size_t mReceivedBytes = 0;
    bool mIsAtBeginning = true; // a byte order mark may come
    bool mIsFirstToken = true;

    Level mLevel = Outside;
    std::array<std::string, Returns + 1> mNames; // of the open elements
    std::array<bool, Returns + 1> mHasChild{};   // whether the one child there may be has been
    bool mIsMethod = false;                      // METHODRESPONSE, not IMETHODRESPONSE
    bool mHasError = false;
    bool mHasReturnValue = false;

    bool mIsInPiece = false;
    std::size_t mPieceBegin = 0;
    std::size_t mPieceDepth = 0;
    std::string mClosing;       // beginning of the end tag that is looked for; empty for none
    std::size_t mNoClosing = 0; // it does not begin before here
    pugi::xml_document mPiece;  // refers to the buffer
};

} // namespace cimxml

#endif
