// SAMPLE, LEGEND and HAPS of a reference panel, read with a small fixed study.
#include "readers/panel_source.h"
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
    snp_set study;
    study.put(snp(5, "A", "G"));
    study.put(snp(9, "C", "C"));
    study.put(snp(9, "C", "T"));
    study.indexing();
    std::vector<chaplotype> panel;
    if (!fuzz::completes([&] {
            panel_source source(legend.name(), sample.name(), filter, {}, study);
            source.open(haps.name());
            panel = read_haplotypes(source);
        }))
        return 0;
    if (!absent_variants(study).empty()) return 0;  // a run ends there
    for (const chaplotype& hap : panel) {
        FUZZ_LAW(hap.size() >= study.size());  // a line of the legend covers one variant
        FUZZ_LAW(hap.data.size() == (hap.n + 7) / 8);
        for (int l = study.size(); l < hap.size(); ++l) FUZZ_LAW(hap.get(l) == 0);
    }
    return 0;
}
