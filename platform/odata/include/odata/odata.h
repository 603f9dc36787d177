// C++ view of a request's scope and URI: thin wrappers that own a handle of odata_c.h and abort the
// process, with a line on standard error, when that handle is null.
//
// Threads: as in odata_c.h, one thread at a time for a scope and its URIs.
#ifndef ODATA_ODATA_H_
#define ODATA_ODATA_H_

#include <odata/odata_c.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace odata {

// Checks a handle in every build: a null one is a broken invariant of the caller.
template <typename Handle>
Handle* requireHandle(Handle* handle, const char* what)
{
    if (handle == nullptr) {
        (void)std::fprintf(stderr, "odata: null handle: %s\n", what);
        std::abort();
    }
    return handle;
}

// A parsed request URI; movable, releases its handle.
class URI
{
public:
    explicit URI(OL_URI* handle) : mHandle(requireHandle(handle, "URI")) {}
    ~URI() { OL_URI_Release(mHandle); }
    URI(URI&& other) noexcept : mHandle(other.mHandle) { other.mHandle = nullptr; }
    URI& operator=(URI&&) = delete;
    URI(const URI&) = delete;
    URI& operator=(const URI&) = delete;

    const char* GetText() const { return OL_URI_GetText(get()); }
    unsigned int GetSegmentCount() const { return OL_URI_GetSegmentCount(get()); }
    // NULL when index is not below GetSegmentCount().
    const char* GetSegment(unsigned int index) const { return OL_URI_GetSegment(get(), index); }
    unsigned int GetOptionMask() const { return OL_URI_OptionMask(get()); }
    size_t GetOptionLength(unsigned int option) const
    {
        return OL_URI_GetOptionLength(get(), option);
    }
    size_t CopyOption(unsigned int option, char* buffer, size_t size) const
    {
        return OL_URI_CopyOption(get(), option, buffer, size);
    }
    uint32_t GetOptionUInt32(unsigned int option) const
    {
        return OL_URI_GetOptionUInt32(get(), option);
    }
    const char* GetUnknownOption() const { return OL_URI_GetUnknownOption(get()); }
    OL_URIFault GetFault() const { return OL_URI_GetFault(get()); }

private:
    const OL_URI* get() const { return requireHandle(mHandle, "URI"); }

    OL_URI* mHandle;
};

// What came in with a request and what goes out; movable, releases its handle.
class Scope
{
public:
    explicit Scope(OL_Scope* handle) : mHandle(requireHandle(handle, "Scope")) {}
    ~Scope() { OL_Scope_Release(mHandle); }
    Scope(Scope&& other) noexcept : mHandle(other.mHandle) { other.mHandle = nullptr; }
    Scope& operator=(Scope&&) = delete;
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    // A new scope without a request.
    static Scope New() { return Scope(__OL_Scope_New()); }
    // A new scope for a request URL (path and query as they came).
    static Scope ForRequest(const std::string& url)
    {
        Scope scope = New();
        OL_Scope_SetRequestURL(scope.get(), url.c_str());
        return scope;
    }

    // Parses the request URL.
    URI NewURI() { return URI(OL_Scope_NewURI(get())); }
    const char* GetRequestURL() const { return OL_Scope_GetRequestURL(get()); }

    void SetHeader(const char* name, const char* value) { OL_Scope_SetHeader(get(), name, value); }
    void SetStatus(int status) { OL_Scope_SetStatus(get(), status); }
    void WriteBody(const char* contentType, std::string_view body)
    {
        OL_Scope_WriteBody(get(), contentType, body.data(), body.size());
    }
    // Returns 0 when the response was already completed.
    int SendResult(int result, const char* text)
    {
        return OL_Scope_SendResult(get(), result, "%s", text);
    }

    int GetStatus() const { return OL_Scope_GetStatus(get()); }
    size_t GetHeaderCount() const { return OL_Scope_GetHeaderCount(get()); }
    const char* GetHeaderName(size_t index) const { return OL_Scope_GetHeaderName(get(), index); }
    const char* GetHeaderValue(size_t index) const { return OL_Scope_GetHeaderValue(get(), index); }
    const char* GetContentType() const { return OL_Scope_GetContentType(get()); }
    std::string_view GetBody() const
    {
        size_t length = 0;
        const char* body = OL_Scope_GetBody(get(), &length);
        return {body, length};
    }
    bool IsCompleted() const { return OL_Scope_IsCompleted(get()) != 0; }
    int GetResult() const { return OL_Scope_GetResult(get()); }
    const char* GetResultText() const { return OL_Scope_GetResultText(get()); }

private:
    OL_Scope* get() const { return requireHandle(mHandle, "Scope"); }

    OL_Scope* mHandle;
};

} // namespace odata

#endif
