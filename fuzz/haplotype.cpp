// Stored haplotypes, read until the file ends.
#include <cstring>

#include "spare/packed_files.h"
#include "support.h"
#include "utils/streams.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file file("haplotypes");
    file.fill({reinterpret_cast<const char*>(data), size});
    fuzz::completes([&] {
        ifile stream(file.name(), true);
        chaplotype hap;
        for (const std::uint8_t* at = data; spare::read_haplotype(hap, stream); at += 8 + hap.data.size()) {
            FUZZ_LAW(hap.data.size() == (std::size_t{hap.n} + 7) / 8);
            FUZZ_LAW(at + 8 + hap.data.size() <= data + size);
            FUZZ_LAW(std::memcmp(&hap.n, at, 4) == 0);
            FUZZ_LAW(hap.n == 0 || hap.hamming(hap) == 0);
        }
        stream.close();
    });
    return 0;
}
