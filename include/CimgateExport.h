// What the shared library exports, and what stays inside although a public class names it.
#ifndef CIMGATE_EXPORT_H_
#define CIMGATE_EXPORT_H_

#define CIMGATE_EXPORT __attribute__((visibility("default")))
#define CIMGATE_LOCAL __attribute__((visibility("hidden")))

#endif
