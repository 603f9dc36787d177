// Takes the place of the CIM client: cmciConnect(), newCMPIObjectPath() and the makers of argument
// lists, arrays and strings are defined here, which wins over the client library's, and give
// objects that answer as the test has set and note what they are asked for.
#ifndef TESTS_SUPPORT_SCRIPTED_CIM_H_
#define TESTS_SUPPORT_SCRIPTED_CIM_H_

#include "CimValue.h"

#include <optional>
#include <string>
#include <vector>

namespace support {

struct ScriptedCim
{
    CMPIrc connectStatus = CMPI_RC_OK; // a failure gives no client and a message not to be released
    CMPIrc pathStatus = CMPI_RC_OK;
    bool failedPathIsGiven = false;      // a failure gives a path all the same
    CMPIrc operationStatus = CMPI_RC_OK; // of the client's operations
    const char* message = "it went wrong";
    std::vector<std::string> refusedLanguages; // of queries
    CMPIrc hasNextStatus = CMPI_RC_OK;         // with a next element
    bool countFails = false;                   // an enumeration is no array
    std::vector<CimMembers> instances;         // the first one is what getInstance gives
    CMPIData returnValue = {};                 // of methods
    CimMembers outputs;                        // of methods
    std::optional<unsigned int> argumentLists; // how many can still be made; unset: any number
    bool arraysFail = false;                   // none can be made
    bool stringsFail = false;                  // none can be made
    // What was asked: "connect <arguments>", "enumInstances <path> ...", "release client".
    std::vector<std::string> calls;
    // The last method's; see addedArguments().
    std::vector<std::string> arguments;
};

// The script of the current test.
ScriptedCim& scriptedCim();

// Forgets the script.
void resetScriptedCim();

// How many paths made for a call have not been released.
int livePathsToCall();

} // namespace support

#endif
