// What clients are counted by.
#ifndef HTTPD_ADDRESS_SHARE_H_
#define HTTPD_ADDRESS_SHARE_H_

#include <boost/asio/ip/address.hpp>

#include <string>

namespace httpd {

// An IPv4 address ("127.0.0.1", also where it came mapped into IPv6), or the /64 of an IPv6 address
// ("2001:db8:0:1::/64"), which is what one customer or one machine has all of.
std::string shareOf(const boost::asio::ip::address& address);

} // namespace httpd

#endif
