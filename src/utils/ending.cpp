#include "utils/ending.h"

#include <cstdlib>

void end_process(int status) {
#ifdef TOLVANE_FUZZ
    throw ended_process{status};
#else
    std::quick_exit(status);
#endif
}
