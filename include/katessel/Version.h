/* The version of these headers, for the preprocessor. The build compares it with the project's own. */
#ifndef KATESSEL_VERSION_H
#define KATESSEL_VERSION_H

#define KATESSEL_VERSION "1.0.0"
#define KATESSEL_VERSION_MAJOR 1
#define KATESSEL_VERSION_MINOR 0
#define KATESSEL_VERSION_PATCH 0

#endif
