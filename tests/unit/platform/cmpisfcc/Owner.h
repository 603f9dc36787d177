// Releases an object at the end of a test, as its caller has to.
#ifndef TESTS_CMPISFCC_OWNER_H_
#define TESTS_CMPISFCC_OWNER_H_

#include <CimClientLib/native.h>

#include <memory>
#include <string>

struct ReleaseObject
{
    template <typename Object>
    void operator()(Object* object) const
    {
        (void)object->ft->release(object);
    }
};

template <typename Object>
using Owner = std::unique_ptr<Object, ReleaseObject>;

template <typename Object>
Owner<Object> own(Object* object)
{
    return Owner<Object>(object);
}

// A status that releases its message.
class Status
{
public:
    // As a caller may leave it: not set to anything.
    Status() : mStatus{CMPI_RC_ERROR, nullptr} {}
    explicit Status(const CMPIStatus& status) : mStatus(status) {}
    ~Status() { clear(); }
    Status(const Status&) = delete;
    Status& operator=(const Status&) = delete;

    CMPIStatus* out()
    {
        clear();
        mStatus = {CMPI_RC_ERROR, nullptr};
        return &mStatus;
    }
    int code() const { return mStatus.rc; }
    std::string message() const
    {
        return mStatus.msg == nullptr ? "(none)" : CMGetCharPtr(mStatus.msg);
    }

private:
    void clear()
    {
        if (mStatus.msg != nullptr) {
            (void)CMRelease(mStatus.msg);
        }
    }
    CMPIStatus mStatus;
};

// The text of a string, which is released.
inline std::string taken(CMPIString* string)
{
    if (string == nullptr) {
        return "(null)";
    }
    const auto owner = own(string);
    return CMGetCharPtr(string) == nullptr ? "(no text)" : CMGetCharPtr(string);
}

// The text of a value that is a string of somebody else's.
inline std::string textOf(const CMPIData& data)
{
    if (data.type != CMPI_string || CMIsNullValue(data)) {
        return "(no string)";
    }
    return CMGetCharPtr(data.value.string);
}

#endif
