// The fields that messages between processes are made of: numbers of 32 bits in host byte order,
// and texts with their length in front.
#ifndef HOST_WIRE_FIELDS_H_
#define HOST_WIRE_FIELDS_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

void putNumber(std::string& out, uint32_t value);
void putText(std::string& out, std::string_view text);

// Takes fields off the front of a payload; after the first that is not there, all fail.
class FieldReader
{
public:
    explicit FieldReader(std::string_view payload) : mRest(payload) {}

    bool number(uint32_t& value);
    bool flag(bool& value); // a number that is 0 or 1
    bool text(std::string& value);
    bool atEnd() const { return mRest.empty(); }

private:
    bool fail();

    std::string_view mRest;
};

} // namespace host

#endif
