#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "utils/ending.h"

/// What the fuzz targets share: cutting an input into pieces, files that live in memory, and laws whose
/// breach is a finding.
namespace fuzz {

/// Ends the process with the text of a law that does not hold.
[[noreturn]] void broken(const char* law, const char* file, int line);

/// Hands out an input piece by piece. An exhausted input gives zeros and empty parts.
class input {
  public:
    input(const std::uint8_t* data, std::size_t size) : left(reinterpret_cast<const char*>(data), size) {}

    bool empty() const { return left.empty(); }
    unsigned byte();
    /// The bytes up to the next separator, which seed files can write as \036; all if there is none.
    std::string_view part();
    std::string_view rest();

  private:
    std::string_view left;
};

/// Where the targets keep their files: a folder in memory, removed with the process.
const std::string& folder();

/// A file in memory, the content of which is replaced for each input.
class memory_file {
  public:
    /// `name` within folder(); its ending decides about compression.
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

/// Closes what is opened while it lives: a run keeps its outputs locked until its process ends.
class open_files {
  public:
    open_files();
    ~open_files();
    open_files(const open_files&) = delete;
    open_files& operator=(const open_files&) = delete;

  private:
    int first;
};

/// Calls `run`; false when it ended as a process would, by a message.
template <class Run>
bool completes(Run run) {
    try {
        run();
        return true;
    } catch (const ended_process&) {
        return false;
    }
}

}  // namespace fuzz

/// A law of the code under test. Unlike an assertion it costs the program nothing.
#define FUZZ_LAW(condition) \
    ((condition) ? static_cast<void>(0) : fuzz::broken(#condition, __FILE__, __LINE__))

/// Tries one input; what every target defines. The result is 0, or -1 to keep the input out of the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
