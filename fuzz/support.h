#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "utils/ending.h"
#include "utils/lfile.h"

/// Shared by the fuzz targets: splitting an input into pieces, files in memory, and invariants whose
/// violation is a finding.
/// Checks an invariant of the code under test. Unlike an assertion it is not part of the program.
#define FUZZ_LAW(condition) \
    ((condition) ? static_cast<void>(0) : fuzz::broken(#condition, __FILE__, __LINE__))

namespace fuzz {

/// Ends the process with the text of a violated invariant.
[[noreturn]] void broken(const char* law, const char* file, int line);

/// Returns an input piece by piece. After its end, returns zeros and empty parts.
class input {
  public:
    input(const std::uint8_t* data, std::size_t size) : left(reinterpret_cast<const char*>(data), size) {}

    bool empty() const { return left.empty(); }
    unsigned byte();
    strictness response() { return static_cast<strictness>(byte() % 3); }
    /// The bytes up to the next separator, which seed files can write as \036; all if there is none.
    std::string_view part();
    std::string_view rest();

  private:
    std::string_view left;
};

/// Folder for the files of the targets: in memory, removed with the process.
const std::string& folder();

/// A file in memory, whose content is replaced for each input.
class memory_file {
  public:
    /// `name` is within folder(); its extension selects the compression.
    explicit memory_file(const std::string& name);
    ~memory_file();
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;

    const std::string& name() const { return path; }
    void fill(std::string_view content);

  private:
    std::string path;
    int descriptor;
    std::size_t length = 0;
};

/// Closes all files opened during its lifetime: a run keeps its outputs locked until its process ends.
class open_files {
  public:
    open_files();
    ~open_files();
    open_files(const open_files&) = delete;
    open_files& operator=(const open_files&) = delete;

  private:
    int first;
};

/// Calls `run`. Returns false if it ended as a process would, with a message.
template <class Run>
bool completes(Run run) {
    try {
        run();
        return true;
    } catch (const ended_process&) {
        return false;
    }
}

/// Calls `read` in one of the ways to respond to input that is probably wrong. Returns nothing if it ended as
/// a process would. What a strict run accepts has to be the same in a lenient one.
template <class Read>
auto read_as(strictness response, Read read) -> std::optional<decltype(read())> {
    std::optional<decltype(read())> result;
    LOG.setStrictness(response);
    completes([&] { result = read(); });
    LOG.setStrictness(strictness::lenient);
    if (result && response == strictness::strict) FUZZ_LAW(read() == *result);
    return result;
}

}  // namespace fuzz

/// Runs one input; defined by every target. Returns 0, or -1 to keep the input out of the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
