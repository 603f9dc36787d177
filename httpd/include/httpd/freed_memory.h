// Memory that was freed, for who has had much of it for a while.
#ifndef HTTPD_FREED_MEMORY_H_
#define HTTPD_FREED_MEMORY_H_

namespace httpd {

// Gives it back to the system. The C library keeps freed pages that lie between those in use, where
// no other process gets them, and every one that is forked has its part in them.
void returnFreedMemory();

} // namespace httpd

#endif
