#include "MessageRegistry.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>

namespace {

// Registries in use hold up to a few hundred messages; anything beyond this is no registry.
constexpr std::streamsize kMaxFileBytes = 2 << 20;
constexpr int kMaxJsonDepth = 32;
// What two digits behind a "%" can name.
constexpr Json::UInt kMaxArguments = 99;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isAlphanumeric(char c)
{
    const char lower = static_cast<char>(c | 0x20);
    return isDigit(c) || (lower >= 'a' && lower <= 'z');
}

// A string member of an object; "" when it is absent or of another type.
std::string textMember(const Json::Value& object, std::string_view key)
{
    const Json::Value* value = object.find(key.data(), key.data() + key.size());
    return value != nullptr && value->isString() ? value->asString() : std::string();
}

// "1.18" of "1.18.0"; "" when that is no version.
std::string majorMinor(const std::string& version)
{
    const size_t firstDot = version.find('.');
    const size_t secondDot = std::min(version.find('.', firstDot + 1), version.size());
    const bool isVersion =
        firstDot != std::string::npos && firstDot > 0 && secondDot > firstDot + 1 &&
        std::all_of(version.begin(), version.end(), [](char c) { return isDigit(c) || c == '.'; });
    return isVersion ? version.substr(0, secondDot) : std::string();
}

// The functions below return what is wrong, "" for nothing.

std::string readFile(const std::string& path, std::string& content)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return "cannot be opened: " + std::generic_category().message(errno);
    }
    content.resize(static_cast<size_t>(kMaxFileBytes) + 1);
    file.read(content.data(), kMaxFileBytes + 1);
    if (file.bad() || !file.eof()) {
        return file.bad() ? "cannot be read" : "is too long for a message registry";
    }
    content.resize(static_cast<size_t>(file.gcount()));
    return {};
}

std::string parseJson(const std::string& text, Json::Value& root)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = kMaxJsonDepth;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) {
        std::replace(errors.begin(), errors.end(), '\n', ' ');
        return "is not JSON: " + errors;
    }
    return root.isObject() ? "" : "is not a JSON object";
}

// Looks only at the members that a response needs; registries carry many more.
bool readMessage(const Json::Value& entry, RegistryMessage& message)
{
    if (!entry.isObject()) {
        return false;
    }
    message.text = textMember(entry, "Message");
    message.resolution = textMember(entry, "Resolution");
    message.severity = textMember(entry, "MessageSeverity");
    if (message.severity.empty()) {
        message.severity = textMember(entry, "Severity"); // its name before MessageRegistry 1.4
    }
    const Json::Value& count = entry["NumberOfArgs"];
    if (!count.isUInt() || count.asUInt() > kMaxArguments) {
        return false;
    }
    message.argumentCount = count.asUInt();
    return !message.text.empty() && !message.resolution.empty() && !message.severity.empty();
}

} // namespace

MessageRegistry::MessageRegistry(std::string name) : mName(std::move(name)), mIdPrefix(mName) {}

bool MessageRegistry::load(const std::string& directory, std::string& problem)
{
    const std::string path = directory + '/' + mName + ".json";
    std::string cause;
    try {
        cause = readFrom(path);
    } catch (const std::exception& error) { // jsoncpp's reader, where the nesting is too deep
        cause = std::string("is not usable: ") + error.what();
    }
    problem = cause.empty() ? cause : path + ' ' + cause;
    return problem.empty();
}

std::string MessageRegistry::readFrom(const std::string& path)
{
    std::string content;
    std::string cause = readFile(path, content);
    Json::Value root;
    if (cause.empty()) {
        cause = parseJson(content, root);
    }
    if (!cause.empty()) {
        return cause;
    }
    const std::string prefix = textMember(root, "RegistryPrefix");
    const std::string version = majorMinor(textMember(root, "RegistryVersion"));
    if (prefix.empty() || !std::all_of(prefix.begin(), prefix.end(), isAlphanumeric)) {
        return "has no usable RegistryPrefix";
    }
    if (version.empty()) {
        return "has no usable RegistryVersion";
    }
    if (!root["Messages"].isObject()) {
        return "has no Messages";
    }
    mIdPrefix = prefix + '.' + version;
    return readMessages(root["Messages"]);
}

std::string MessageRegistry::readMessages(const Json::Value& messages)
{
    std::string cause;
    for (auto entry = messages.begin(); entry != messages.end(); ++entry) {
        RegistryMessage message;
        if (readMessage(*entry, message)) {
            mMessages.insert_or_assign(entry.name(), std::move(message));
        } else if (cause.empty()) {
            cause = "has a damaged message: " + entry.name();
        }
    }
    return cause;
}

std::string MessageRegistry::messageId(const std::string& key) const
{
    return mIdPrefix + '.' + key;
}

const RegistryMessage* MessageRegistry::find(const std::string& key) const
{
    const auto found = mMessages.find(key);
    return found != mMessages.end() ? &found->second : nullptr;
}

namespace {

// A "%n" at the start of a text: the argument's number, 0 when there is none, and its length.
struct Placeholder
{
    size_t number = 0;
    size_t length = 0;
};

Placeholder placeholderAt(std::string_view text, size_t argumentCount)
{
    Placeholder longest;
    size_t number = 0;
    for (size_t i = 1; i < text.size() && isDigit(text[i]) && number <= argumentCount; ++i) {
        number = number * 10 + static_cast<size_t>(text[i] - '0');
        if (number == 0) {
            break; // "%0" and "%01" are no placeholders
        }
        if (number <= argumentCount) {
            longest = {number, i + 1};
        }
    }
    return longest;
}

} // namespace

std::string fillArguments(const std::string& text, const std::vector<std::string>& arguments)
{
    std::string filled;
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t percent = std::min(rest.find('%'), rest.size());
        filled += rest.substr(0, percent);
        rest.remove_prefix(percent);
        if (rest.empty()) {
            break;
        }
        const Placeholder placeholder = placeholderAt(rest, arguments.size());
        if (placeholder.number == 0) {
            filled += '%';
            rest.remove_prefix(1);
        } else {
            filled += arguments[placeholder.number - 1];
            rest.remove_prefix(placeholder.length);
        }
    }
    return filled;
}
