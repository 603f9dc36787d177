#include "wire/fields.h"

#include <cstring>

namespace host {

void putNumber(std::string& out, uint32_t value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    out.append(bytes, sizeof value);
}

void putText(std::string& out, std::string_view text)
{
    putNumber(out, static_cast<uint32_t>(text.size()));
    out.append(text);
}

bool FieldReader::number(uint32_t& value)
{
    if (mRest.size() < sizeof value) {
        return fail();
    }
    std::memcpy(&value, mRest.data(), sizeof value);
    mRest.remove_prefix(sizeof value);
    return true;
}

bool FieldReader::flag(bool& value)
{
    uint32_t asNumber = 0;
    if (!number(asNumber) || asNumber > 1) {
        return fail();
    }
    value = asNumber == 1;
    return true;
}

bool FieldReader::text(std::string& value)
{
    uint32_t bytes = 0;
    if (!number(bytes) || mRest.size() < bytes) {
        return fail();
    }
    value = mRest.substr(0, bytes);
    mRest.remove_prefix(bytes);
    return true;
}

bool FieldReader::fail()
{
    mRest = {};
    return false;
}

} // namespace host
