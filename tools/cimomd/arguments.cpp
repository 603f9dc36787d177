#include "arguments.h"

#include "cim_status.h"

#include <memory>
#include <utility>

namespace cimomd {

namespace {

using cimxml::IntrinsicValue;

cimxml::Value arrayOf(const cimxml::TextArray& texts)
{
    std::vector<cimxml::Scalar> elements;
    for (const std::optional<std::string>& text : texts) {
        elements.push_back(text ? cimxml::Scalar(*text) : cimxml::Scalar());
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

void Arguments::wrong(const std::string& name, const std::string& fault)
{
    if (!mFault) {
        mFault = "the parameter " + name + " " + fault;
    }
}

// The parameter's value; a monostate when there is none.
const IntrinsicValue& Arguments::take(const char* name, bool isRequired)
{
    static const IntrinsicValue kNone;
    const IntrinsicValue* found = nullptr;
    for (size_t i = 0; i < mParameters.size(); ++i) {
        if (!cimxml::equalsIgnoreCase(mParameters[i].name, name)) {
            continue;
        }
        if (found != nullptr) {
            wrong(name, "is given twice");
        }
        mIsTaken[i] = true;
        found = &mParameters[i].value;
    }
    if (isRequired && (found == nullptr || std::holds_alternative<std::monostate>(*found))) {
        wrong(name, "is missing");
    }
    return found == nullptr ? kNone : *found;
}

bool Arguments::flag(const char* name, bool byDefault)
{
    const auto& text = optional<std::string>(name);
    if (text.empty()) {
        return byDefault;
    }
    const std::optional<cimxml::Scalar> flag = cimxml::parseScalar(cimxml::Type::Boolean, text);
    if (!flag) {
        wrong(name, "is neither TRUE nor FALSE");
    }
    return flag ? std::get<bool>(*flag) : byDefault;
}

// Some clients send a single name as a plain value.
std::optional<std::vector<std::string>> Arguments::names(const char* name)
{
    const IntrinsicValue& value = take(name, false);
    if (std::holds_alternative<std::monostate>(value)) {
        return std::nullopt;
    }
    if (const auto* const text = std::get_if<std::string>(&value)) {
        return std::vector<std::string>{*text};
    }
    std::vector<std::string> names;
    for (const std::optional<std::string>& text : kindOf<cimxml::TextArray>(name, value)) {
        if (!text) {
            wrong(name, "has a null element");
        }
        names.push_back(text.value_or(""));
    }
    return names;
}

cimxml::Value Arguments::value(const char* name)
{
    const IntrinsicValue& found = take(name, false);
    if (const auto* const text = std::get_if<std::string>(&found)) {
        return cimxml::Value::of(cimxml::Type::String, *text);
    }
    if (const auto* const texts = std::get_if<cimxml::TextArray>(&found)) {
        return arrayOf(*texts);
    }
    if (const auto* const path = std::get_if<cimxml::ObjectPath>(&found)) {
        return referenceTo(*path);
    }
    if (const auto* const reference = std::get_if<cimxml::ReferenceValue>(&found)) {
        return referenceTo(reference->path);
    }
    if (!std::holds_alternative<std::monostate>(found)) {
        wrong(name, "has a value of another type");
    }
    return {};
}

bool Arguments::finish(cimxml::CimError& error)
{
    for (size_t i = 0; i < mParameters.size(); ++i) {
        if (!mIsTaken[i]) {
            wrong(mParameters[i].name, "is none of the operation's");
        }
    }
    return !mFault || fail(error, kInvalidParameter, *mFault);
}

} // namespace cimomd
