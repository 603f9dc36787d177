// What an operation has returned, gathered while the answer arrives.
#ifndef CMPISFCC_ANSWER_H_
#define CMPISFCC_ANSWER_H_

#include "objects.h"

#include <cimxml/response.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cmpisfcc {

// What an operation may return. Anything else in its answer is a failure.
enum class Returns { Nothing, Instances, Paths, Classes, ClassNames, Value, Method };

// Instances, paths and classes become elements of an enumeration, and all that belongs to them is
// in its arena.
class Answer : public cimxml::ResponseHandler
{
public:
    // request  the path that the operation was called with: its name space is that of all that
    //          comes without one, its keys are those of an instance that comes without a path.
    //          Must outlive the answer; may be null.
    Answer(Returns returns, const CMPIObjectPath* request);

    bool onInstance(const cimxml::InstanceView& view, const cimxml::ObjectPathView& path) override;
    bool onPath(const cimxml::ObjectPathView& view) override;
    bool onClass(const cimxml::Class& cls, const cimxml::ObjectPathView& path) override;
    bool onClassName(std::string_view name) override;
    bool onValue(const cimxml::Value& value) override;
    bool onReturnValue(const cimxml::MethodParameter& value) override;
    bool onOutput(const cimxml::MethodParameter& output) override;
    bool onError(const cimxml::CimError& error) override;

    // The error that the object manager has answered with.
    [[nodiscard]] const std::optional<cimxml::CimError>& error() const { return mError; }
    // Why reading had to end here, in English; empty unless it had to.
    [[nodiscard]] const std::string& problem() const { return mProblem; }

    // All that came, for the caller.
    CMPIEnumeration* takeEnumeration();
    // The first element, as an object of its own; null where there is none.
    template <typename Object>
    Object* takeFirst();
    // The value that came, part of this answer; a null string where none did.
    [[nodiscard]] const CMPIData& value() const { return mValue; }
    [[nodiscard]] const NamedValues& outputs() const { return mOutputs; }

private:
    bool expect(Returns returned);
    bool refuse(std::string problem);
    bool refuseValue(std::string_view name, std::string_view text, cimxml::Type type);
    bool append(CMPIType type, CMPIValue value);
    const char* intern(std::string_view name, std::size_t position);
    Place placeOf(std::string_view className, const cimxml::ObjectPathView& path);
    const Place* sharedPlace(const Place& place);
    bool addKeys(const cimxml::ObjectPathView& path, NamedValues& keys);
    bool addProperties(const cimxml::InstanceView& view, InstanceObject& instance);
    bool addQualifiers(const cimxml::InstanceView& view, InstanceObject& instance);
    bool readProperty(const cimxml::PropertyView& view, CMPIData& data);
    bool readArray(const cimxml::PropertyView& view, CMPIData& data);
    bool readPath(const cimxml::ObjectPathView& view, PathObject*& path);
    bool readReference(const cimxml::ObjectPathView& view, CMPIData& data);
    bool readText(cimxml::Type type, std::string_view text, CMPIData& data);
    Arena& arena() { return *mEnumeration->arena; }

    Returns mReturns;
    const PathObject* mRequest;
    Owned<EnumerationObject> mEnumeration;
    const char* mNameSpace = nullptr; // the request's
    // Of the last object that came: the next one has the same, as a rule.
    Place mLast = {};
    const Place* mShared = nullptr;
    // Names at their place in the last instance: the next one has the same, as a rule.
    std::vector<const char*> mNames;
    unsigned int mPropertyCount = 0;
    CMPIData mValue = {CMPI_string, CMPI_nullValue, CMPIValue{}};
    NamedValues mOutputs = {};
    std::optional<cimxml::CimError> mError;
    std::string mProblem;
};

template <typename Object>
Object* Answer::takeFirst()
{
    if (mEnumeration->first == nullptr) {
        return nullptr;
    }
    auto* object =
        static_cast<Object*>(static_cast<typename Object::Public*>(mEnumeration->first->object));
    arena().setRoot(object); // in place of the enumeration
    return object;
}

} // namespace cmpisfcc

#endif
