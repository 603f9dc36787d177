#include "arguments.h"

#include "cim_status.h"

#include <memory>
#include <utility>

namespace cimomd {

namespace {

using cimxml::IntrinsicValue;

cimxml::Scalar textScalar(const std::optional<std::string>& text)
{
    return text ? cimxml::Scalar(*text) : cimxml::Scalar();
}

cimxml::Value arrayOf(const cimxml::TextArray& texts)
{
    std::vector<cimxml::Scalar> elements;
    for (const std::optional<std::string>& text : texts) {
        elements.push_back(textScalar(text));
    }
    return cimxml::Value::array(cimxml::Type::String, std::move(elements));
}

cimxml::Value referenceTo(const cimxml::ObjectPath& path)
{
    return cimxml::Value::of(cimxml::Type::Reference,
                             std::make_shared<const cimxml::ObjectPath>(path));
}

} // namespace

Arguments::Arguments(const cimxml::IntrinsicRequest& request)
    : mParameters(request.parameters), mIsTaken(request.parameters.size())
{}

void Arguments::wrong(const std::string& description)
{
    if (!mFault) {
        mFault = description;
    }
}

// The parameter's value; null when there is none, or when it has none.
const IntrinsicValue* Arguments::take(const char* name, bool isRequired)
{
    const IntrinsicValue* found = nullptr;
    bool isThere = false;
    for (size_t i = 0; i < mParameters.size(); ++i) {
        if (!cimxml::equalsIgnoreCase(mParameters[i].name, name)) {
            continue;
        }
        if (isThere) {
            wrong(std::string("the parameter ") + name + " is given twice");
        }
        isThere = true;
        mIsTaken[i] = true;
        found = &mParameters[i].value;
    }
    if (found != nullptr && std::holds_alternative<std::monostate>(*found)) {
        found = nullptr;
    }
    if (isRequired && found == nullptr) {
        wrong(std::string("the parameter ") + name + " is missing");
    }
    return found;
}

template <typename Kind>
const Kind* Arguments::takeKind(const char* name, bool isRequired)
{
    const IntrinsicValue* const value = take(name, isRequired);
    if (value == nullptr) {
        return nullptr;
    }
    const Kind* const kind = std::get_if<Kind>(value);
    if (kind == nullptr) {
        wrong(std::string("the parameter ") + name + " has a value of another type");
    }
    return kind;
}

bool Arguments::flag(const char* name, bool byDefault)
{
    const auto* const text = takeKind<std::string>(name, false);
    if (text == nullptr) {
        return byDefault;
    }
    const std::optional<cimxml::Scalar> flag = cimxml::parseScalar(cimxml::Type::Boolean, *text);
    if (!flag) {
        wrong(std::string("the parameter ") + name + " is neither TRUE nor FALSE");
        return byDefault;
    }
    return std::get<bool>(*flag);
}

std::string Arguments::className(const char* name)
{
    const auto* const found = takeKind<cimxml::ClassName>(name, false);
    return found == nullptr ? std::string() : found->name;
}

std::string Arguments::requiredClassName(const char* name)
{
    const auto* const found = takeKind<cimxml::ClassName>(name, true);
    return found == nullptr ? std::string() : found->name;
}

std::string Arguments::text(const char* name)
{
    const auto* const found = takeKind<std::string>(name, false);
    return found == nullptr ? std::string() : *found;
}

std::string Arguments::requiredText(const char* name)
{
    const auto* const found = takeKind<std::string>(name, true);
    return found == nullptr ? std::string() : *found;
}

// Some clients send a single name as a plain value.
std::optional<std::vector<std::string>> Arguments::names(const char* name)
{
    const IntrinsicValue* const value = take(name, false);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (const auto* const text = std::get_if<std::string>(value)) {
        return std::vector<std::string>{*text};
    }
    const auto* const texts = std::get_if<cimxml::TextArray>(value);
    std::vector<std::string> names;
    if (texts == nullptr) {
        wrong(std::string("the parameter ") + name + " has a value of another type");
        return names;
    }
    for (const std::optional<std::string>& text : *texts) {
        if (!text) {
            wrong(std::string("the parameter ") + name + " has a null element");
        }
        names.push_back(text.value_or(""));
    }
    return names;
}

// The path of a class has no keys; whether there may be none, the class tells.
cimxml::ObjectPath Arguments::requiredInstanceName(const char* name)
{
    const auto* const path = takeKind<cimxml::ObjectPath>(name, true);
    return path == nullptr ? cimxml::ObjectPath{} : *path;
}

const cimxml::Instance& Arguments::requiredInstance(const char* name)
{
    static const cimxml::Instance kNone;
    const auto* const instance = takeKind<cimxml::Instance>(name, true);
    return instance == nullptr ? kNone : *instance;
}

const cimxml::NamedInstance& Arguments::requiredNamedInstance(const char* name)
{
    static const cimxml::NamedInstance kNone;
    const auto* const instance = takeKind<cimxml::NamedInstance>(name, true);
    return instance == nullptr ? kNone : *instance;
}

cimxml::Value Arguments::value(const char* name)
{
    const IntrinsicValue* const found = take(name, false);
    if (found == nullptr) {
        return {};
    }
    if (const auto* const text = std::get_if<std::string>(found)) {
        return cimxml::Value::of(cimxml::Type::String, *text);
    }
    if (const auto* const texts = std::get_if<cimxml::TextArray>(found)) {
        return arrayOf(*texts);
    }
    if (const auto* const path = std::get_if<cimxml::ObjectPath>(found)) {
        return referenceTo(*path);
    }
    if (const auto* const reference = std::get_if<cimxml::ReferenceValue>(found)) {
        return referenceTo(reference->path);
    }
    wrong(std::string("the parameter ") + name + " has a value of another type");
    return {};
}

bool Arguments::finish(cimxml::CimError& error)
{
    for (size_t i = 0; i < mParameters.size(); ++i) {
        if (!mIsTaken[i]) {
            wrong("the operation has no parameter " + mParameters[i].name);
        }
    }
    return !mFault || fail(error, kInvalidParameter, *mFault);
}

} // namespace cimomd
