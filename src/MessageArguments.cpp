#include "MessageArguments.h"

#include "JsonAccess.h"

namespace cimgate {

_ResourceMapperError failWith(Json::Value& errorArgs, _ResourceMapperError code,
                              const std::string& argument)
{
    writableObject(errorArgs)["p1"] = argument;
    return code;
}

void setMessageArguments(Json::Value& errorArgs, std::initializer_list<std::string> texts)
{
    writableArray(errorArgs);
    Json::ArrayIndex i = 0;
    for (const std::string& text : texts) {
        errorArgs[i++] = text;
    }
}

} // namespace cimgate
