// One byte that selects the response to probably wrong input, then SAMPLE, LEGEND and HAPS of a reference
// panel, read with a small fixed study.
#include "readers/panel_source.h"
#include "support.h"

namespace {

snp_set small_study() {
    snp_set study;
    study.put(snp(5, "A", "G"));
    study.put(snp(9, "C", "C"));
    study.put(snp(9, "C", "T"));
    study.indexing();
    return study;
}

struct panel {
    bool operator==(const panel&) const = default;

    std::vector<chaplotype> haplotypes;
    std::size_t n_absent;  // variants of the study
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> individuals = {"s"};
    static fuzz::memory_file sample("panel.sample"), legend("panel.legend"), haps("panel.haps");
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    sample.fill(bytes.part());
    legend.fill(bytes.part());
    haps.fill(bytes.rest());

    const int n_variants = small_study().size();
    const auto read = fuzz::read_as(response, [&] {
        filter_reader filter;
        filter.initialise(0, 1000);
        filter.ind_exclude["out"] = true;
        snp_set study = small_study();
        panel_source source(legend.name(), sample.name(), filter, individuals, study);
        source.open(haps.name());
        return panel{read_haplotypes(source), absent_variants(study).size()};
    });
    if (!read || read->n_absent > 0) return 0;  // a run ends there
    for (const chaplotype& hap : read->haplotypes) {
        FUZZ_LAW(hap.size() >= n_variants);  // a line of the legend covers one variant
        FUZZ_LAW(hap.data.size() == (hap.n + 7) / 8);
        for (int l = n_variants; l < hap.size(); ++l) FUZZ_LAW(hap.get(l) == 0);
    }
    return 0;
}
