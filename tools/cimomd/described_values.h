// What the sources of a description stand for while a call is carried out.
#ifndef CIMOMD_DESCRIBED_VALUES_H_
#define CIMOMD_DESCRIBED_VALUES_H_

#include "method_description.h"
#include "name_space.h"

#include <cimxml/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace cimomd {

using TimePoint = std::chrono::system_clock::time_point;

// What a call knows. Everything outlives it.
struct CallValues
{
    const NameSpace& nameSpace;
    const std::vector<cimxml::MethodParameter>& inputs;
    const StoredInstance* called = nullptr; // null when the method is called of the class
    TimePoint now = {};
    const cimxml::ObjectPath* job = nullptr; // null when there is none
};

// Properties of an instance that are to change.
struct InstanceChange
{
    cimxml::ObjectPath path;
    cimxml::Instance properties;
};

// "20240501102030.123456+000"
std::string dateTimeText(TimePoint time);

// Of a scalar or an array; null when the input is not given.
cimxml::Value inputValue(const CallValues& call, const std::string& name);

// What a value is for.
struct ValueUse
{
    cimxml::Type type = cimxml::Type::String;
    bool isArray = false;
    std::string name = {}; // for the message of an error
};

// The value of a source in the type that it is for.
bool evaluate(const ValueSource& source, const CallValues& call, const ValueUse& use,
              cimxml::Value& value, cimxml::CimError& error);

// The instances that a source means; an error when the one that it names is not there.
bool findTargets(const ObjectSource& source, const CallValues& call,
                 std::vector<const StoredInstance*>& targets, cimxml::CimError& error);

// The properties of cls with their values.
bool evaluateProperties(const std::vector<Assignment>& assignments, const CallValues& call,
                        const ClassEntry& cls, cimxml::Instance& properties,
                        cimxml::CimError& error);

// The name of a key that the assignments would change; empty when they change none.
std::string changedKey(const std::vector<Assignment>& assignments, const ClassEntry& cls);

// Appends what the changes are, one for each instance.
bool evaluateChanges(const std::vector<Change>& changes, const CallValues& call,
                     std::vector<InstanceChange>& evaluated, cimxml::CimError& error);

// Whether a condition holds; it does not where what it is about is not there.
bool holds(const CallCondition& condition, const CallValues& call);

} // namespace cimomd

#endif
