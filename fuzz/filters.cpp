// One byte that selects the response to probably wrong input, then four lists: individuals to exclude and
// include, variants to exclude and include.
#include "readers/filter_reader.h"
#include "support.h"

namespace {

struct filter : filter_reader {
    bool operator==(const filter& other) const {
        return ind_exclude == other.ind_exclude && ind_include == other.ind_include &&
               snp_exclude == other.snp_exclude && snp_include == other.snp_include;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file files[] = {fuzz::memory_file("exclude.ind"), fuzz::memory_file("include.ind"),
                                        fuzz::memory_file("exclude.snp"), fuzz::memory_file("include.snp")};
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    for (fuzz::memory_file& file : files) file.fill(bytes.part());

    auto read = fuzz::read_as(response, [&] {
        filter f;
        f.initialise(10, 1000000);
        f.readIndExcludeList(files[0].name());
        f.readIndIncludeList(files[1].name());
        f.readSnpExcludeList(files[2].name());
        f.readSnpIncludeList(files[3].name());
        return f;
    });
    if (!read) return 0;
    for (const auto& [id, unused] : read->ind_exclude) FUZZ_LAW(!read->checkInd(id));
    for (const auto& [id, unused] : read->ind_include)
        FUZZ_LAW(read->checkInd(id) == !read->ind_exclude.contains(id));
    for (const auto& [bp, unused] : read->snp_exclude) FUZZ_LAW(!read->checkSnp(bp));
    for (const auto& [bp, unused] : read->snp_include)
        FUZZ_LAW(read->checkSnp(bp) == (!read->snp_exclude.contains(bp) && bp >= 10 && bp < 1000000));
    return 0;
}
