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

    bool flag(const char* name, bool byDefault);
    // Empty when there is none.
    std::string className(const char* name);
    std::string requiredClassName(const char* name);
    std::string text(const char* name);
    std::string requiredText(const char* name);
    std::optional<std::vector<std::string>> names(const char* name);
    cimxml::ObjectPath requiredInstanceName(const char* name);
    const cimxml::Instance& requiredInstance(const char* name);
    const cimxml::NamedInstance& requiredNamedInstance(const char* name);
    // A value of any kind, its elements as texts; null when there is none.
    cimxml::Value value(const char* name);

    // False with the first fault in error.
    bool finish(cimxml::CimError& error);

private:
    const cimxml::IntrinsicValue* take(const char* name, bool isRequired);
    template <typename Kind>
    const Kind* takeKind(const char* name, bool isRequired);
    void wrong(const std::string& description);

    const std::vector<cimxml::IntrinsicParameter>& mParameters;
    std::vector<bool> mIsTaken;
    std::optional<std::string> mFault;
};

} // namespace cimomd

#endif
