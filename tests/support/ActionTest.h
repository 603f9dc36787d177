// Fixture for tests of actions: a resource whose one method is declared by the test, and what
// becomes of a POST to it.
#ifndef TESTS_SUPPORT_ACTION_TEST_H_
#define TESTS_SUPPORT_ACTION_TEST_H_

#include "LiveTest.h"

#include <algorithm>
#include <optional>
#include <string>

namespace support {

class ActionTest : public LiveTest
{
protected:
    // What the method is called on, and how.
    static constexpr const char* kInvocation =
        "invokeMethod root/xcim:XCIM_Box Id=1 Site=A Run with with";

    // Declares the method and resolves a POST to its action. Further entries of the mapping file
    // are what mEntries holds.
    void declare(const std::string& inputs, const std::string& outputs = "null")
    {
        Json::Value method;
        method["inputs"] = json(inputs);
        method["outputs"] = json(outputs);
        declareMethod(method);
    }

    void declareMethod(const Json::Value& method)
    {
        Json::Value mapping = mEntries;
        mapping["VexoBox"] = json(R"({"@odata.id": "/r/VexoBox", "Selectors": "Site=A,Id=1",
            "mappings": {"XCIM_Box": {
                "Actions": {"#Box.Run": {"target": "/r/VexoBox/Actions/Box.Run"}}}}})");
        mapping["VexoBox"]["mappings"]["XCIM_Box"]["methods"]["Run"] = method;
        MappingFile::ForgetLoaded();
        mMapping.Write(compact(mapping));
        mRequest.emplace("/r/VexoBox/Actions/Box.Run", false, &mSession);
        ASSERT_EQ(mapper().ParseUri(RM_METHOD_POST), RM_OK);
        LogCapture::Reset();
    }

    ResourceMapper& mapper() { return mRequest->mapper; }

    unsigned int post(const std::string& body)
    {
        Json::Value payload = json(body);
        return mapper().InvokeAction(mResponse, payload, &mReturnValue, mErrorArgs, mInputs);
    }

    // Whether the method was called.
    static bool isInvoked()
    {
        const std::vector<std::string>& calls = scriptedCim().calls;
        return std::any_of(calls.begin(), calls.end(), [](const std::string& call) {
            return call.rfind("invokeMethod", 0) == 0;
        });
    }

    static constexpr unsigned long kUnset = 77; // what mReturnValue is before

    Json::Value mEntries{Json::objectValue};
    std::optional<Request> mRequest;
    Json::Value mResponse;
    unsigned long mReturnValue = kUnset;
    Json::Value mErrorArgs;
    Json::Value mInputs;
};

} // namespace support

#endif
