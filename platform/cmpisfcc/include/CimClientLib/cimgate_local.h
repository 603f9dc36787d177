/*
 * How the local object manager is reached where that is not the built-in way: its place, who asks,
 * and which certificates are trusted.
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
 * against the system's, or those of cimgate_cmpisfcc_set_local_ca()), or the path of a Unix socket,
 * which begins with '/'. NULL restores the built-in choice. A URL that names a user is refused, as
 * is one with a path, a query or a fragment.
 *
 * Returns 0, or CMPI_RC_ERR_INVALID_PARAMETER (4) for any other text; what was set before then
 * stays.
 *
 * Called before the process has threads and before the first connect.
 */
int cimgate_cmpisfcc_set_local_url(const char* url);

/*
 * What every later connect to the local object manager sends in place of its own user and password,
 * by HTTP Basic authentication (RFC 7617): `user` and `password`; nothing where `user` is ""; its
 * own again where `user` is NULL. The texts are copied.
 *
 * Returns 0, or CMPI_RC_ERR_INVALID_PARAMETER (4) for a user with a colon; what was set before then
 * stays. When to call it: as cimgate_cmpisfcc_set_local_url().
 */
int cimgate_cmpisfcc_set_local_credentials(const char* user, const char* password);

/*
 * The file (PEM) with the certificates of the authorities that the certificate of "https://" is
 * checked against in place of the system's; NULL restores those.
 *
 * Returns 0, or CMPI_RC_ERR_INVALID_PARAMETER (4) for a file that cannot be read; what was set
 * before then stays. When to call it: as cimgate_cmpisfcc_set_local_url().
 */
int cimgate_cmpisfcc_set_local_ca(const char* file);

/* NOLINTBEGIN(modernize-use-using): a C interface */
typedef int cimgate_cmpisfcc_set_local_url_fn(const char* url);
typedef int cimgate_cmpisfcc_set_local_credentials_fn(const char* user, const char* password);
typedef int cimgate_cmpisfcc_set_local_ca_fn(const char* file);
/* NOLINTEND(modernize-use-using) */

#ifdef __cplusplus
}
#endif

#endif
