// One byte that selects the response to probably wrong input, one for the calling threshold, then SAMPLE and
// GEN.
#include "readers/gen_source.h"
#include "study_laws.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr double THRESHOLDS[] = {0.9, 0.500001, 1.0, -1.0};
    static fuzz::memory_file sample("study.sample"), gen("study.gen");
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    const double threshold = THRESHOLDS[bytes.byte() % 4];
    sample.fill(bytes.part());
    gen.fill(bytes.rest());

    const auto study = fuzz::read_as(response, [&] {
        filter_reader filter = fuzz::small_filter();
        gen_source source(gen.name(), sample.name(), threshold, filter);
        return fuzz::comparable_study{read_study(source)};
    });
    if (study) fuzz::check_study(*study);
    return 0;
}
