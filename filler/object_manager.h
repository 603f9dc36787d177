// What the filler asks of the object manager.
#ifndef FILLER_OBJECT_MANAGER_H_
#define FILLER_OBJECT_MANAGER_H_

#include <CimHandles.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace filler {

// What was asked for cannot be had; the text says why.
class CimError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct DeclaredProperty
{
    std::string name;
    CMPIType type;
};

// The properties of a class in their order; nothing where the object manager does not tell.
using Declaration = std::optional<std::vector<DeclaredProperty>>;

// The elements of an enumeration one by one.
class Instances
{
public:
    explicit Instances(cimgate::CimHandle<CMPIEnumeration> enumeration)
        : mEnumeration(std::move(enumeration))
    {}
    // Owned by the enumeration; null at the end.
    CMPIInstance* next();

private:
    cimgate::CimHandle<CMPIEnumeration> mEnumeration;
};

// Connects when it is asked something. Failures are thrown as CimError.
class ObjectManager
{
public:
    Declaration declarationOf(const std::string& cimClass);
    // All instances with these properties, those of subclasses too; without names, with all.
    Instances instancesOf(const std::string& cimClass, const std::vector<std::string>& properties);
    size_t countOf(const std::string& cimClass);
    // Connects anew.
    void reconnect();

private:
    CMCIClient* client();
    Instances enumerate(const std::string& cimClass, char** names);

    cimgate::CimHandle<CMCIClient> mClient;
    bool mTakesLists = true; // until it has answered without a list what it refused with one
};

} // namespace filler

#endif
