#include "tables.h"

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
    return self(args).arguments.add(*self(args).arena, name, value, type, "An argument");
}

CMPIArgs* makeArgs(CMPIStatus* rc)
{
    succeed(rc);
    return makeObject<ArgsObject>(nullptr);
}

using Arguments = Reading<ArgsObject, &ArgsObject::arguments>;

} // namespace

constexpr CMPIArgsFT ArgsObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<ArgsObject>,
    Guarded<cloneArgs>::call,
    Guarded<addArg>::call,
    Guarded<Arguments::get>::call,
    Guarded<Arguments::getAt>::call,
    Guarded<Arguments::count>::call,
};

} // namespace cmpisfcc

extern "C" CMPIArgs* native_new_CMPIArgs(CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeArgs>::call(rc);
}
