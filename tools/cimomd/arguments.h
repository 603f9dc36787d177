// The parameters of an intrinsic operation, read one by one.
//
// An operation reads all that it knows and then calls finish(). The first fault, be it a missing
// parameter, one of another kind, one given twice or one that the operation does not know, is kept;
// what is read behind it is of no use.
#ifndef CIMOMD_ARGUMENTS_H_
#define CIMOMD_ARGUMENTS_H_

#include <cimxml/request.h>
#include <cimxml/types.h>

#include <optional>
#include <string>
#include <vector>

namespace cimomd {

class Arguments
{
public:
    // The request must outlive the arguments and what they return.
    explicit Arguments(const cimxml::IntrinsicRequest& request);

    // The value of one of the kinds of cimxml::IntrinsicValue; an empty one where there is none.
    // (The path of a class has no keys; whether there may be none, the class tells.)
    template <typename Kind>
    const Kind& required(const char* name)
    {
        return kindOf<Kind>(name, take(name, true));
    }
    template <typename Kind>
    const Kind& optional(const char* name)
    {
        return kindOf<Kind>(name, take(name, false));
    }

    bool flag(const char* name, bool byDefault);
    std::optional<std::vector<std::string>> names(const char* name);
    // A value of any kind, its elements as texts; null when there is none.
    cimxml::Value value(const char* name);

    // False with the first fault in error.
    bool finish(cimxml::CimError& error);

private:
    const cimxml::IntrinsicValue& take(const char* name, bool isRequired);
    void wrong(const std::string& name, const std::string& fault);

    template <typename Kind>
    const Kind& kindOf(const char* name, const cimxml::IntrinsicValue& value)
    {
        static const Kind kNone{};
        if (const auto* const kind = std::get_if<Kind>(&value)) {
            return *kind;
        }
        if (!std::holds_alternative<std::monostate>(value)) {
            wrong(name, "has a value of another type");
        }
        return kNone;
    }

    const std::vector<cimxml::IntrinsicParameter>& mParameters;
    std::vector<bool> mIsTaken;
    std::optional<std::string> mFault;
};

} // namespace cimomd

#endif
