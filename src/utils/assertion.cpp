#include "utils/assertion.h"

#include <cstdio>
#include <cstdlib>

void assertion_failed(const char* text, const char* file, int line, const char* function) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, text);
    std::abort();
}
