#include "tables.h"
#include "values.h"

#include <algorithm>

namespace cmpisfcc {

namespace {

ClassObject& self(CMPIConstClass* cls)
{
    return *static_cast<ClassObject*>(cls);
}

CMPIString* getClassName(CMPIConstClass* cls, CMPIStatus* rc)
{
    succeed(rc);
    return newString(self(cls).className);
}

const MethodDeclaration* findMethod(const ClassObject& cls, const char* name)
{
    const MethodDeclaration* begin = cls.methods;
    const MethodDeclaration* end = begin + cls.methodCount;
    const MethodDeclaration* found =
        std::find_if(begin, end, [name](const MethodDeclaration& method) {
            return name != nullptr && sameName(method.name, name);
        });
    return found == end ? nullptr : found;
}

// Methods have no value: what is told is the type of what they return.
CMPIData dataOf(const MethodDeclaration* method, CMPIStatus* rc)
{
    if (method == nullptr) {
        fail(rc, CMPI_RC_ERR_METHOD_NOT_FOUND);
        return noData(CMPI_nullValue | CMPI_notFound);
    }
    succeed(rc);
    return CMPIData{method->returnType, CMPI_nullValue, CMPIValue{}};
}

CMPIData getMethod(CMPIConstClass* cls, const char* name, CMPIStatus* rc)
{
    return dataOf(findMethod(self(cls), name), rc);
}

CMPIData getMethodAt(CMPIConstClass* cls, unsigned int index, CMPIString** name, CMPIStatus* rc)
{
    const ClassObject& source = self(cls);
    const MethodDeclaration* method = index < source.methodCount ? &source.methods[index] : nullptr;
    if (name != nullptr) {
        *name = method == nullptr ? nullptr : newString(method->name);
    }
    return dataOf(method, rc);
}

unsigned int getMethodCount(CMPIConstClass* cls, CMPIStatus* rc)
{
    succeed(rc);
    return self(cls).methodCount;
}

CMPIData getMethodParameter(CMPIConstClass* cls, const char* methodName, const char* name,
                            CMPIStatus* rc)
{
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    return method == nullptr ? dataOf(method, rc) : method->parameters.get(name, rc);
}

CMPIData getMethodParameterAt(CMPIConstClass* cls, const char* methodName, unsigned int index,
                              CMPIString** name, CMPIStatus* rc)
{
    if (name != nullptr) {
        *name = nullptr;
    }
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    return method == nullptr ? dataOf(method, rc) : method->parameters.getAt(index, name, rc);
}

unsigned int getMethodParameterCount(CMPIConstClass* cls, const char* methodName, CMPIStatus* rc)
{
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    if (method == nullptr) {
        fail(rc, CMPI_RC_ERR_METHOD_NOT_FOUND);
        return 0;
    }
    succeed(rc);
    return method->parameters.count;
}

CMPIData getMethodQualifier(CMPIConstClass* cls, const char* methodName, const char* name,
                            CMPIStatus* rc)
{
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    if (method == nullptr) {
        fail(rc, CMPI_RC_ERR_METHOD_NOT_FOUND);
        return noData(CMPI_nullValue);
    }
    return getQualifierOf(method->qualifiers, name, rc);
}

CMPIData getMethodQualifierAt(CMPIConstClass* cls, const char* methodName, unsigned int index,
                              CMPIString** name, CMPIStatus* rc)
{
    if (name != nullptr) {
        *name = nullptr;
    }
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    if (method == nullptr) {
        fail(rc, CMPI_RC_ERR_METHOD_NOT_FOUND);
        return noData(CMPI_nullValue);
    }
    return method->qualifiers.getAt(index, name, rc);
}

unsigned int getMethodQualifierCount(CMPIConstClass* cls, const char* methodName, CMPIStatus* rc)
{
    const MethodDeclaration* method = findMethod(self(cls), methodName);
    if (method == nullptr) {
        fail(rc, CMPI_RC_ERR_METHOD_NOT_FOUND);
        return 0;
    }
    succeed(rc);
    return method->qualifiers.count;
}

using Properties = Reading<ClassObject, &ClassObject::properties>;
using ClassQualifiers = ReadingQualifiers<ClassObject>;

} // namespace

ClassObject* copyClass(const CMPIConstClass* cls, Arena* arena)
{
    const auto& source = *static_cast<const ClassObject*>(cls);
    Owned<ClassObject> copy = makeOwned<ClassObject>(arena);
    copy->className = copy->arena->copy(source.className);
    copy->xml = copy->arena->copy(source.xml);
    copy->qualifiers = copyQualifiers(source.qualifiers, *copy->arena);
    copy->properties = source.properties.copyInto(*copy->arena);
    copy->methods = copy->arena->createArray<MethodDeclaration>(source.methodCount);
    copy->methodCount = source.methodCount;
    for (unsigned int i = 0; i < source.methodCount; ++i) {
        const MethodDeclaration& method = source.methods[i];
        copy->methods[i] = MethodDeclaration{copy->arena->copy(method.name), method.returnType,
                                             method.parameters.copyInto(*copy->arena),
                                             method.qualifiers.copyInto(*copy->arena)};
    }
    return copy.release();
}

constexpr CMPIConstClassFT ClassObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<ClassObject>,
    Guarded<cloned<CMPIConstClass, copyClass>>::call,
    Guarded<getClassName>::call,
    Guarded<Properties::get>::call,
    Guarded<Properties::getAt>::call,
    Guarded<Properties::count>::call,
    Guarded<ClassQualifiers::get>::call,
    Guarded<ClassQualifiers::getAt>::call,
    Guarded<ClassQualifiers::count>::call,
    Guarded<ClassQualifiers::getOfProperty>::call,
    Guarded<ClassQualifiers::getOfPropertyAt>::call,
    Guarded<ClassQualifiers::countOfProperty>::call,
    Guarded<getMethod>::call,
    Guarded<getMethodAt>::call,
    Guarded<getMethodCount>::call,
    Guarded<getMethodParameter>::call,
    Guarded<getMethodParameterAt>::call,
    Guarded<getMethodParameterCount>::call,
    Guarded<getMethodQualifier>::call,
    Guarded<getMethodQualifierAt>::call,
    Guarded<getMethodQualifierCount>::call,
};

} // namespace cmpisfcc
