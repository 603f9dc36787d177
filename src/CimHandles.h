// Ownership of what the CIM client hands over. Objects are released through their own function
// table, and before the client that they came from.
#ifndef CIM_HANDLES_H_
#define CIM_HANDLES_H_

#include <CimClientLib/cmci.h>

#include <memory>
#include <utility>

namespace cimgate {

struct CimRelease
{
    template <typename Object>
    void operator()(Object* object) const
    {
        (void)object->ft->release(object);
    }
};

template <typename Object>
using CimHandle = std::unique_ptr<Object, CimRelease>;

// The text of a CIM string, its owner's; null where there is none.
inline const char* charsOf(const CMPIString* string)
{
    return string == nullptr ? nullptr : static_cast<const char*>(string->hdl);
}

// The status of a call into the CIM client; releases the message that may come with it.
class CimStatus
{
public:
    CimStatus() = default;
    // Takes over a status that was handed back.
    explicit CimStatus(const CMPIStatus& status) : mStatus(status) {}
    ~CimStatus()
    {
        if (mStatus.msg != nullptr) {
            CimRelease()(mStatus.msg);
        }
    }
    CimStatus(const CimStatus&) = delete;
    CimStatus& operator=(const CimStatus&) = delete;

    // For the client to write to, once.
    CMPIStatus* out() { return &mStatus; }
    [[nodiscard]] CMPIrc code() const { return mStatus.rc; }
    [[nodiscard]] bool failed() const { return mStatus.rc != CMPI_RC_OK; }
    // What happened; "(null)" where the client has nothing to say.
    [[nodiscard]] const char* message() const
    {
        const char* text = charsOf(mStatus.msg);
        return text == nullptr ? "(null)" : text;
    }
    void swap(CimStatus& other) { std::swap(mStatus, other.mStatus); }
    // Leaves the message to whoever made it.
    void abandonMessage() { mStatus.msg = nullptr; }

private:
    CMPIStatus mStatus = {CMPI_RC_OK, nullptr};
};

// The number of an array's elements; 0 where there is no array.
inline CMPICount sizeOf(CMPIArray* array)
{
    if (array == nullptr) {
        return 0;
    }
    CimStatus status;
    const CMPICount size = array->ft->getSize(array, status.out());
    return status.failed() ? 0 : size;
}

} // namespace cimgate

#endif
