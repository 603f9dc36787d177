#include "address_share.h"

#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/address_v6.hpp>

#include <algorithm>

namespace httpd {

namespace ip = boost::asio::ip;

std::string shareOf(const ip::address& address)
{
    if (address.is_v4()) {
        return address.to_string();
    }
    const ip::address_v6 whole = address.to_v6();
    if (whole.is_v4_mapped()) {
        return ip::make_address_v4(ip::v4_mapped, whole).to_string();
    }
    ip::address_v6::bytes_type bytes = whole.to_bytes();
    std::fill(bytes.begin() + bytes.size() / 2, bytes.end(), static_cast<unsigned char>(0));
    return ip::address_v6(bytes).to_string() + "/64";
}

} // namespace httpd
