#include "described_values.h"

#include "cim_status.h"
#include "object_path_text.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <utility>

namespace cimomd {

namespace {

using cimxml::Value;
using Reference = std::shared_ptr<const cimxml::ObjectPath>;
using Targets = std::vector<const StoredInstance*>;

// Of a scalar or an array; null when the input is not given.
Value inputValue(const Json::Value& name, const CallValues& call)
{
    const auto found =
        std::find_if(call.inputs.begin(), call.inputs.end(), [&name](const auto& input) {
            return cimxml::equalsIgnoreCase(input.name, name.asString());
        });
    return found == call.inputs.end() ? Value() : found->value;
}

// The path that an input holds; null when there is none.
Reference referenceOf(const Value& value)
{
    const auto* const reference = std::get_if<Reference>(&value.scalar);
    return reference == nullptr ? nullptr : *reference;
}

// A constant comes as text, since JSON has fewer types than CIM.
Value sourceValue(const Json::Value& described, const CallValues& call)
{
    if (!described.isObject()) {
        return described.isNull() ? Value() : Value::of(cimxml::Type::String, described.asString());
    }
    if (described.isMember("now")) {
        return Value::of(cimxml::Type::DateTime, dateTimeText(call.now));
    }
    if (described.isMember("job")) {
        return call.job == nullptr
                   ? Value()
                   : Value::of(cimxml::Type::Reference,
                               std::make_shared<const cimxml::ObjectPath>(*call.job));
    }
    Value input = inputValue(described["input"], call);
    if (!described.isMember("key")) {
        return input;
    }
    const Reference reference = referenceOf(input);
    const cimxml::KeyBinding* const key =
        reference == nullptr ? nullptr : reference->findKey(described["key"].asString());
    return key == nullptr ? Value() : Value::of(key->type, key->value);
}

// A reference to an instance that is there is told as the instance itself tells its path.
void settleReference(const NameSpace& nameSpace, cimxml::Scalar& scalar)
{
    auto* const reference = std::get_if<Reference>(&scalar);
    cimxml::CimError ignored;
    const StoredInstance* const stored =
        reference == nullptr ? nullptr : nameSpace.find(**reference, ignored);
    if (stored != nullptr) {
        *reference = std::make_shared<const cimxml::ObjectPath>(stored->path);
    }
}

bool elementOf(const Json::Value& described, const CallValues& call, cimxml::Type type,
               cimxml::Scalar& element)
{
    Value value = sourceValue(described, call);
    if (!convertTo(type, false, value)) {
        return false;
    }
    settleReference(call.nameSpace, value.scalar);
    element = std::move(value.scalar);
    return true;
}

bool convert(const Json::Value& described, const CallValues& call, const ValueUse& use,
             Value& value)
{
    if (described.isArray()) {
        value = Value::array(use.type, {});
        return use.isArray && std::all_of(described.begin(), described.end(), [&](const auto& one) {
                   return elementOf(one, call, use.type, value.elements.emplace_back());
               });
    }
    value = sourceValue(described, call);
    const bool isConverted = convertTo(use.type, use.isArray, value);
    settleReference(call.nameSpace, value.scalar);
    return isConverted;
}

// Of two scalars of one type; references are told by the object that they mean.
bool sameScalar(const NameSpace& nameSpace, cimxml::Type type, const cimxml::Scalar& a,
                const cimxml::Scalar& b)
{
    const auto* const one = std::get_if<Reference>(&a);
    const auto* const other = std::get_if<Reference>(&b);
    if (one != nullptr && other != nullptr) {
        return nameSpace.identityOf(**one) == nameSpace.identityOf(**other);
    }
    return cimxml::isNull(a) == cimxml::isNull(b) &&
           cimxml::scalarText(type, a) == cimxml::scalarText(type, b);
}

// Of two values of one type. What one value has not is empty in both.
bool sameValue(const NameSpace& nameSpace, const Value& a, const Value& b)
{
    const auto same = [&](const cimxml::Scalar& one, const cimxml::Scalar& other) {
        return sameScalar(nameSpace, a.type, one, other);
    };
    return a.isNull == b.isNull && same(a.scalar, b.scalar) &&
           std::equal(a.elements.begin(), a.elements.end(), b.elements.begin(), b.elements.end(),
                      same);
}

bool isEqual(const Value& actual, const Json::Value& described, const CallValues& call)
{
    Value value;
    return convert(described, call, {actual.type, actual.isArray}, value) &&
           sameValue(call.nameSpace, actual, value);
}

// Whether a value is as the condition wants it.
bool fits(const Value& actual, const Json::Value& condition, const CallValues& call)
{
    if (condition.isMember("isOneOf")) {
        const Json::Value& choices = condition["isOneOf"];
        return std::any_of(choices.begin(), choices.end(), [&](const Json::Value& choice) {
            return isEqual(actual, choice, call);
        });
    }
    return condition.isMember("is") ? isEqual(actual, condition["is"], call)
                                    : !isEqual(actual, condition["isNot"], call);
}

bool findOne(const cimxml::ObjectPath& path, const CallValues& call, Targets& targets,
             cimxml::CimError& error)
{
    targets.push_back(call.nameSpace.find(path, error));
    return targets.back() != nullptr;
}

// The instances that are meant; an error when the one that is named is not there.
bool findTargets(const Json::Value& object, const CallValues& call, Targets& targets,
                 cimxml::CimError& error)
{
    if (object.isObject()) {
        const Reference reference = referenceOf(inputValue(object["input"], call));
        return reference == nullptr
                   ? fail(error, kInvalidParameter,
                          "the parameter " + object["input"].asString() + " is missing")
                   : findOne(*reference, call, targets, error);
    }
    if (object == kCalledObject) {
        targets.push_back(call.called);
        return call.called != nullptr ||
               fail(error, kInvalidParameter, "the method is one of instances, not of the class");
    }
    cimxml::ObjectPath path;
    (void)readObjectPath(object.asString(), path);
    if (!path.keys.empty()) {
        return findOne(path, call, targets, error);
    }
    const ClassEntry* const cls = call.nameSpace.findClass(path.className, error);
    if (cls == nullptr) {
        return false;
    }
    call.nameSpace.forEach(
        *cls, [&targets](const StoredInstance& stored) { targets.push_back(&stored); });
    return true;
}

bool inputHolds(const Json::Value& condition, const CallValues& call)
{
    const Value input = sourceValue(condition, call);
    if (!condition.isMember("exists")) {
        return fits(input, condition, call);
    }
    const Reference reference = referenceOf(input);
    cimxml::CimError ignored;
    return reference != nullptr &&
           (call.nameSpace.find(*reference, ignored) != nullptr) == condition["exists"].asBool();
}

bool propertyHolds(const Json::Value& condition, const CallValues& call)
{
    Targets targets;
    cimxml::CimError ignored;
    if (!findTargets(condition["object"], call, targets, ignored) || targets.empty()) {
        return false;
    }
    return std::all_of(targets.begin(), targets.end(), [&](const StoredInstance* target) {
        const cimxml::Property* const property =
            target->instance.find(condition["property"].asString());
        return property != nullptr && fits(property->value, condition, call);
    });
}

} // namespace

std::string dateTimeText(TimePoint time)
{
    constexpr int64_t kMicrosecondsPerSecond = 1000000;
    const int64_t microseconds =
        std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(microseconds / kMicrosecondsPerSecond);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, sizeof "yyyymmddhhmmss"> text{};
    (void)std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", &utc);
    std::string fraction = std::to_string(microseconds % kMicrosecondsPerSecond);
    fraction.insert(0, sizeof "mmmmmm" - 1 - fraction.size(), '0');
    return std::string(text.data()) + "." + fraction + "+000";
}

bool evaluate(const Json::Value& described, const CallValues& call, const ValueUse& use,
              Value& value, cimxml::CimError& error)
{
    return convert(described, call, use, value) ||
           fail(error, kFailed,
                "what is described for " + use.name + " is not of type " +
                    typeText(use.type, use.isArray));
}

bool evaluateProperties(const Json::Value& described, const CallValues& call, const ClassEntry& cls,
                        cimxml::Instance& properties, cimxml::CimError& error)
{
    properties.className = cls.definition.name;
    for (const std::string& name : described.getMemberNames()) {
        const cimxml::Property* const declared = cls.definition.findProperty(name);
        if (declared == nullptr) {
            return fail(error, kFailed, cls.definition.name + " has no property " + name);
        }
        if (cls.isKey(*declared)) {
            return fail(error, kFailed, "the key " + declared->name + " cannot be changed");
        }
        cimxml::Property& property = properties.properties.emplace_back();
        property.name = declared->name;
        if (!evaluate(described[name], call,
                      {declared->value.type, declared->value.isArray, declared->name},
                      property.value, error)) {
            return false;
        }
    }
    return true;
}

bool evaluateChanges(const Json::Value& described, const CallValues& call,
                     std::vector<InstanceChange>& changes, cimxml::CimError& error)
{
    return std::all_of(described.begin(), described.end(), [&](const Json::Value& change) {
        Targets targets;
        return findTargets(change["object"], call, targets, error) &&
               std::all_of(targets.begin(), targets.end(), [&](const StoredInstance* target) {
                   InstanceChange& made = changes.emplace_back(InstanceChange{target->path, {}});
                   return evaluateProperties(change["properties"], call, *target->cls,
                                             made.properties, error);
               });
    });
}

bool hold(const Json::Value& conditions, const CallValues& call)
{
    return std::all_of(conditions.begin(), conditions.end(), [&call](const Json::Value& condition) {
        return condition.isMember("input") ? inputHolds(condition, call)
                                           : propertyHolds(condition, call);
    });
}

} // namespace cimomd
