// The object manager: answers CIM-XML requests from a repository.
//
// Threads: one.
#ifndef CIMOMD_OBJECT_MANAGER_H_
#define CIMOMD_OBJECT_MANAGER_H_

#include "methods.h"
#include "repository.h"

#include <cimxml/request.h>
#include <httpd/server.h>

#include <chrono>
#include <string>

namespace cimomd {

class ObjectManager
{
public:
    // All must outlive the object manager. The host stands in object paths. With strict types, what
    // comes with another type than the declared one is refused (strict_types.h).
    ObjectManager(Repository& repository, Methods& methods, const std::string& host,
                  bool hasStrictTypes = false)
        : mRepository(repository), mMethods(methods), mHost(host), mHasStrictTypes(hasStrictTypes)
    {}

    // An answer and how long it is to be held back, to play a method that takes its time. What the
    // method does is done.
    struct Answer
    {
        httpd::Response response;
        std::chrono::milliseconds delay{0};
    };

    // Answers a request, whatever it is.
    Answer answer(const httpd::Request& request);

    // Carry out what a request's body says; the answer is a whole CIM-XML message.
    std::string answer(const cimxml::IntrinsicRequest& request);
    std::string answer(const cimxml::ExtrinsicRequest& request, std::chrono::milliseconds& delay);

private:
    bool callIntrinsic(const cimxml::IntrinsicRequest& request, std::string& answer,
                       cimxml::CimError& error);
    bool callExtrinsic(const cimxml::ExtrinsicRequest& request, MethodResult& result,
                       cimxml::CimError& error);
    NameSpace* findNameSpace(const std::string& name, cimxml::CimError& error);

    Repository& mRepository;
    Methods& mMethods;
    const std::string& mHost;
    bool mHasStrictTypes;
};

} // namespace cimomd

#endif
