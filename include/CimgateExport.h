// What the shared library exports.
#ifndef CIMGATE_EXPORT_H_
#define CIMGATE_EXPORT_H_

#define CIMGATE_EXPORT __attribute__((visibility("default")))

#endif
