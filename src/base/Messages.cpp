#include "base/Messages.h"

#include <cstdarg>
#include <cstdio>

namespace KaTessel {

void printMessage(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}

}  // namespace KaTessel
