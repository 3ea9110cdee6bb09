// Marks what the shared library exports. Everything else has hidden visibility.
#ifndef KATESSEL_EXPORT_H
#define KATESSEL_EXPORT_H

#define KATESSEL_API __attribute__((visibility("default")))

#endif
