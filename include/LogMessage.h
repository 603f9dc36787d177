// The library's one logging function.
//
// Every line goes to the platform logger, vexoprintf(severity, module, text), with module 139 and a
// severity one above the library's level. A line reads
//
//   0012.345:[File.cpp.42 functionName] message
//
// seconds and milliseconds since the process's first line, then the caller. It is made of a message
// of at most 159 characters and is itself at most 239 characters long; longer text is cut.
//
// Levels: 0 a response could not be sent, 1 errors and broken invariants, 2 unused by the library,
// 3 entry, exit and steps of operations, 4 facts of the request (URIs, keys, parameters). Lines of
// any other level are dropped.
//
// A platform logger that exports vexoThreshold() is asked before a line is formatted; with one that
// does not, every line is formatted and handed over.
#ifndef LOG_MESSAGE_H_
#define LOG_MESSAGE_H_

#include "CimgateExport.h"

// Logs one line.
//   level     0 to 4, see above.
//   file      the caller's source path; the part after its last '/' is printed.
//   line      the caller's line.
//   function  the caller's name.
//   format    printf-style, with its arguments.
// Returns 0; logging never fails visibly. Any thread may call it at any time.
CIMGATE_EXPORT int logMessage(int level, const char* file, int line, const char* function,
                              const char* format, ...) __attribute__((format(printf, 5, 6)));

#endif
