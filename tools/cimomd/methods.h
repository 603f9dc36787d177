// What extrinsic methods do: the seam between the object manager, which finds the method and gives
// its inputs their declared types, and whoever knows how a method behaves.
#ifndef CIMOMD_METHODS_H_
#define CIMOMD_METHODS_H_

#include "name_space.h"

#include <cimxml/request.h>
#include <cimxml/types.h>

#include <chrono>
#include <optional>
#include <vector>

namespace cimomd {

struct MethodCall
{
    NameSpace& nameSpace;
    const ClassEntry& cls;          // of the object
    const StoredInstance* instance; // null when the method is called of the class
    const cimxml::Method& method;
    std::vector<cimxml::MethodParameter> inputs; // declared ones only, converted to their types
};

struct MethodResult
{
    std::optional<cimxml::MethodParameter> returnValue;
    std::vector<cimxml::MethodParameter> outputs;
    // How long the answer, or the error, is held back.
    std::chrono::milliseconds delay{0};
};

class MethodBehaviour
{
public:
    MethodBehaviour() = default;
    virtual ~MethodBehaviour() = default;
    MethodBehaviour(const MethodBehaviour&) = delete;
    MethodBehaviour& operator=(const MethodBehaviour&) = delete;

    // Returns false with a CIM error when the method cannot be carried out: kMethodNotAvailable
    // when it has no behaviour. It may change instances of the namespace.
    virtual bool invoke(const MethodCall& call, MethodResult& result, cimxml::CimError& error) = 0;

    // Brings instances that change by themselves up to date; called before each operation.
    virtual void advance() {}
};

// Finds the method that a request calls and has it carried out.
bool callMethod(NameSpace& nameSpace, const cimxml::ExtrinsicRequest& request,
                MethodBehaviour& behaviour, MethodResult& result, cimxml::CimError& error);

} // namespace cimomd

#endif
