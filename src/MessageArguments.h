// The arguments of the message that reports a failure, left behind where it happens.
#ifndef MESSAGE_ARGUMENTS_H_
#define MESSAGE_ARGUMENTS_H_

#include "ExtendedErrorInfoHandlingCIM.h"

#include <json/json.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace cimgate {

// Makes argument the first of a read's message, "p1", and returns code.
_ResourceMapperError failWith(Json::Value& errorArgs, _ResourceMapperError code,
                              const std::string& argument);

// Sets the leading arguments of an action's message, an array.
void setMessageArguments(Json::Value& errorArgs, std::initializer_list<std::string> texts);

// Calls use with the texts as arguments of their own, the first three at the most: what adds a
// message takes none to three.
template <typename Use>
void withArguments(const std::vector<std::string>& texts, const Use& use)
{
    switch (texts.size()) {
    case 0:
        use();
        break;
    case 1:
        use(texts[0].c_str());
        break;
    case 2:
        use(texts[0].c_str(), texts[1].c_str());
        break;
    default:
        use(texts[0].c_str(), texts[1].c_str(), texts[2].c_str());
    }
}

} // namespace cimgate

#endif
