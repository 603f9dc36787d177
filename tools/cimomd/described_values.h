// What the values, conditions and changes of a description stand for while a call is carried out.
// The format is in docs/cimomd.md; description_check.h has seen to it that a description has it.
#ifndef CIMOMD_DESCRIBED_VALUES_H_
#define CIMOMD_DESCRIBED_VALUES_H_

#include "name_space.h"

#include <cimxml/types.h>
#include <json/value.h>

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

// What a value is for.
struct ValueUse
{
    cimxml::Type type = cimxml::Type::String;
    bool isArray = false;
    std::string name = {}; // for the message of an error
};

// The object that a method is called of, where a description names objects.
constexpr const char* kCalledObject = "this";

// "20240501102030.123456+000"
std::string dateTimeText(TimePoint time);

// A described value in the type that it is for.
bool evaluate(const Json::Value& described, const CallValues& call, const ValueUse& use,
              cimxml::Value& value, cimxml::CimError& error);

// Properties of cls with their values; null stands for none.
bool evaluateProperties(const Json::Value& described, const CallValues& call, const ClassEntry& cls,
                        cimxml::Instance& properties, cimxml::CimError& error);

// Appends what a list of changes comes to, one for each instance.
bool evaluateChanges(const Json::Value& described, const CallValues& call,
                     std::vector<InstanceChange>& changes, cimxml::CimError& error);

// Whether all conditions of a list hold. One does not where what it is about is not there.
bool hold(const Json::Value& conditions, const CallValues& call);

} // namespace cimomd

#endif
