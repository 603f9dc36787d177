#include "objects.h"
#include "values.h"

namespace cmpisfcc {

namespace {

ArgsObject& self(CMPIArgs* args)
{
    return *static_cast<ArgsObject*>(args);
}

CMPIArgs* cloneArgs(CMPIArgs* args, CMPIStatus* rc)
{
    Owned<ArgsObject> copy = makeOwned<ArgsObject>();
    copy->arguments = self(args).arguments.copyInto(*copy->arena);
    succeed(rc);
    return copy.release();
}

CMPIStatus addArg(CMPIArgs* args, const char* name, CMPIValue* value, CMPIType type)
{
    ArgsObject& target = self(args);
    if (name == nullptr) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "An argument needs a name");
    }
    if (target.arguments.find(name) != nullptr) {
        return failure(CMPI_RC_ERR_ALREADY_EXISTS);
    }
    CMPIData data = {};
    if (!takeValue(*target.arena, value, type, CharsAt::Address, data)) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "An argument cannot be of this type");
    }
    target.arguments.append(*target.arena, target.arena->copy(name), data);
    return kSuccess;
}

CMPIData getArg(CMPIArgs* args, const char* name, CMPIStatus* rc)
{
    return self(args).arguments.get(name, rc);
}

CMPIData getArgAt(CMPIArgs* args, unsigned int index, CMPIString** name, CMPIStatus* rc)
{
    return self(args).arguments.getAt(index, name, rc);
}

unsigned int getArgCount(CMPIArgs* args, CMPIStatus* rc)
{
    succeed(rc);
    return self(args).arguments.count;
}

CMPIArgs* makeArgs(CMPIStatus* rc)
{
    succeed(rc);
    return makeObject<ArgsObject>(nullptr);
}

} // namespace

constexpr CMPIArgsFT ArgsObject::kTable = {
    NATIVE_FT_VERSION,          releaseObject<ArgsObject>, Guarded<cloneArgs>::call,
    Guarded<addArg>::call,      Guarded<getArg>::call,     Guarded<getArgAt>::call,
    Guarded<getArgCount>::call,
};

} // namespace cmpisfcc

extern "C" CMPIArgs* native_new_CMPIArgs(CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeArgs>::call(rc);
}
