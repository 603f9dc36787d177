// What a read of a request gives.
#ifndef TESTS_SUPPORT_ANSWER_H_
#define TESTS_SUPPORT_ANSWER_H_

#include "Request.h"

#include <gtest/gtest.h>

namespace support {

struct Answer
{
    _ResourceMapperError result;
    Json::Value body;
    Json::Value errorArgs;
};

// Finds the request's resource, which must be there, and reads it by read(mapper, body).
template <typename Read>
Answer answerOf(Request& request, const Read& read)
{
    Answer answer{request.mapper.ParseUri(RM_METHOD_GET), Json::Value(), Json::Value()};
    EXPECT_EQ(answer.result, RM_OK);
    answer.result = read(request.mapper, answer.body);
    answer.errorArgs = request.mapper.mErrorArgs;
    return answer;
}

} // namespace support

#endif
