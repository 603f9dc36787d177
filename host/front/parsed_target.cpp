#include "front/parsed_target.h"

#include <memory>
#include <new>

namespace host {

odata::URI parsedTarget(const std::string& target)
{
    const std::unique_ptr<OL_Scope, void (*)(OL_Scope*)> scope(__OL_Scope_New(), OL_Scope_Release);
    if (scope == nullptr) {
        throw std::bad_alloc();
    }
    OL_Scope_SetRequestURL(scope.get(), target.c_str());
    OL_URI* const uri = OL_Scope_NewURI(scope.get());
    if (uri == nullptr) {
        throw std::bad_alloc();
    }
    return odata::URI(uri);
}

} // namespace host
