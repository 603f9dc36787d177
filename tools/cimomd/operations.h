// The intrinsic operations (DSP0200).
#ifndef CIMOMD_OPERATIONS_H_
#define CIMOMD_OPERATIONS_H_

#include "arguments.h"
#include "name_space.h"

#include <cimxml/response.h>

#include <optional>
#include <string>
#include <vector>

namespace cimomd {

// An operation on its way. Where it fails, error tells why and the answer is of no use.
struct OperationCall
{
    NameSpace& nameSpace;
    const std::string& host; // for object paths
    Arguments arguments;
    cimxml::ResponseWriter answer;
    cimxml::CimError error;
};

using Operation = bool (*)(OperationCall& call);

// The class or the instance that an operation is about, once all its arguments are read; null with
// the error where one of them is wrong or there is no such object.
const ClassEntry* findClass(OperationCall& call, const std::string& name);
const StoredInstance* findInstance(OperationCall& call, const cimxml::ObjectPath& path);

// What of an instance is asked for.
struct PropertySelection
{
    const std::vector<std::string>* names = nullptr; // null: all
    const ClassEntry* within = nullptr;              // no more than this class has; null: all
    bool withClassOrigin = false;
};

cimxml::Instance selectProperties(const cimxml::Instance& instance,
                                  const PropertySelection& selection);

// Path with host and namespace.
cimxml::ObjectPath fullPath(const OperationCall& call, const cimxml::ObjectPath& path);

bool getClass(OperationCall& call);
bool enumerateClasses(OperationCall& call);
bool enumerateClassNames(OperationCall& call);

bool enumerateInstances(OperationCall& call);
bool enumerateInstanceNames(OperationCall& call);
bool getInstance(OperationCall& call);
bool createInstance(OperationCall& call);
bool modifyInstance(OperationCall& call);
bool deleteInstance(OperationCall& call);
bool getProperty(OperationCall& call);
bool setProperty(OperationCall& call);
bool execQuery(OperationCall& call);

bool associators(OperationCall& call);
bool associatorNames(OperationCall& call);
bool references(OperationCall& call);
bool referenceNames(OperationCall& call);

} // namespace cimomd

#endif
