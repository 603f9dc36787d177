#include "described_values.h"

#include "cim_status.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <utility>

namespace cimomd {

namespace {

using Reference = std::shared_ptr<const cimxml::ObjectPath>;

const Reference* referenceOf(const cimxml::Value& value)
{
    return value.isNull || value.isArray ? nullptr : std::get_if<Reference>(&value.scalar);
}

cimxml::Value keyOfInput(const CallValues& call, const InputSource& source)
{
    const cimxml::Value input = inputValue(call, source.name);
    const Reference* const reference = referenceOf(input);
    const cimxml::KeyBinding* const key =
        reference == nullptr ? nullptr : (*reference)->findKey(source.key);
    return key == nullptr ? cimxml::Value() : cimxml::Value::of(key->type, key->value);
}

struct SourceValue
{
    const CallValues& call;

    cimxml::Value operator()(const cimxml::Scalar& constant) const
    {
        return cimxml::Value::of(cimxml::Type::String, constant);
    }
    cimxml::Value operator()(const InputSource& source) const
    {
        return source.key.empty() ? inputValue(call, source.name) : keyOfInput(call, source);
    }
    cimxml::Value operator()(const NowSource& /*now*/) const
    {
        return cimxml::Value::of(cimxml::Type::DateTime, dateTimeText(call.now));
    }
    cimxml::Value operator()(const JobSource& /*job*/) const
    {
        return call.job == nullptr
                   ? cimxml::Value()
                   : cimxml::Value::of(cimxml::Type::Reference,
                                       std::make_shared<const cimxml::ObjectPath>(*call.job));
    }
};

// A reference to an instance that is there is told as the instance itself tells its path: with keys
// of the right types.
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

bool elementOf(cimxml::Value item, cimxml::Type type, const NameSpace& nameSpace,
               cimxml::Scalar& element)
{
    if (!convertTo(type, false, item)) {
        return false;
    }
    settleReference(nameSpace, item.scalar);
    element = item.isNull ? cimxml::Scalar() : std::move(item.scalar);
    return true;
}

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

// Of two values of one type.
bool sameValue(const NameSpace& nameSpace, const cimxml::Value& a, const cimxml::Value& b)
{
    if (a.isNull || b.isNull) {
        return a.isNull && b.isNull;
    }
    const auto same = [&](const cimxml::Scalar& one, const cimxml::Scalar& other) {
        return sameScalar(nameSpace, a.type, one, other);
    };
    return a.isArray ? std::equal(a.elements.begin(), a.elements.end(), b.elements.begin(),
                                  b.elements.end(), same)
                     : same(a.scalar, b.scalar);
}

bool isOneOf(const cimxml::Value& actual, const CallCondition& condition, const CallValues& call)
{
    return std::any_of(condition.values.begin(), condition.values.end(), [&](const auto& source) {
        cimxml::Value value;
        cimxml::CimError ignored;
        return evaluate(source, call, {actual.type, actual.isArray, {}}, value, ignored) &&
               sameValue(call.nameSpace, actual, value);
    });
}

bool valueFits(const cimxml::Value& actual, const CallCondition& condition, const CallValues& call)
{
    return isOneOf(actual, condition, call) == (condition.test == CallCondition::Test::IsOneOf);
}

bool inputFits(const CallCondition& condition, const CallValues& call)
{
    const cimxml::Value input = SourceValue{call}(condition.input);
    if (condition.test == CallCondition::Test::IsOneOf ||
        condition.test == CallCondition::Test::IsNot) {
        return valueFits(input, condition, call);
    }
    const Reference* const reference = referenceOf(input);
    cimxml::CimError ignored;
    return reference != nullptr && (call.nameSpace.find(**reference, ignored) != nullptr) ==
                                       (condition.test == CallCondition::Test::Exists);
}

bool propertyFits(const CallCondition& condition, const CallValues& call)
{
    std::vector<const StoredInstance*> targets;
    cimxml::CimError ignored;
    if (!findTargets(*condition.object, call, targets, ignored) || targets.empty()) {
        return false;
    }
    return std::all_of(targets.begin(), targets.end(), [&](const StoredInstance* target) {
        const cimxml::Property* const property = target->instance.find(condition.property);
        return property != nullptr && valueFits(property->value, condition, call);
    });
}

struct TargetFinder
{
    const CallValues& call;
    std::vector<const StoredInstance*>& targets;
    cimxml::CimError& error;

    bool operator()(const CalledObject& /*called*/) const
    {
        targets.push_back(call.called);
        return call.called != nullptr ||
               fail(error, kInvalidParameter, "the method is one of instances, not of the class");
    }
    bool operator()(const InputSource& source) const
    {
        const cimxml::Value input = inputValue(call, source.name);
        const Reference* const reference = referenceOf(input);
        return reference == nullptr
                   ? fail(error, kInvalidParameter, "the parameter " + source.name + " is missing")
                   : findOne(**reference);
    }
    bool operator()(const cimxml::ObjectPath& path) const
    {
        if (!path.keys.empty()) {
            return findOne(path);
        }
        const ClassEntry* const cls = call.nameSpace.findClass(path.className, error);
        if (cls == nullptr) {
            return false;
        }
        call.nameSpace.forEach(
            *cls, [this](const StoredInstance& stored) { targets.push_back(&stored); });
        return true;
    }
    bool findOne(const cimxml::ObjectPath& path) const
    {
        targets.push_back(call.nameSpace.find(path, error));
        return targets.back() != nullptr;
    }
};

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

cimxml::Value inputValue(const CallValues& call, const std::string& name)
{
    const auto found =
        std::find_if(call.inputs.begin(), call.inputs.end(), [&name](const auto& input) {
            return cimxml::equalsIgnoreCase(input.name, name);
        });
    return found == call.inputs.end() ? cimxml::Value() : found->value;
}

bool evaluate(const ValueSource& source, const CallValues& call, const ValueUse& use,
              cimxml::Value& value, cimxml::CimError& error)
{
    bool isFine = true;
    if (source.isArray) {
        value = cimxml::Value::array(use.type, {});
        isFine = use.isArray &&
                 std::all_of(source.items.begin(), source.items.end(), [&](const auto& item) {
                     return elementOf(std::visit(SourceValue{call}, item), use.type, call.nameSpace,
                                      value.elements.emplace_back());
                 });
    } else {
        value = std::visit(SourceValue{call}, source.items.front());
        isFine = convertTo(use.type, use.isArray, value);
        settleReference(call.nameSpace, value.scalar);
    }
    return isFine || fail(error, kFailed,
                          "what is described for " + use.name + " is not of type " +
                              std::string(cimxml::typeName(use.type)) + (use.isArray ? "[]" : ""));
}

std::string changedKey(const std::vector<Assignment>& assignments, const ClassEntry& cls)
{
    for (const size_t index : cls.keys) {
        const std::string& key = cls.definition.properties[index].name;
        if (std::any_of(assignments.begin(), assignments.end(),
                        [&key](const Assignment& assignment) {
                            return cimxml::equalsIgnoreCase(assignment.name, key);
                        })) {
            return key;
        }
    }
    return {};
}

bool findTargets(const ObjectSource& source, const CallValues& call,
                 std::vector<const StoredInstance*>& targets, cimxml::CimError& error)
{
    return std::visit(TargetFinder{call, targets, error}, source);
}

bool evaluateProperties(const std::vector<Assignment>& assignments, const CallValues& call,
                        const ClassEntry& cls, cimxml::Instance& properties,
                        cimxml::CimError& error)
{
    properties.className = cls.definition.name;
    for (const Assignment& assignment : assignments) {
        const cimxml::Property* const declared = cls.findProperty(assignment.name);
        if (declared == nullptr) {
            return fail(error, kFailed,
                        cls.definition.name + " has no property " + assignment.name);
        }
        cimxml::Property property;
        property.name = declared->name;
        if (!evaluate(assignment.value, call,
                      {declared->value.type, declared->value.isArray, declared->name},
                      property.value, error)) {
            return false;
        }
        properties.properties.push_back(std::move(property));
    }
    return true;
}

bool evaluateChanges(const std::vector<Change>& changes, const CallValues& call,
                     std::vector<InstanceChange>& evaluated, cimxml::CimError& error)
{
    for (const Change& change : changes) {
        std::vector<const StoredInstance*> targets;
        if (!findTargets(change.object, call, targets, error)) {
            return false;
        }
        for (const StoredInstance* const target : targets) {
            if (const std::string key = changedKey(change.properties, *target->cls); !key.empty()) {
                return fail(error, kFailed, "the key " + key + " cannot be changed");
            }
            InstanceChange made{target->path, {}};
            if (!evaluateProperties(change.properties, call, *target->cls, made.properties,
                                    error)) {
                return false;
            }
            evaluated.push_back(std::move(made));
        }
    }
    return true;
}

bool holds(const CallCondition& condition, const CallValues& call)
{
    return condition.object ? propertyFits(condition, call) : inputFits(condition, call);
}

} // namespace cimomd
