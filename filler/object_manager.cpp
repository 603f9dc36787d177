#include "object_manager.h"

namespace filler {

namespace {

using cimgate::CimHandle;
using cimgate::CimStatus;

constexpr const char* kNameSpace = "root/xcim";
// Who asks, for the log of a local object manager, which lets root in without a password. What is
// told to others is said on the command line.
constexpr const char* kUser = "root";

CimHandle<CMPIObjectPath> pathOf(const std::string& cimClass)
{
    CimStatus status;
    CimHandle<CMPIObjectPath> path(newCMPIObjectPath(kNameSpace, cimClass.c_str(), status.out()));
    if (path == nullptr) {
        throw std::bad_alloc();
    }
    return path;
}

std::string textOf(const CimStatus& status)
{
    return "CIM status " + std::to_string(status.code()) + ": " + status.message();
}

// For the interface, which takes names as C does.
std::vector<char*> namesFor(const std::vector<std::string>& properties)
{
    std::vector<char*> names;
    for (const std::string& property : properties) {
        names.push_back(const_cast<char*>(property.c_str()));
    }
    names.push_back(nullptr);
    return names;
}

} // namespace

CMPIInstance* Instances::next()
{
    CimStatus status;
    if (mEnumeration->ft->hasNext(mEnumeration.get(), status.out()) == 0) {
        if (status.failed()) { // an end that comes too early would remove the rest
            throw CimError("the instances end early: " + textOf(status));
        }
        return nullptr;
    }
    CimStatus nextStatus;
    const CMPIData data = mEnumeration->ft->getNext(mEnumeration.get(), nextStatus.out());
    if (nextStatus.failed() || data.type != CMPI_instance) {
        throw CimError("an instance cannot be read: " + textOf(nextStatus));
    }
    return data.value.inst;
}

CMCIClient* ObjectManager::client()
{
    if (mClient == nullptr) {
        CMPIStatus status{CMPI_RC_OK, nullptr};
        mClient.reset(cmciConnect("SfcbLocal", nullptr, "5988", kUser, nullptr, &status));
        if (mClient == nullptr) {
            const char* const text = cimgate::charsOf(status.msg);
            throw CimError(text == nullptr ? "no connection" : text);
        }
    }
    return mClient.get();
}

void ObjectManager::reconnect()
{
    mClient.reset();
    mTakesLists = true; // it may be another one
    (void)client();
}

Declaration ObjectManager::declarationOf(const std::string& cimClass)
{
    CMCIClient* const cim = client();
    CimStatus status;
    const CimHandle<CMPIConstClass> found(
        cim->ft->getClass(cim, pathOf(cimClass).get(), 0, nullptr, status.out()));
    if (found == nullptr || status.failed()) {
        return std::nullopt;
    }
    CimStatus countStatus;
    const unsigned int count = found->ft->getPropertyCount(found.get(), countStatus.out());
    std::vector<DeclaredProperty> properties;
    for (unsigned int i = 0; i < count; ++i) {
        CMPIString* name = nullptr;
        CimStatus propertyStatus;
        const CMPIData data = found->ft->getPropertyAt(found.get(), i, &name, propertyStatus.out());
        const CimHandle<CMPIString> owned(name);
        if (!propertyStatus.failed() && cimgate::charsOf(name) != nullptr) {
            properties.push_back({cimgate::charsOf(name), data.type});
        }
    }
    return properties;
}

Instances ObjectManager::instancesOf(const std::string& cimClass,
                                     const std::vector<std::string>& properties)
{
    if (!mTakesLists || properties.empty()) {
        return enumerate(cimClass, nullptr);
    }
    std::vector<char*> names = namesFor(properties);
    try {
        return enumerate(cimClass, names.data());
    } catch (const CimError&) {
        // It may be the list that it fails on.
        Instances instances = enumerate(cimClass, nullptr);
        mTakesLists = false;
        return instances;
    }
}

// names: null for all properties.
Instances ObjectManager::enumerate(const std::string& cimClass, char** names)
{
    CMCIClient* const cim = client();
    CimStatus status;
    // What a subclass adds is shown of a single instance that is read live, too.
    CimHandle<CMPIEnumeration> enumeration(cim->ft->enumInstances(
        cim, pathOf(cimClass).get(), CMPI_FLAG_DeepInheritance, names, status.out()));
    if (status.failed() || enumeration == nullptr) {
        throw CimError(textOf(status));
    }
    return Instances(std::move(enumeration));
}

size_t ObjectManager::countOf(const std::string& cimClass)
{
    CMCIClient* const cim = client();
    CimStatus status;
    const CimHandle<CMPIEnumeration> names(
        cim->ft->enumInstanceNames(cim, pathOf(cimClass).get(), status.out()));
    if (status.failed() || names == nullptr) {
        throw CimError(textOf(status));
    }
    CimStatus arrayStatus;
    return cimgate::sizeOf(names->ft->toArray(names.get(), arrayStatus.out()));
}

} // namespace filler
