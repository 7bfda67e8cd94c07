// One byte that selects the calling threshold, then SAMPLE and GEN.
#include "readers/gen_source.h"
#include "study_laws.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr double THRESHOLDS[] = {0.9, 0.500001, 1.0, -1.0};
    static fuzz::memory_file sample("study.sample"), gen("study.gen");
    fuzz::input bytes(data, size);
    const double threshold = THRESHOLDS[bytes.byte() % 4];
    sample.fill(bytes.part());
    gen.fill(bytes.rest());

    filter_reader filter;
    filter.initialise(0, 1000000000);
    filter.ind_exclude["out"] = filter.snp_exclude[7] = true;
    genotype_store study;
    if (fuzz::completes([&] {
            gen_source source(gen.name(), sample.name(), threshold, filter);
            study = read_study(source);
        }))
        fuzz::check_study(study);
    return 0;
}
