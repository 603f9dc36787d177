// Answers to reads as they leave the service.
#ifndef HOST_FRONT_READY_ANSWER_H_
#define HOST_FRONT_READY_ANSWER_H_

#include <httpd/server.h>

#include <string>
#include <vector>

namespace host {

// What every response carries (DSP0266, "Response headers").
void addCommonHeaders(httpd::Response& response);

// A response as this client gets it: 304 for what it has already (conditional.h).
httpd::Response finalOf(httpd::Response response, const std::vector<httpd::Header>& requestHeaders);

// An answer that can be given to many: a copy is cheap.
struct ReadyAnswer
{
    std::string entityTag;
    httpd::Response whole;
    httpd::Response unmodified; // for clients that have it already

    const httpd::Response& finalFor(const std::vector<httpd::Header>& requestHeaders) const;
};

// Made of a 200; its body becomes a shared one.
ReadyAnswer readyAnswerOf(httpd::Response& response);

} // namespace host

#endif
