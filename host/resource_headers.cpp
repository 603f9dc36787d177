#include "resource_headers.h"

#include "error_body.h"

#include <algorithm>

namespace host {

namespace {

constexpr const char* kCharset = ";charset=utf-8";

using Headers = std::vector<httpd::Header>;

Headers::iterator find(Headers& headers, const char* name)
{
    return std::find_if(headers.begin(), headers.end(),
                        [name](const httpd::Header& header) { return header.name == name; });
}

// Without a value it says nothing: the mapping can leave it empty.
void dropEmpty(Headers& headers, const char* name)
{
    const auto found = find(headers, name);
    if (found != headers.end() && found->value.empty()) {
        headers.erase(found);
    }
}

void addWhereAbsent(Headers& headers, const char* name, const std::string& value)
{
    if (find(headers, name) == headers.end()) {
        headers.push_back({name, value});
    }
}

} // namespace

void completeHeaders(httpd::Response& response, const std::string& schemaUri)
{
    Headers& headers = response.headers;
    const auto type = find(headers, "Content-Type");
    if (type != headers.end()) {
        type->value += kCharset;
    }
    addWhereAbsent(headers, "Allow", kReadMethods);
    dropEmpty(headers, "Link");
    if (!schemaUri.empty()) {
        addWhereAbsent(headers, "Link", "<" + schemaUri + ">; rel=describedby");
    }
}

} // namespace host
