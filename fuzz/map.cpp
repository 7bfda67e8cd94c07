// One byte that selects the response to probably wrong input, six variants of two bytes each, and a genetic
// map to place them on.
#include <cmath>

#include "containers/snp_set.h"
#include "models/hmm_parameters.h"
#include "readers/gmap_reader.h"
#include "support.h"

namespace {

constexpr int VARIANTS = 6;

struct genetic_map : gmap_reader {
    bool operator==(const genetic_map& other) const {
        return map_pos == other.map_pos && map_cm == other.map_cm;
    }
};

snp_set read_variants(fuzz::input& bytes) {
    snp_set variants;
    int position = 0;
    for (int v = 0; v < VARIANTS; ++v) {
        position += static_cast<int>(bytes.byte() << 4) + static_cast<int>(bytes.byte() & 15);
        variants.put(snp(position, "A", "G"));
    }
    variants.indexing();
    return variants;
}

void check_order(const gmap_reader& map) {
    FUZZ_LAW(map.map_pos.size() == map.map_cm.size());
    for (std::size_t i = 1; i < map.map_pos.size(); ++i) {
        FUZZ_LAW(map.map_pos[i - 1] <= map.map_pos[i]);
        FUZZ_LAW(map.map_cm[i - 1] <= map.map_cm[i]);
    }
}

/// Genetic positions are finite. They and so the probabilities are in order unless some are below 0 cM, which
/// counts as not given.
void check_places(const snp_set& variants, const gmap_reader& map) {
    for (const snp& variant : variants.snp_list) FUZZ_LAW(std::isfinite(variant.cm));
    if (map.map_cm.front() < 0.0) return;
    hmm_parameters M;
    M.initialise(variants, 15000);
    M.update(100, 50);
    for (const double t : M.t) FUZZ_LAW(t >= 0.0 && t <= 1.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file file("study.map");
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    snp_set variants = read_variants(bytes);
    file.fill(bytes.rest());

    const auto map = fuzz::read_as(response, [&] {
        genetic_map read;
        read.readGeneticMapFile(file.name());
        return read;
    });
    if (!map) return 0;
    check_order(*map);
    if (fuzz::completes([&] {
            variants.setCentiMorgan(map->map_pos, map->map_cm);
            variants.interpolateCentiMorgan(map->map_pos, map->map_cm);
        }))
        check_places(variants, *map);
    return 0;
}
