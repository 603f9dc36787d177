/*
 * Where the local object manager is, for development hosts and tests.
 *
 * This is not part of the interface that other libraries of the name libcmpisfcc offer. A program
 * that may run with one of those looks the function up and goes without it where it is missing:
 *
 *     cimgate_cmpisfcc_set_local_url_fn *direct =
 *         (cimgate_cmpisfcc_set_local_url_fn *)dlsym(RTLD_DEFAULT,
 * "cimgate_cmpisfcc_set_local_url"); if (direct == NULL) { ... only the controller's own object
 * manager can be reached ... }
 *
 * (A weak reference would not do: a symbol with a version that the other library does not define
 * keeps the program from starting.)
 */
#ifndef CIMGATE_LOCAL_H
#define CIMGATE_LOCAL_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Directs every later connect to the local object manager ("SfcbLocal") to `url`, whatever port
 * that connect names: "http://host[:port]", "https://host[:port]" (whose certificate is checked
 * against the system's), or the path of a Unix socket, which begins with '/'. NULL restores the
 * built-in choice. User and password remain those of the connect; a URL that names them is refused,
 * as is one with a path, a query or a fragment.
 *
 * Returns 0, or CMPI_RC_ERR_INVALID_PARAMETER (4) for any other text; what was set before then
 * stays.
 *
 * Called before the process has threads and before the first connect.
 */
int cimgate_cmpisfcc_set_local_url(const char* url);

/* NOLINTNEXTLINE(modernize-use-using): a C interface */
typedef int cimgate_cmpisfcc_set_local_url_fn(const char* url);

#ifdef __cplusplus
}
#endif

#endif
