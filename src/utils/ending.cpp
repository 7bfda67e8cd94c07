#include "utils/ending.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace {

// The end of a process concerns all of it, so there is one list. Only the main thread writes files.
unfinished_file* unfinished_files = nullptr;

}  // namespace

unfinished_file::unfinished_file(std::string name)
    : file(std::move(name)), next(std::exchange(unfinished_files, this)) {}

unfinished_file::~unfinished_file() {
    unfinished_file** link = &unfinished_files;
    while (*link != this) link = &(*link)->next;
    *link = next;
}

void end_process(int status) {
#ifdef TOLVANE_FUZZ
    throw ended_process{status};
#else
    for (const unfinished_file* f = unfinished_files; f != nullptr; f = f->next) ::unlink(f->file.c_str());
    std::quick_exit(status);
#endif
}
