// Four lists: individuals to exclude and include, variants to exclude and include.
#include "readers/filter_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file files[] = {fuzz::memory_file("exclude.ind"), fuzz::memory_file("include.ind"),
                                        fuzz::memory_file("exclude.snp"), fuzz::memory_file("include.snp")};
    fuzz::input bytes(data, size);
    for (fuzz::memory_file& file : files) file.fill(bytes.part());

    filter_reader filter;
    filter.initialise(10, 1000000);
    fuzz::completes([&] {
        filter.readIndExcludeList(files[0].name());
        filter.readIndIncludeList(files[1].name());
        filter.readSnpExcludeList(files[2].name());
        filter.readSnpIncludeList(files[3].name());
    });
    for (const auto& [id, unused] : filter.ind_exclude) FUZZ_LAW(!filter.checkInd(id));
    for (const auto& [id, unused] : filter.ind_include)
        FUZZ_LAW(filter.checkInd(id) == !filter.ind_exclude.contains(id));
    for (const auto& [bp, unused] : filter.snp_exclude) FUZZ_LAW(!filter.checkSnp(bp));
    for (const auto& [bp, unused] : filter.snp_include)
        FUZZ_LAW(filter.checkSnp(bp) == (!filter.snp_exclude.contains(bp) && bp >= 10 && bp < 1000000));
    return 0;
}
