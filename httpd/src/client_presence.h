// Whether a client that has sent all it wants to send still waits for its answer.
#ifndef HTTPD_CLIENT_PRESENCE_H_
#define HTTPD_CLIENT_PRESENCE_H_

namespace httpd {

// Whether the other end of this connected socket has been closed or reset, as far as that can be
// known. On the wire, a client that has closed its socket looks like one that has only ended what
// it sends and still reads. For a client on this machine the kernel knows: a closed socket has no
// owner. Where it does not tell (another machine, no socket diagnosis), the client counts as there.
bool hasClientGone(int socket);

} // namespace httpd

#endif
