// Six variants of two bytes each, and a genetic map to place them on.
#include <cmath>
#include <memory>

#include "containers/snp_set.h"
#include "models/hmm_parameters.h"
#include "readers/gmap_reader.h"
#include "support.h"

namespace {

constexpr int VARIANTS = 6;

/// Whether the map has a positive length and values of reasonable size.
bool is_sound(const gmap_reader& map) {
    for (const double cm : map.map_cm)
        if (!(std::abs(cm) < 1e9)) return false;
    return !map.map_pos.empty() && map.map_pos.front() < map.map_pos.back();
}

/// A sound map gives finite positions and valid probabilities.
void check_places(const snp_set& snps) {
    hmm_parameters M;
    M.initialise(snps, 15000);
    M.update(100, 50);
    for (const double t : M.t) FUZZ_LAW(t >= 0.0 && t <= 1.0);
    for (int v = 0; v < snps.size(); ++v) FUZZ_LAW(std::isfinite(snps.getByIndex(v)->cm));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file file("study.map");
    fuzz::input bytes(data, size);
    snp_set snps;
    int position = 0;
    for (int v = 0; v < VARIANTS; ++v) {
        position += static_cast<int>(bytes.byte() << 4) + static_cast<int>(bytes.byte() & 15);
        snps.put(snp(position, "A", "G"));
    }
    snps.indexing();
    file.fill(bytes.rest());

    gmap_reader map;
    const bool placed = fuzz::completes([&] {
        map.readGeneticMapFile(file.name());
        snps.setCentiMorgan(map.map_pos, map.map_cm);
        snps.interpolateCentiMorgan(map.map_pos, map.map_cm);
    });
    FUZZ_LAW(map.map_pos.size() == map.map_cm.size());
    for (std::size_t i = 1; i < map.map_pos.size(); ++i) {
        FUZZ_LAW(map.map_pos[i - 1] <= map.map_pos[i]);
        FUZZ_LAW(!(map.map_cm[i - 1] > map.map_cm[i]));
    }
    if (placed && is_sound(map)) check_places(snps);
    return 0;
}
