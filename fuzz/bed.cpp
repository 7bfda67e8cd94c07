// One byte that selects the response to probably wrong input, then BIM, FAM and BED.
#include "readers/bed_source.h"
#include "study_laws.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file bim("study.bim"), fam("study.fam"), bed("study.bed");
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    bim.fill(bytes.part());
    fam.fill(bytes.part());
    bed.fill(bytes.rest());

    const auto study = fuzz::read_as(response, [&] {
        filter_reader filter = fuzz::small_filter();
        bed_source source(bed.name(), bim.name(), fam.name(), filter);
        return fuzz::comparable_study{read_study(source)};
    });
    if (study) fuzz::check_study(*study);
    return 0;
}
