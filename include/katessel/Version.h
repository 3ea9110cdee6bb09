/* The version of these headers, for the preprocessor. The build refuses to differ from it. */
#ifndef KATESSEL_VERSION_H
#define KATESSEL_VERSION_H

#define KATESSEL_VERSION_MAJOR 1
#define KATESSEL_VERSION_MINOR 0
#define KATESSEL_VERSION_PATCH 0

/* For comparisons: 10203 is 1.2.3. */
#define KATESSEL_VERSION (KATESSEL_VERSION_MAJOR * 10000 + KATESSEL_VERSION_MINOR * 100 + KATESSEL_VERSION_PATCH)

#endif
