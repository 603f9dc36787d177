// Any bytes as a CIM-XML message: a request, an answer that arrives in pieces, a declaration
// document.
//
// What has been read is written and read again: it must be the same text then. The last byte of an
// input is the size of the pieces.
#include "checks.h"

#include <cimxml/declarations.h>
#include <cimxml/objects.h>
#include <cimxml/request.h>
#include <cimxml/response.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace {

// Writes what a reader hands over into another answer.
class Copier : public cimxml::ResponseHandler
{
public:
    bool onInstance(const cimxml::InstanceView& view, const cimxml::ObjectPathView& at) override
    {
        cimxml::Instance instance;
        std::string problem;
        if (!cimxml::toInstance(view, instance, problem)) {
            fuzz::require(!problem.empty(), "a problem is told");
            log += problem;
            return true;
        }
        if (at) {
            copy.addNamedInstance(pathOf(at), instance);
        } else {
            copy.addInstance(instance);
        }
        return true;
    }
    bool onPath(const cimxml::ObjectPathView& path) override
    {
        copy.addInstanceName(pathOf(path));
        return true;
    }
    bool onClass(const cimxml::Class& cls, const cimxml::ObjectPathView& /*path*/) override
    {
        copy.addClass(cls);
        return true;
    }
    bool onClassName(std::string_view name) override
    {
        copy.addClassName(name);
        return true;
    }
    bool onValue(const cimxml::Value& value) override
    {
        copy.addValue(value);
        return true;
    }
    bool onReturnValue(const cimxml::MethodParameter& value) override
    {
        log += cimxml::encodeMethodResponse("", "m", &value, {});
        return true;
    }
    bool onOutput(const cimxml::MethodParameter& output) override
    {
        log += cimxml::encodeMethodResponse("", "m", nullptr, {output});
        return true;
    }
    bool onError(const cimxml::CimError& error) override
    {
        log += cimxml::encodeErrorResponse("", "o", error);
        return true;
    }

    cimxml::ResponseWriter copy{"1", "Copy"};
    std::string log; // what an answer of objects does not hold

private:
    cimxml::ObjectPath pathOf(const cimxml::ObjectPathView& view)
    {
        cimxml::ObjectPath path;
        std::string problem;
        if (!cimxml::toObjectPath(view, path, problem)) {
            log += problem;
            path = {};
        }
        // A name is not empty in any message.
        path.className = path.className.empty() ? "None" : path.className;
        return path;
    }
};

struct Outcome
{
    std::string copy;
    std::string log;

    bool operator==(const Outcome&) const = default;
};

Outcome read(std::string_view answer, std::size_t pieceBytes)
{
    Copier copier;
    cimxml::ResponseReader reader(copier);
    while (!answer.empty() && reader.feed(answer.substr(0, pieceBytes))) {
        answer.remove_prefix(answer.substr(0, pieceBytes).size());
    }
    const bool isComplete = reader.finish();
    fuzz::require(isComplete == reader.problem().empty(),
                  "a problem is told exactly where there is one");
    return {copier.copy.finish(),
            copier.log + reader.problem() + reader.messageId() + ' ' + reader.operation()};
}

void readAnswer(std::string_view answer, std::size_t pieceBytes)
{
    const Outcome whole = read(answer, answer.size() + 1);
    fuzz::require(read(answer, pieceBytes) == whole, "pieces of any size give the same");
    const Outcome again = read(whole.copy, pieceBytes);
    fuzz::require(again.log == "1 Copy", "what was written is sound");
    fuzz::require(again.copy == whole.copy, "what was written reads back");
}

void readRequest(std::string_view body)
{
    const auto result = cimxml::decodeRequest(body);
    if (const auto* fault = std::get_if<cimxml::RequestFault>(&result)) {
        fuzz::require(!fault->cimError.empty() && !fault->message.empty(), "a fault is told");
        return;
    }
    const auto encode = [](const auto& request) {
        return cimxml::encodeRequest(request);
    };
    const std::string text = std::visit(encode, std::get<cimxml::Request>(result));
    const auto again = cimxml::decodeRequest(text);
    const auto* request = std::get_if<cimxml::Request>(&again);
    fuzz::require(request != nullptr, "a request that was written is sound");
    fuzz::require(std::visit(encode, *request) == text, "a request that was written reads back");
}

void readDocument(std::string_view document)
{
    cimxml::Declarations declarations;
    std::string problem;
    const bool isSound = cimxml::readDeclarations(document, declarations, problem);
    fuzz::require(isSound == problem.empty(), "a problem is told exactly where there is one");
    for (const cimxml::DeclaredClass& declared : declarations.classes) {
        cimxml::Class cls;
        const std::string text = cimxml::encodeClass(declared.cls);
        fuzz::require(!isSound || cimxml::decodeClass(text, cls, problem), "a class reads back");
        fuzz::require(!isSound || cimxml::encodeClass(cls) == text, "a class stays the same");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(data, data + size);
    const std::size_t pieceBytes =
        input.empty() ? 1 : std::size_t{1} + static_cast<unsigned char>(input.back());
    readRequest(input);
    readAnswer(input, pieceBytes);
    readDocument(input);
    return 0;
}
