// Answers of CIM-XML (DSP0200, DSP0201): written by an object manager, read by a client.
//
// Text that goes out is treated as request.h says.
#ifndef CIMXML_RESPONSE_H_
#define CIMXML_RESPONSE_H_

#include <cimxml/types.h>
#include <cimxml/views.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cimxml {

// Writes the answer to an intrinsic operation that returns something, object by object into one
// text. Which of the functions belongs to an operation is the caller's to know; one without a
// result (an empty enumeration) is finished at once.
class ResponseWriter
{
public:
    ResponseWriter(std::string_view messageId, std::string_view operation);

    void addInstance(const Instance& instance); // INSTANCE: GetInstance
    // VALUE.NAMEDINSTANCE: EnumerateInstances
    void addNamedInstance(const ObjectPath& path, const Instance& instance);
    // INSTANCENAME: EnumerateInstanceNames, CreateInstance
    void addInstanceName(const ObjectPath& path);
    // OBJECTPATH, of an instance: AssociatorNames, ReferenceNames. Host and namespace should be
    // set.
    void addObjectPath(const ObjectPath& path);
    // VALUE.OBJECTWITHPATH: Associators, References, ExecQuery
    void addObjectWithPath(const ObjectPath& path, const Instance& instance);
    void addClass(const Class& cls);          // CLASS: GetClass, EnumerateClasses
    void addClassName(std::string_view name); // CLASSNAME: EnumerateClassNames
    void addValue(
        const Value& value); // VALUE, VALUE.ARRAY, VALUE.REFERENCE; nothing for null: GetProperty

    // The whole answer; to be called once, at the end.
    std::string finish();

private:
    std::string mText;
};

// The answer to an operation that returns nothing: DeleteInstance, ModifyInstance, SetProperty.
std::string encodeEmptyResponse(std::string_view messageId, std::string_view operation);

// An intrinsic operation failed.
std::string encodeErrorResponse(std::string_view messageId, std::string_view operation,
                                const CimError& error);

// A method has returned; a returnValue of null pointer means none.
std::string encodeMethodResponse(std::string_view messageId, std::string_view method,
                                 const MethodParameter* returnValue,
                                 const std::vector<MethodParameter>& outputs);

// A method could not be called.
std::string encodeMethodErrorResponse(std::string_view messageId, std::string_view method,
                                      const CimError& error);

// Receives what an answer returns, in its order. Each function returns whether to go on; with false
// the reader ends with an error. What a handler does not override is unexpected and ends the
// reading too.
class ResponseHandler
{
public:
    ResponseHandler() = default;
    virtual ~ResponseHandler();
    ResponseHandler(const ResponseHandler&) = delete;
    ResponseHandler& operator=(const ResponseHandler&) = delete;

    // INSTANCE, VALUE.NAMEDINSTANCE, VALUE.INSTANCEWITHPATH, VALUE.OBJECTWITHPATH,
    // VALUE.OBJECTWITHLOCALPATH, VALUE.OBJECT; without a path for INSTANCE and VALUE.OBJECT.
    virtual bool onInstance(const InstanceView& instance, const ObjectPathView& path);
    // INSTANCENAME, INSTANCEPATH, OBJECTPATH; CLASSPATH too (the path then isClass()).
    virtual bool onPath(const ObjectPathView& path);
    // CLASS, also in one of the VALUE.OBJECT forms.
    virtual bool onClass(const Class& cls, const ObjectPathView& path);
    virtual bool onClassName(std::string_view name);
    // VALUE, VALUE.ARRAY, VALUE.REFERENCE directly in IRETURNVALUE: they tell no type, so it is
    // String or Reference.
    virtual bool onValue(const Value& value);
    // Return value of a method.
    virtual bool onReturnValue(const MethodParameter& value);
    // Output of a method, or of an operation ("EndOfSequence").
    virtual bool onOutput(const MethodParameter& output);
    // The operation or the method failed. Nothing but more ERRORs comes behind it; what came before
    // it is not to be relied on.
    virtual bool onError(const CimError& error);
};

// What a ResponseReader accepts.
struct ReaderLimits
{
    // The whole body. Some 20,000 instances of usual size; more would not fit beside what they
    // become.
    std::size_t bodyBytes = std::size_t{64} * 1024 * 1024;
    // One returned object: the largest class with all its descriptions is below 1 MiB.
    std::size_t objectBytes = std::size_t{8} * 1024 * 1024;
    // Elements within elements. Messages have some 12, references as keys of references a few more
    // each.
    std::size_t depth = 64;
};

// Reads an answer while it arrives, holding no more than the object at hand. Strict: what is cut
// off, has another root, nests wrongly, has text where none belongs, goes on behind its end,
// declares or uses entities of its own (any document type declaration), is not UTF-8, has
// characters that XML forbids, is deeper or longer than the limits, or has a value that is not of
// its declared type where the reader makes owned data, ends with an error.
//
// Threads: one reader is for one thread. Nothing throws but std::bad_alloc.
class ResponseReader
{
public:
    // The handler must outlive the reader.
    explicit ResponseReader(ResponseHandler& handler, const ReaderLimits& limits = {});
    ~ResponseReader();
    ResponseReader(const ResponseReader&) = delete;
    ResponseReader& operator=(const ResponseReader&) = delete;

    // The next bytes of the body, in pieces of any size; the handler is called from within. False
    // once there is an error, now and ever after.
    bool feed(std::string_view bytes);

    // The body has ended. False when it was not complete, or had an error before.
    bool finish();

    // What is wrong, in English; empty while all is well.
    const std::string& problem() const;

    // As the message said it; empty before it did.
    const std::string& messageId() const;
    // NAME of the IMETHODRESPONSE or METHODRESPONSE.
    const std::string& operation() const;

    // Ready for another answer and another handler; keeps its memory for it.
    void reset(ResponseHandler& handler);

private:
    class State;
    std::unique_ptr<State> mState;
};

} // namespace cimxml

#endif
