#include "utils/assertion.h"

#include <cstdio>
#include <cstdlib>

void advise(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", line.c_str());
}

void assertion_failed(const char* text, const char* file, int line, const char* function) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, text);
    std::abort();
}
