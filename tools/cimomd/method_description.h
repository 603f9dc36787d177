// What the files beside the declarations say of methods: plain data, as it was read. The format is
// in docs/cimomd.md.
#ifndef CIMOMD_METHOD_DESCRIPTION_H_
#define CIMOMD_METHOD_DESCRIPTION_H_

#include <cimxml/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace cimomd {

// The value of an input, or a key of the instance that it refers to.
struct InputSource
{
    std::string name;
    std::string key = {}; // empty: the input itself
};

// The time of the call or, in a job, of the step.
struct NowSource
{};

// A reference to the job that the call starts.
struct JobSource
{};

// One scalar: a constant (null or text), or something that the call knows.
using ScalarSource = std::variant<cimxml::Scalar, InputSource, NowSource, JobSource>;

// A value takes the type of what it is for. The input that a lone source names may be an array.
struct ValueSource
{
    bool isArray = false;
    std::vector<ScalarSource> items = {}; // exactly one unless isArray
};

// The object that the method is called of.
struct CalledObject
{};

// The instances that something is about. A path without keys means all instances of its class.
using ObjectSource = std::variant<CalledObject, InputSource, cimxml::ObjectPath>;

struct Assignment
{
    std::string name; // of a property or an output
    ValueSource value;
};

struct Change
{
    ObjectSource object;
    std::vector<Assignment> properties;
};

struct CallCondition
{
    enum class Test : std::uint8_t { IsOneOf, IsNot, Exists, IsMissing };

    // Of the property of an object where there is one, else of an input or a key of what it refers
    // to. Exists and IsMissing are about the instance that an input refers to.
    std::optional<ObjectSource> object = {};
    std::string property = {};
    InputSource input = {};
    Test test = Test::Exists;
    std::vector<ValueSource> values = {};
};

// From a percentage on, the job has these properties and these changes are made.
struct JobStep
{
    unsigned int percent = 0;
    std::vector<Assignment> properties = {};
    std::vector<Change> changes = {};
};

struct JobDescription
{
    std::string className = {};
    std::string prefix = {}; // of its key, before a number of 12 digits
    std::chrono::milliseconds duration{0};
    std::vector<Assignment> properties = {};
    std::vector<JobStep> steps = {}; // by percentage
};

// What happens to a call that fits.
struct MethodCase
{
    std::vector<CallCondition> conditions = {};
    std::chrono::milliseconds delay{0};
    std::optional<cimxml::CimError> error = {}; // then nothing else happens
    std::optional<ValueSource> returnValue = {};
    std::vector<Assignment> outputs = {};
    std::vector<Change> changes = {};
    std::optional<JobDescription> job = {};
};

struct MethodDescription
{
    std::string className;
    std::string method;
    std::vector<MethodCase> cases; // the first that fits counts
};

// What one file says.
struct DescriptionFile
{
    std::string nameSpace;
    std::vector<MethodDescription> methods;
};

} // namespace cimomd

#endif
