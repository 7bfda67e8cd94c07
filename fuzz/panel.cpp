// SAMPLE, LEGEND and HAPS of a reference panel, read next to a small study that is always the same.
#include <memory>

#include "readers/genotype_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file sample("panel.sample"), legend("panel.legend"), haps("panel.haps");
    fuzz::input bytes(data, size);
    sample.fill(bytes.part());
    legend.fill(bytes.part());
    haps.fill(bytes.rest());

    filter_reader filter;
    filter.initialise(0, 1000);
    filter.ind_exclude["out"] = true;
    genotype_reader reader(filter);
    const std::unique_ptr<snp_set> snps(reader.snps);
    reader.putSnp(5, "v1", "", "", "A", "G");
    reader.putSnp(9, "v2", "", "", "C", "C");
    reader.putSnp(9, "v3", "", "", "C", "T");
    snps->indexing();
    if (!fuzz::completes([&] { reader.readHaplotypeImpute(haps.name(), legend.name(), sample.name()); }))
        return 0;
    for (const snp* variant : snps->snp_list) FUZZ_LAW(variant->in_ref);
    for (const chaplotype& hap : reader.ref_haps) {
        FUZZ_LAW(hap.size() >= snps->size());  // a line of the legend covers one variant
        FUZZ_LAW(hap.data.size() == (hap.n + 7) / 8);
        for (int l = snps->size(); l < hap.size(); ++l) FUZZ_LAW(hap.get(l) == 0);
    }
    return 0;
}
