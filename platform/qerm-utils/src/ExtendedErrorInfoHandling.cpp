#include "ExtendedErrorInfoHandling.h"

#include "MessageRegistry.h"

#include <initializer_list>
#include <string_view>

namespace {

// Longer texts come from no name or value that anyone would look for in an error. What a client has
// sent must not come back several times as large: message and arguments repeat it, and JSON writes
// up to six bytes for one.
constexpr size_t kMaxArgumentBytes = 256;

// The report of a message that no registry describes.
const char* const kUndescribedText =
    "The request ended with a condition that has no description here.";
const char* const kUndescribedResolution =
    "Look up the message id in the documentation of this system, or see the service's log.";

const char* const kExtendedInfo = "@Message.ExtendedInfo";

std::string& registryDirectory()
{
    static std::string directory = "/usr/share/cimgate/registries";
    return directory;
}

struct Registries
{
    MessageRegistry base{"Base.1.18"};
    MessageRegistry product{"Vexo.1.0"};
    std::string problem;

    Registries()
    {
        std::string productProblem;
        base.load(registryDirectory(), problem);
        product.load(registryDirectory(), productProblem);
        problem += problem.empty() || productProblem.empty() ? "" : "; ";
        problem += productProblem;
    }
};

// Reads the files at the first call; other threads wait for it.
const Registries& registries()
{
    static const Registries kLoaded;
    return kLoaded;
}

// Runs what makes a part of a response. Nothing in it fails but the memory: the response then has
// less in it, and its maker still gets no exception.
template <typename Action>
bool guarded(Action action) noexcept
{
    try {
        action();
        return true;
    } catch (...) {
        return false;
    }
}

// Length of the well-formed UTF-8 sequence that text begins with; 0 when there is none
// (RFC 3629, section 4).
size_t sequenceLength(std::string_view text)
{
    const auto byteAt = [text](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned int lead = byteAt(0);
    const unsigned int second = byteAt(1);
    if (lead < 0x80) {
        return 1;
    }
    const bool isOverlong =
        lead < 0xC2 || (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool isSurrogate = lead == 0xED && second > 0x9F;
    const bool isTooLarge = lead > 0xF4 || (lead == 0xF4 && second > 0x8F);
    if (isOverlong || isSurrogate || isTooLarge) {
        return 0;
    }
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    for (size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

// Arguments come from request URIs and may hold any bytes. jsoncpp's writer trusts a lead byte and
// swallows what follows it, so every byte that is not UTF-8 becomes U+FFFD first.
std::string wellFormed(std::string_view text)
{
    std::string repaired;
    repaired.reserve(text.size());
    while (!text.empty()) {
        const size_t length = sequenceLength(text);
        repaired += length != 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(length != 0 ? length : 1);
    }
    return repaired;
}

// An argument as a response shows it: a text that is too long ends at a character, with dots.
std::string shownArgument(std::string_view text)
{
    constexpr std::string_view kDots = "...";
    constexpr size_t kLongestCharacter = 4;
    std::string shown = wellFormed(text.substr(0, kMaxArgumentBytes + kLongestCharacter));
    if (shown.size() > kMaxArgumentBytes) {
        size_t end = kMaxArgumentBytes - kDots.size();
        while ((static_cast<unsigned char>(shown[end]) & 0xC0U) == 0x80U) {
            --end;
        }
        shown.replace(end, std::string::npos, kDots);
    }
    return shown;
}

const char* textOrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

// One entry of "@Message.ExtendedInfo". severity is that of a message without description.
Json::Value makeMessage(const MessageRegistry& registry, const char* key,
                        std::vector<std::string> arguments, const char* severity)
{
    const RegistryMessage undescribed{kUndescribedText, severity, kUndescribedResolution,
                                      arguments.size()};
    const RegistryMessage* found = registry.find(key);
    const RegistryMessage& source = found != nullptr ? *found : undescribed;
    arguments.resize(source.argumentCount);

    Json::Value message(Json::objectValue);
    message["@odata.type"] = "#Message.v1_1_1.Message";
    message["MessageId"] = wellFormed(registry.messageId(key));
    message["Message"] = wellFormed(fillArguments(source.text, arguments));
    message["MessageArgs"] = Json::Value(Json::arrayValue);
    for (const std::string& argument : arguments) {
        message["MessageArgs"].append(argument);
    }
    message["Severity"] = wellFormed(source.severity);
    message["MessageSeverity"] = message["Severity"];
    message["Resolution"] = wellFormed(source.resolution);
    return message;
}

// An error named by key, "GeneralError" where that is empty.
Json::Value makeError(const MessageRegistry& registry, const char* key, const char* related,
                      std::initializer_list<const char*> arguments)
{
    if (*textOrEmpty(key) == '\0') {
        return makeError(registries().base, "GeneralError", related, {});
    }
    std::vector<std::string> texts;
    for (const char* argument : arguments) {
        texts.push_back(shownArgument(textOrEmpty(argument)));
    }
    Json::Value message = makeMessage(registry, key, std::move(texts), "Critical");
    if (*textOrEmpty(related) != '\0') {
        message["RelatedProperties"].append(wellFormed(related));
    }
    return message;
}

void appendProductError(std::vector<Json::Value>& messages, const char* key, const char* related,
                        std::initializer_list<const char*> arguments)
{
    guarded([&] { messages.push_back(makeError(registries().product, key, related, arguments)); });
}

void appendBaseError(std::vector<Json::Value>& messages, const char* key, const char* related,
                     std::initializer_list<const char*> arguments)
{
    guarded([&] { messages.push_back(makeError(registries().base, key, related, arguments)); });
}

void appendToBody(Json::Value& body, Json::Value message)
{
    if (!body.isObject() && !body.isNull()) {
        return;
    }
    Json::Value& list = body[kExtendedInfo];
    if (!list.isArray()) {
        list = Json::Value(Json::arrayValue);
    }
    list.append(std::move(message));
}

} // namespace

void ExtendedErrorInfoHandling::SetRegistryDirectory(const std::string& directory)
{
    guarded([&] { registryDirectory() = directory; });
}

bool ExtendedErrorInfoHandling::LoadRegistries(std::string& problem)
{
    problem.clear();
    return guarded([&] { problem = registries().problem; }) && problem.empty();
}

ExtendedErrorInfoHandling::ExtendedErrorInfoHandling() = default;
ExtendedErrorInfoHandling::~ExtendedErrorInfoHandling() = default;

void ExtendedErrorInfoHandling::InsertMessageID(const char* id)
{
    appendProductError(mMessages, id, nullptr, {});
}

void ExtendedErrorInfoHandling::InsertMessageID(const char* id, const char* related)
{
    appendProductError(mMessages, id, related, {});
}

void ExtendedErrorInfoHandling::InsertMessageID(const char* id, const char* related, const char* a1)
{
    appendProductError(mMessages, id, related, {a1});
}

void ExtendedErrorInfoHandling::InsertMessageID(const char* id, const char* related, const char* a1,
                                                const char* a2)
{
    appendProductError(mMessages, id, related, {a1, a2});
}

void ExtendedErrorInfoHandling::InsertMessageID(const char* id, const char* related, const char* a1,
                                                const char* a2, const char* a3)
{
    appendProductError(mMessages, id, related, {a1, a2, a3});
}

void ExtendedErrorInfoHandling::InsertBaseMessageID(const char* name, const char* related)
{
    appendBaseError(mMessages, name, related, {});
}

void ExtendedErrorInfoHandling::InsertBaseMessageID(const char* name, const char* related,
                                                    const char* a1)
{
    appendBaseError(mMessages, name, related, {a1});
}

void ExtendedErrorInfoHandling::InsertBaseMessageID(const char* name, const char* related,
                                                    const char* a1, const char* a2)
{
    appendBaseError(mMessages, name, related, {a1, a2});
}

void ExtendedErrorInfoHandling::InsertBaseMessageID(const char* name, const char* related,
                                                    const char* a1, const char* a2, const char* a3)
{
    appendBaseError(mMessages, name, related, {a1, a2, a3});
}

void ExtendedErrorInfoHandling::GetNewExtendedErrMsg(std::string& out) const
{
    out.clear();
    guarded([&] {
        const Json::Value summary = mMessages.size() == 1
                                        ? mMessages.front()
                                        : makeError(registries().base, "GeneralError", nullptr, {});
        Json::Value body;
        Json::Value& error = body["error"];
        error["code"] = summary["MessageId"];
        error["message"] = summary["Message"];
        error[kExtendedInfo] = Json::Value(Json::arrayValue);
        for (const Json::Value& message : mMessages) {
            error[kExtendedInfo].append(message);
        }
        Json::StreamWriterBuilder compact;
        compact["indentation"] = "";
        out = Json::writeString(compact, body) + '\n';
    });
}

void ExtendedErrorInfoHandling::AppendSuccessExtendedJSON(Json::Value& body, const char* id)
{
    guarded([&] {
        const bool isProduct = *textOrEmpty(id) != '\0';
        appendToBody(body, isProduct ? makeMessage(registries().product, id, {}, "OK")
                                     : makeMessage(registries().base, "Success", {}, "OK"));
    });
}

void ExtendedErrorInfoHandling::AppendCreatedExtendedJSON(Json::Value& body)
{
    guarded([&] { appendToBody(body, makeMessage(registries().base, "Created", {}, "OK")); });
}
