/*
 * The OData request as the hosting web service sees it: the scope (what came in, what goes out) and
 * the parsed URI. C interface with opaque handles; C++ code uses the wrappers in odata/odata.h.
 *
 * Threads: a scope and its URIs belong to one request and are used by one thread at a time;
 * different scopes are independent.
 *
 * A handle argument must not be NULL unless an operation says so; the C functions do not check it
 * (the C++ wrappers do). Text returned by an operation is NUL-terminated and belongs to the handle:
 * it stays valid until the handle is released or the same value is set again.
 *
 * When memory is exhausted while a value is set, the value stays as it was, and from then on
 * OL_Scope_NewURI gives NULL and OL_Scope_SendResult 0: half a request or response never passes for
 * a whole one.
 */
#ifndef ODATA_ODATA_C_H_
#define ODATA_ODATA_C_H_

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* NOLINTBEGIN(modernize-use-using): a C interface */
typedef struct OL_Scope OL_Scope;
typedef struct OL_URI OL_URI;
/* NOLINTEND(modernize-use-using) */

/* Query options, as bits of OL_URI_OptionMask (OData 4.0, part 2, section 5.1). */
enum OL_QueryOption {
    OL_OPTION_FILTER = 1,
    OL_OPTION_EXPAND = 2,
    OL_OPTION_SELECT = 4,
    OL_OPTION_TOP = 16,
    OL_OPTION_SKIP = 32
};

/* What is wrong with a request URI; the first fault found counts. */
enum OL_URIFault {
    OL_URI_OK = 0,
    OL_URI_TOO_LONG = 1,       /* more than OL_URI_MAX_BYTES or _SEGMENTS: nothing was parsed */
    OL_URI_BAD_ENCODING = 2,   /* "%" without two hex digits, or "%00": kept as literal text */
    OL_URI_REPEATED_OPTION = 3 /* a known "$" option given twice: the first one counts */
};

/* Longest request URI that is parsed, in bytes: what common servers and proxies accept. */
#define OL_URI_MAX_BYTES 8190

/* Most path segments, empty ones not counted; a URI with more is OL_URI_TOO_LONG. */
#define OL_URI_MAX_SEGMENTS 64

/* ---- Scope: life ---- */

/* A new, empty scope: no request URL, status 200, no headers, no body, not completed. NULL when
 * memory is exhausted. The caller releases it. */
OL_Scope* __OL_Scope_New(void);

/* Releases a scope; NULL is allowed. URIs made from it live on their own. */
void OL_Scope_Release(OL_Scope* scope);

/* ---- Scope: the request, set by the host ---- */

/* Sets the request URL: path and query as they came ("/redfish/v1/X?$select=Name"); copied. */
void OL_Scope_SetRequestURL(OL_Scope* scope, const char* url);

/* The request URL as it came, query included; "" when none was set. */
const char* OL_Scope_GetRequestURL(const OL_Scope* scope);

/* Parses the scope's request URL into a new URI object; an empty scope gives a URI without
 * segments and options. Never fails on bad text (see OL_URI_GetFault); NULL only when memory is
 * exhausted. The caller releases it. */
OL_URI* OL_Scope_NewURI(OL_Scope* scope);

/* ---- Scope: the response, written by the library ---- */

/* Sets a response header; a header of the same name (compared without case) is replaced. CR, LF
 * and NUL cannot stand in a header: text is cut before the first of them. A name of which nothing
 * is left sets no header. */
void OL_Scope_SetHeader(OL_Scope* scope, const char* name, const char* value);

/* Sets the HTTP status. */
void OL_Scope_SetStatus(OL_Scope* scope, int status);

/* Replaces the body: contentType is copied, length is in bytes. */
void OL_Scope_WriteBody(OL_Scope* scope, const char* contentType, const char* body, size_t length);

/* Completes the response: result 0 for success, 1 for an error; the text (printf style) is kept
 * for the host's log. Returns 1, or 0 when the response was already completed (it then stays as it
 * was) or a part of it was lost (it then stays not completed). */
int OL_Scope_SendResult(OL_Scope* scope, int result, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/* ---- Scope: the response, read by the host ---- */

int OL_Scope_GetStatus(const OL_Scope* scope);
size_t OL_Scope_GetHeaderCount(const OL_Scope* scope);
/* Name and value of header index (0-based, order of first setting); NULL outside the range. */
const char* OL_Scope_GetHeaderName(const OL_Scope* scope, size_t index);
const char* OL_Scope_GetHeaderValue(const OL_Scope* scope, size_t index);
const char* OL_Scope_GetContentType(const OL_Scope* scope); /* "" before OL_Scope_WriteBody */
const char* OL_Scope_GetBody(const OL_Scope* scope, size_t* length);
int OL_Scope_IsCompleted(const OL_Scope* scope); /* 1 after OL_Scope_SendResult, else 0 */
int OL_Scope_GetResult(const OL_Scope* scope);   /* 0 or 1; -1 while not completed */
const char* OL_Scope_GetResultText(const OL_Scope* scope);

/* ---- URI ---- */

/* Releases a URI; NULL is allowed. */
void OL_URI_Release(OL_URI* uri);

/* The text the URI was parsed from, as it came. */
const char* OL_URI_GetText(const OL_URI* uri);

/* Path segments, percent-decoded; empty ones (leading, doubled and trailing "/") do not count. */
unsigned int OL_URI_GetSegmentCount(const OL_URI* uri);
/* Segment index (0-based); NULL outside the range. */
const char* OL_URI_GetSegment(const OL_URI* uri, unsigned int index);

/* Which query options are present, as a mask of OL_QueryOption. Names are matched after
 * percent-decoding and with regard to case; an option without "=" is present with an empty
 * value. */
unsigned int OL_URI_OptionMask(const OL_URI* uri);

/* Length in bytes of an option's percent-decoded value ("+" is kept as it is); 0 when absent. */
size_t OL_URI_GetOptionLength(const OL_URI* uri, unsigned int option);

/* Copies an option's value, NUL-terminated and cut to size - 1 bytes, into buffer. Returns the
 * number of bytes copied without the NUL; 0 when the option is absent (buffer then holds "") or
 * size is 0 (buffer is then not touched). */
size_t OL_URI_CopyOption(const OL_URI* uri, unsigned int option, char* buffer, size_t size);

/* An option's value as an unsigned decimal number. A value that is not made of digits only, or
 * does not fit 32 bits, reads as 4294967295; an absent option as 0. */
uint32_t OL_URI_GetOptionUInt32(const OL_URI* uri, unsigned int option);

/* The first query option whose name begins with "$" and is none of OL_QueryOption, decoded, with
 * its "$"; NULL when there is none. Names without "$" are custom options and are ignored. */
const char* OL_URI_GetUnknownOption(const OL_URI* uri);

/* What was wrong with the text. A faulty URI can be read like any other. */
enum OL_URIFault OL_URI_GetFault(const OL_URI* uri);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
