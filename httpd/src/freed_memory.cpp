#include "httpd/freed_memory.h"

#include <cstdlib> // says whether this is glibc

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace httpd {

void returnFreedMemory()
{
#ifdef __GLIBC__
    (void)malloc_trim(0);
#endif
}

} // namespace httpd
