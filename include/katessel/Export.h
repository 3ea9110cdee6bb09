// Marks what the shared library exports, and what it does not although its class is. Everything else is hidden.
#ifndef KATESSEL_EXPORT_H
#define KATESSEL_EXPORT_H

#ifdef _WIN32 /* where a list names what is exported: the C interface */
#define KATESSEL_API
#define KATESSEL_LOCAL
#else
#define KATESSEL_API __attribute__((visibility("default")))
#define KATESSEL_LOCAL __attribute__((visibility("hidden")))
#endif

#endif
