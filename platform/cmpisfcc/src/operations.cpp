// The table of a client: each function makes its operation's request of the path and parameters
// that it is called with (DSP0200, intrinsic methods).
#include "client.h"
#include "message_values.h"
#include "value_reading.h"
#include "values.h"

#include <utility>

namespace cmpisfcc {

namespace {

std::string booleanText(bool isSet)
{
    return isSet ? "TRUE" : "FALSE";
}

// A request in the making.
class Operation
{
public:
    Operation(const char* name, CMPIObjectPath* path) : mPath(path)
    {
        mRequest.messageId = kMessageId;
        mRequest.operation = name;
        const char* nameSpace = static_cast<const PathObject*>(path)->nameSpace;
        mRequest.nameSpace = nameSpace == nullptr ? "" : nameSpace;
    }

    Operation& with(const char* name, cimxml::IntrinsicValue value)
    {
        mRequest.parameters.push_back({name, std::move(value)});
        return *this;
    }

    Operation& withClassName()
    {
        const char* className = static_cast<const PathObject*>(mPath)->className;
        return className == nullptr || *className == '\0'
                   ? *this
                   : with("ClassName", cimxml::ClassName{className});
    }

    Operation& withInstanceName() { return with("InstanceName", messagePath(mPath)); }

    // An instance, or all that belongs to a class.
    Operation& withObjectName()
    {
        cimxml::ObjectPath path = messagePath(mPath);
        return path.keys.empty() ? with("ObjectName", cimxml::ClassName{path.className})
                                 : with("ObjectName", std::move(path));
    }

    // What is associated with the object, narrowed by what is not NULL.
    Operation& withAssociated(const char* assocClass, const char* resultClass, const char* role,
                              const char* resultRole)
    {
        return withObjectName()
            .withClass("AssocClass", assocClass)
            .withClass("ResultClass", resultClass)
            .withText("Role", role)
            .withText("ResultRole", resultRole);
    }

    Operation& withClass(const char* name, const char* className)
    {
        return className == nullptr ? *this : with(name, cimxml::ClassName{className});
    }

    Operation& withText(const char* name, const char* text)
    {
        return text == nullptr ? *this : with(name, std::string(text));
    }

    Operation& withFlag(const char* name, CMPIFlags flags, CMPIFlags flag)
    {
        return with(name, booleanText((flags & flag) != 0));
    }

    Operation& withDeepInheritance(CMPIFlags flags)
    {
        return withFlag("DeepInheritance", flags, CMPI_FLAG_DeepInheritance);
    }

    // How much of each object is to be returned; properties is NULL for all of them.
    Operation& withSelection(CMPIFlags flags, char** properties)
    {
        return withFlag("LocalOnly", flags, CMPI_FLAG_LocalOnly)
            .withOriginAndProperties(flags, properties);
    }

    Operation& withOriginAndProperties(CMPIFlags flags, char** properties)
    {
        return withFlag("IncludeQualifiers", flags, CMPI_FLAG_IncludeQualifiers)
            .withFlag("IncludeClassOrigin", flags, CMPI_FLAG_IncludeClassOrigin)
            .withProperties(properties);
    }

    Operation& withProperties(char** properties)
    {
        if (properties == nullptr) {
            return *this;
        }
        cimxml::TextArray names;
        for (; *properties != nullptr; ++properties) {
            names.emplace_back(*properties);
        }
        return with("PropertyList", std::move(names));
    }

    Operation& onlyOnce()
    {
        mIsRepeatable = false;
        return *this;
    }

    Result run(CMCIClient* client, Answer& answer)
    {
        return Client::of(client).call(mRequest, mIsRepeatable, answer);
    }

    CMPIEnumeration* enumerate(CMCIClient* client, Returns returns, CMPIStatus* rc)
    {
        Answer answer(returns, mPath);
        return succeeded(run(client, answer), rc) ? answer.takeEnumeration() : nullptr;
    }

    template <typename Object>
    Object* fetch(CMCIClient* client, Returns returns, CMPIStatus* rc)
    {
        Answer answer(returns, mPath);
        if (!succeeded(run(client, answer), rc)) {
            return nullptr;
        }
        auto* object = answer.takeFirst<Object>();
        if (object == nullptr) {
            fail(rc, CMPI_RC_ERR_FAILED, "The answer holds no object");
        }
        return object;
    }

    CMPIStatus change(CMCIClient* client)
    {
        Answer answer(Returns::Nothing, mPath);
        return run(client, answer).status();
    }

    static bool succeeded(const Result& result, CMPIStatus* rc)
    {
        if (rc != nullptr) {
            *rc = result.status();
        }
        return !result.failed();
    }

private:
    CMPIObjectPath* mPath;
    cimxml::IntrinsicRequest mRequest;
    bool mIsRepeatable = true;
};

CMPIStatus releaseClient(CMCIClient* client)
{
    delete &Client::of(client);
    return kSuccess;
}

CMCIClient* cloneClient(CMCIClient* /*client*/, CMPIStatus* rc)
{
    fail(rc, CMPI_RC_ERR_NOT_SUPPORTED, "Clone function not supported");
    return nullptr;
}

CMPIConstClass* getClass(CMCIClient* client, CMPIObjectPath* path, CMPIFlags flags,
                         char** properties, CMPIStatus* rc)
{
    return Operation("GetClass", path)
        .withClassName()
        .withSelection(flags, properties)
        .fetch<ClassObject>(client, Returns::Classes, rc);
}

CMPIEnumeration* enumClassNames(CMCIClient* client, CMPIObjectPath* path, CMPIFlags flags,
                                CMPIStatus* rc)
{
    return Operation("EnumerateClassNames", path)
        .withClassName()
        .withDeepInheritance(flags)
        .enumerate(client, Returns::ClassNames, rc);
}

CMPIEnumeration* enumClasses(CMCIClient* client, CMPIObjectPath* path, CMPIFlags flags,
                             CMPIStatus* rc)
{
    return Operation("EnumerateClasses", path)
        .withClassName()
        .withDeepInheritance(flags)
        .withSelection(flags, nullptr)
        .enumerate(client, Returns::Classes, rc);
}

CMPIInstance* getInstance(CMCIClient* client, CMPIObjectPath* path, CMPIFlags flags,
                          char** properties, CMPIStatus* rc)
{
    return Operation("GetInstance", path)
        .withInstanceName()
        .withSelection(flags, properties)
        .fetch<InstanceObject>(client, Returns::Instances, rc);
}

CMPIObjectPath* createInstance(CMCIClient* client, CMPIObjectPath* path, CMPIInstance* instance,
                               CMPIStatus* rc)
{
    return Operation("CreateInstance", path)
        .with("NewInstance", messageInstance(instance))
        .onlyOnce()
        .fetch<PathObject>(client, Returns::Paths, rc);
}

CMPIStatus setInstance(CMCIClient* client, CMPIObjectPath* path, CMPIInstance* instance,
                       CMPIFlags flags, char** properties)
{
    return Operation("ModifyInstance", path)
        .with("ModifiedInstance",
              cimxml::NamedInstance{messagePath(path), messageInstance(instance)})
        .withFlag("IncludeQualifiers", flags, CMPI_FLAG_IncludeQualifiers)
        .withProperties(properties)
        .change(client);
}

CMPIStatus deleteInstance(CMCIClient* client, CMPIObjectPath* path)
{
    return Operation("DeleteInstance", path).withInstanceName().onlyOnce().change(client);
}

CMPIEnumeration* execQuery(CMCIClient* client, CMPIObjectPath* path, const char* query,
                           const char* language, CMPIStatus* rc)
{
    return Operation("ExecQuery", path)
        .withText("QueryLanguage", language)
        .withText("Query", query)
        .enumerate(client, Returns::Instances, rc);
}

CMPIEnumeration* enumInstanceNames(CMCIClient* client, CMPIObjectPath* path, CMPIStatus* rc)
{
    return Operation("EnumerateInstanceNames", path)
        .withClassName()
        .enumerate(client, Returns::Paths, rc);
}

CMPIEnumeration* enumInstances(CMCIClient* client, CMPIObjectPath* path, CMPIFlags flags,
                               char** properties, CMPIStatus* rc)
{
    return Operation("EnumerateInstances", path)
        .withClassName()
        .withDeepInheritance(flags)
        .withSelection(flags, properties)
        .enumerate(client, Returns::Instances, rc);
}

// NOLINTBEGIN(readability-function-size): the interface has so many parameters
CMPIEnumeration* associators(CMCIClient* client, CMPIObjectPath* path, const char* assocClass,
                             const char* resultClass, const char* role, const char* resultRole,
                             CMPIFlags flags, char** properties, CMPIStatus* rc)
{
    return Operation("Associators", path)
        .withAssociated(assocClass, resultClass, role, resultRole)
        .withOriginAndProperties(flags, properties)
        .enumerate(client, Returns::Instances, rc);
}

CMPIEnumeration* associatorNames(CMCIClient* client, CMPIObjectPath* path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 CMPIStatus* rc)
{
    return Operation("AssociatorNames", path)
        .withAssociated(assocClass, resultClass, role, resultRole)
        .enumerate(client, Returns::Paths, rc);
}

CMPIEnumeration* references(CMCIClient* client, CMPIObjectPath* path, const char* resultClass,
                            const char* role, CMPIFlags flags, char** properties, CMPIStatus* rc)
{
    return Operation("References", path)
        .withAssociated(nullptr, resultClass, role, nullptr)
        .withOriginAndProperties(flags, properties)
        .enumerate(client, Returns::Instances, rc);
}

CMPIEnumeration* referenceNames(CMCIClient* client, CMPIObjectPath* path, const char* resultClass,
                                const char* role, CMPIStatus* rc)
{
    return Operation("ReferenceNames", path)
        .withAssociated(nullptr, resultClass, role, nullptr)
        .enumerate(client, Returns::Paths, rc);
}

// NOLINTEND(readability-function-size)

std::vector<cimxml::MethodParameter> messageArguments(CMPIArgs* in)
{
    std::vector<cimxml::MethodParameter> inputs;
    if (in == nullptr) {
        return inputs;
    }
    const NamedValues& arguments = static_cast<const ArgsObject*>(in)->arguments;
    for (unsigned int i = 0; i < arguments.count; ++i) {
        const NamedValue& argument = arguments.items[i];
        cimxml::Value value = messageValue(argument.data);
        const cimxml::Embedded embedded = embeddedKind(argument.data.type);
        // A text may stand for a value of any type. Object managers make one of the declared type
        // of it, many of them only where no other type is given.
        const bool hasType =
            value.type != cimxml::Type::String || embedded != cimxml::Embedded::None;
        inputs.push_back({argument.name, std::move(value), hasType, embedded});
    }
    return inputs;
}

// In the order in which they came. What is there already under a name stays.
void addOutputs(const NamedValues& outputs, CMPIArgs* out)
{
    if (out == nullptr) {
        return;
    }
    auto& target = *static_cast<ArgsObject*>(out);
    for (unsigned int i = 0; i < outputs.count; ++i) {
        const NamedValue& output = outputs.items[i];
        CMPIData data = {};
        if (target.arguments.find(output.name) == nullptr &&
            copyData(*target.arena, output.data, data)) {
            target.arguments.append(*target.arena, target.arena->copy(output.name), data);
        }
    }
}

CMPIData invokeMethod(CMCIClient* client, CMPIObjectPath* path, const char* method, CMPIArgs* in,
                      CMPIArgs* out, CMPIStatus* rc)
{
    cimxml::ExtrinsicRequest request;
    request.messageId = kMessageId;
    request.method = method == nullptr ? "" : method;
    request.object = messagePath(path);
    request.object.host.clear();
    request.isInstance = !request.object.keys.empty();
    request.inputs = messageArguments(in);
    Answer answer(Returns::Method, path);
    if (!Operation::succeeded(Client::of(client).call(request, answer), rc)) {
        return noData(CMPI_nullValue | CMPI_notFound);
    }
    addOutputs(answer.outputs(), out);
    return ownedCopy(answer.value());
}

CMPIStatus setProperty(CMCIClient* client, CMPIObjectPath* path, const char* name, CMPIValue* value,
                       CMPIType type)
{
    const Owned<ArgsObject> holder = makeOwned<ArgsObject>();
    CMPIData data = {};
    if (!takeValue(*holder->arena, value, type, CharsAt::Address, data)) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "A property cannot be of this type");
    }
    return Operation("SetProperty", path)
        .withInstanceName()
        .withText("PropertyName", name)
        .with("NewValue", parameterValue(data))
        .change(client);
}

CMPIData getProperty(CMCIClient* client, CMPIObjectPath* path, const char* name, CMPIStatus* rc)
{
    Answer answer(Returns::Value, path);
    const Result result = Operation("GetProperty", path)
                              .withInstanceName()
                              .withText("PropertyName", name)
                              .run(client, answer);
    return Operation::succeeded(result, rc) ? ownedCopy(answer.value())
                                            : noData(CMPI_nullValue | CMPI_notFound);
}

} // namespace

constexpr CMCIClientFT Client::kTable = {
    NATIVE_FT_VERSION,
    Guarded<releaseClient>::call,
    Guarded<cloneClient>::call,
    Guarded<getClass>::call,
    Guarded<enumClassNames>::call,
    Guarded<enumClasses>::call,
    Guarded<getInstance>::call,
    Guarded<createInstance>::call,
    Guarded<setInstance>::call,
    Guarded<deleteInstance>::call,
    Guarded<execQuery>::call,
    Guarded<enumInstanceNames>::call,
    Guarded<enumInstances>::call,
    Guarded<associators>::call,
    Guarded<associatorNames>::call,
    Guarded<references>::call,
    Guarded<referenceNames>::call,
    Guarded<invokeMethod>::call,
    Guarded<setProperty>::call,
    Guarded<getProperty>::call,
};

} // namespace cmpisfcc
