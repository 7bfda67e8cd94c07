// BIM, FAM and BED, in this order.
#include "readers/bed_source.h"
#include "study_laws.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file bim("study.bim"), fam("study.fam"), bed("study.bed");
    fuzz::input bytes(data, size);
    bim.fill(bytes.part());
    fam.fill(bytes.part());
    bed.fill(bytes.rest());

    filter_reader filter;
    filter.initialise(0, 1000000000);
    filter.ind_exclude["out"] = filter.snp_exclude[7] = true;
    genotype_store study;
    if (fuzz::completes([&] {
            bed_source source(bed.name(), bim.name(), fam.name(), filter);
            study = read_study(source);
        }))
        fuzz::check_study(study);
    return 0;
}
