// The Host field of a request (RFC 9110, section 7.2; RFC 3986, section 3.2.2).
#ifndef HTTPD_HOST_FIELD_H_
#define HTTPD_HOST_FIELD_H_

#include <optional>
#include <string_view>

namespace httpd {

struct HostField
{
    std::string_view host; // "localhost", "127.0.0.1", "[::1]"; empty in an empty field
    std::string_view port; // "8000"; empty when there is none
};

// Takes a field's value apart; nothing when it is not a host with or without a port. A client that
// does not know the authority sends an empty field; a port without a host is none.
std::optional<HostField> parseHostField(std::string_view value);

} // namespace httpd

#endif
