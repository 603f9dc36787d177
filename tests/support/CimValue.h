// CMPI data for tests: values of every type, and objects that hold them, as a CIM client would hand
// them over. An object notes its release; what belongs to another object must not be released.
#ifndef TESTS_SUPPORT_CIM_VALUE_H_
#define TESTS_SUPPORT_CIM_VALUE_H_

#include <CimClientLib/cmci.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

class CimValue
{
public:
    // An integer, a boolean or a char16. Bits above the type's width are set, as a transport may
    // leave them.
    static CimValue Number(CMPIType type, long long value);
    static CimValue Real32(float value);
    static CimValue Real64(double value);
    // A string; nothing for one without text. The type may be one of the other string types.
    static CimValue Text(const std::optional<std::string>& text, CMPIType type = CMPI_string);
    static CimValue Chars(const std::string& text);
    // Nothing for a date-time whose binary form cannot be read.
    static CimValue DateTime(const std::optional<CMPIUint64>& us);
    static CimValue Null(CMPIType type, CMPIValueState state = CMPI_nullValue);
    static CimValue Array(CMPIType elementType, std::vector<CimValue> elements);
    // A reference with these keys.
    static CimValue Reference(std::vector<std::pair<std::string, CimValue>> keys);
    // What an element, key or argument is that cannot be read.
    static CimValue Unreadable();

    // The data; its objects live as long as any copy of this value.
    [[nodiscard]] CMPIData Data() const { return mData; }
    [[nodiscard]] CMPIrc ReadStatus() const { return mReadStatus; }

private:
    CMPIData mData = {};
    CMPIrc mReadStatus = CMPI_RC_OK;
    std::shared_ptr<void> mObject;
};

using CimMembers = std::vector<std::pair<std::string, CimValue>>;

// Objects for the one who gets them to release.
CMPIString* newCimString(const std::string& text);
CMPIInstance* newCimInstance(CimMembers properties, CimMembers keys = {});
CMPIObjectPath* newCimPath(CimMembers keys);
// An argument without a name has the name "".
CMPIArgs* newCimArgs(CimMembers arguments = {});
// Null elements of one type, to be set.
CMPIArray* newCimArray(CMPICount size, CMPIType elementType);

// What was added to a list of arguments, in order: `Mode chars "3"`, `Codes uint16A [3, null]`,
// `Job ref <path>`. Other types fail the test.
const std::vector<std::string>& addedArguments(CMPIArgs* args);
// Makes these the content of a list of arguments.
void fillCimArgs(CMPIArgs* args, CimMembers arguments);

// How many of them, names of keys and arguments included, have not been released.
int liveCimObjects();

// Stores a status where the caller wants one; a text makes a message to release.
void setStatus(CMPIStatus* status, CMPIrc code, const char* text = nullptr);

} // namespace support

#endif
