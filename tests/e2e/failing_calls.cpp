// A library that is loaded before the program under test and lets calls of the C library fail. Environment
// variables say which:
//
//   FAIL_ALLOCATION=n   the n-th allocation, counted from 1, finds no memory
//   FAIL_FROM=n         so do all from the n-th on
//   COUNT_FILE=name     the number of allocations is written there when the program returns from main
//   FAIL_CLOSE=text     closing a file whose path contains the text fails with EIO
//   FAIL_RENAME=n       the n-th renaming, counted from 1, fails with the errno RENAME_ERROR
//   INTERRUPT_WRITES=1  every second write is interrupted by a signal before it has written anything
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t n, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<long> n_allocations = 0;
std::atomic<long> n_writes = 0;
std::atomic<long> n_renamings = 0;

/// The number in an environment variable, 0 if it isn't set.
long number(const char* variable) {
    const char* text = std::getenv(variable);
    return text == nullptr ? 0 : std::atol(text);
}

/// Counts an allocation, and returns whether it shall fail.
bool fails() {
    static const long only = number("FAIL_ALLOCATION"), first = number("FAIL_FROM");
    const long n = ++n_allocations;
    const bool failing = n == only || (first > 0 && n >= first);
    if (failing) errno = ENOMEM;
    return failing;
}

[[gnu::destructor]] void write_count() {
    const char* name = std::getenv("COUNT_FILE");
    if (name == nullptr) return;
    const int file = ::open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dprintf(file, "%ld\n", n_allocations.load());
    ::close(file);
}

bool path_contains(int descriptor, const char* text) {
    char link[64], path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = ::readlink(link, path, sizeof path - 1);
    if (length < 0) return false;
    path[length] = '\0';
    return std::strstr(path, text) != nullptr;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t n, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(n, size);
}

void* realloc(void* memory, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return fails() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    if (fails()) return ENOMEM;
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}

int close(int descriptor) {
    const char* text = std::getenv("FAIL_CLOSE");
    const bool failing = text != nullptr && path_contains(descriptor, text);
    const int result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (!failing) return result;
    errno = EIO;
    return -1;
}

int fclose(std::FILE* file) {
    static const auto original = reinterpret_cast<int (*)(std::FILE*)>(::dlsym(RTLD_NEXT, "fclose"));
    const char* text = std::getenv("FAIL_CLOSE");
    const bool failing = text != nullptr && path_contains(::fileno(file), text);
    const int result = original(file);
    if (!failing) return result;
    errno = EIO;
    return EOF;
}

int rename(const char* from, const char* to) {
    if (++n_renamings != number("FAIL_RENAME"))
        return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
    errno = static_cast<int>(number("RENAME_ERROR"));
    return -1;
}

ssize_t write(int descriptor, const void* bytes, std::size_t n) {
    if (number("INTERRUPT_WRITES") != 0 && n_writes++ % 2 == 0) {
        errno = EINTR;
        return -1;
    }
    return ::syscall(SYS_write, descriptor, bytes, n);
}
}
