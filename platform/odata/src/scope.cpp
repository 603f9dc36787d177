#include "uri.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

// NOLINTNEXTLINE(readability-identifier-naming): the C interface fixes the name
struct OL_Scope
{
    struct Header
    {
        std::string name;
        std::string value;
    };

    std::string requestUrl;
    int status = 200;
    std::deque<Header> headers; // a deque: texts that were handed out stay where they are
    std::string contentType;
    std::string body;
    bool isCompleted = false;
    bool isIncomplete = false; // memory ran out while something was stored
    int result = -1;
    std::string resultText;
};

namespace {

std::string_view textOrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

// HTTP ends a header at its line end, so nothing behind one may reach the wire.
std::string_view headerText(const char* text)
{
    const std::string_view whole = textOrEmpty(text);
    return whole.substr(0, whole.find_first_of("\r\n"));
}

char lowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameName(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerAscii(a) == lowerAscii(b); });
}

// Runs a step that stores part of the request or response. One that runs out of memory must not
// pass for a value that was never set: the scope remembers it.
template <typename Store>
bool store(OL_Scope& scope, Store step) noexcept
{
    try {
        step();
    } catch (...) {
        scope.isIncomplete = true;
    }
    return !scope.isIncomplete;
}

void setHeader(OL_Scope& scope, OL_Scope::Header header)
{
    const auto same = std::find_if(
        scope.headers.begin(), scope.headers.end(),
        [&header](const OL_Scope::Header& other) { return isSameName(other.name, header.name); });
    if (same == scope.headers.end()) {
        scope.headers.push_back(std::move(header));
    } else {
        *same = std::move(header);
    }
}

__attribute__((format(printf, 1, 0))) std::string formatText(const char* format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    std::vector<char> buffer(length > 0 ? static_cast<size_t>(length) + 1 : 1);
    const int written = std::vsnprintf(buffer.data(), buffer.size(), format, again);
    va_end(again);
    return written > 0 ? buffer.data() : "";
}

} // namespace

OL_Scope* __OL_Scope_New(void)
{
    try {
        return std::make_unique<OL_Scope>().release();
    } catch (...) {
        return nullptr;
    }
}

void OL_Scope_Release(OL_Scope* scope)
{
    delete scope;
}

void OL_Scope_SetRequestURL(OL_Scope* scope, const char* url)
{
    store(*scope, [&] { scope->requestUrl = textOrEmpty(url); });
}

const char* OL_Scope_GetRequestURL(const OL_Scope* scope)
{
    return scope->requestUrl.c_str();
}

OL_URI* OL_Scope_NewURI(OL_Scope* scope)
{
    OL_URI* uri = nullptr;
    store(*scope,
          [&] { uri = scope->isIncomplete ? nullptr : odata::parseUri(scope->requestUrl); });
    return uri;
}

void OL_Scope_SetHeader(OL_Scope* scope, const char* name, const char* value)
{
    store(*scope, [&] {
        OL_Scope::Header header{std::string(headerText(name)), std::string(headerText(value))};
        if (!header.name.empty()) {
            setHeader(*scope, std::move(header));
        }
    });
}

void OL_Scope_SetStatus(OL_Scope* scope, int status)
{
    scope->status = status;
}

void OL_Scope_WriteBody(OL_Scope* scope, const char* contentType, const char* body, size_t length)
{
    store(*scope, [&] {
        std::string newType(textOrEmpty(contentType));
        std::string newBody(length != 0 ? body : "", length);
        scope->contentType = std::move(newType);
        scope->body = std::move(newBody);
    });
}

int OL_Scope_SendResult(OL_Scope* scope, int result, const char* format, ...)
{
    if (scope->isCompleted) {
        return 0;
    }
    va_list args;
    va_start(args, format);
    scope->isCompleted = store(*scope, [&] { scope->resultText = formatText(format, args); });
    va_end(args);
    if (scope->isCompleted) {
        scope->result = result == 0 ? 0 : 1;
    }
    return scope->isCompleted ? 1 : 0;
}

int OL_Scope_GetStatus(const OL_Scope* scope)
{
    return scope->status;
}

size_t OL_Scope_GetHeaderCount(const OL_Scope* scope)
{
    return scope->headers.size();
}

const char* OL_Scope_GetHeaderName(const OL_Scope* scope, size_t index)
{
    return index < scope->headers.size() ? scope->headers[index].name.c_str() : nullptr;
}

const char* OL_Scope_GetHeaderValue(const OL_Scope* scope, size_t index)
{
    return index < scope->headers.size() ? scope->headers[index].value.c_str() : nullptr;
}

const char* OL_Scope_GetContentType(const OL_Scope* scope)
{
    return scope->contentType.c_str();
}

const char* OL_Scope_GetBody(const OL_Scope* scope, size_t* length)
{
    *length = scope->body.size();
    return scope->body.data();
}

int OL_Scope_IsCompleted(const OL_Scope* scope)
{
    return scope->isCompleted ? 1 : 0;
}

int OL_Scope_GetResult(const OL_Scope* scope)
{
    return scope->result;
}

const char* OL_Scope_GetResultText(const OL_Scope* scope)
{
    return scope->resultText.c_str();
}
