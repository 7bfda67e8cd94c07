#include <algorithm>

#include "modes/phaser/phaser.h"
#include "modules/builder.h"
#include "modules/sampler.h"
#include "readers/genotype_checker.h"
#include "readers/genotype_reader.h"
#include "readers/gmap_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

void phaser::read_files_and_initialise() {
    tolvane::read_files_and_initialise();
    const int n_thread = value<int>("thread");
    team = std::make_unique<worker_team>(n_thread);
    read_data();
    haplotypes.summarise();
    sampler(haplotypes, true, n_thread, true).sample();

    if (given("input-map"))
        hmm.initialise(*snps, value<int>("effective-size"));
    else
        hmm.initialise(*snps, value<double>("rho"));
    const int n_haplotypes = static_cast<int>(haplotypes.vecH.size());
    hmm.update(n_haplotypes, std::min(value<int>("states"), n_haplotypes));
    if (use_clusters)
        cluster_stage =
            std::make_unique<clusterer>(&haplotypes, static_cast<float>(cluster_size), 1.0F,
                                        value<int>("states"), 1e6 * value<double>("window"), n_thread);
}

/// Fills `snps` and `haplotypes`. The genotypes as read are gone again when it returns: the graphs hold them.
void phaser::read_data() {
    genotype_reader reader(filter);
    snps.reset(reader.snps);
    read_genotypes(reader);
    if (given("input-ref")) {
        const auto& panel = value<std::vector<std::string>>("input-ref");
        reader.readHaplotypeImpute(panel[0], panel[1], panel[2]);
    }
    place_on_map(*snps);
    genotype_checker(reader).checkGenotypeData();
    builder graph_builder(reader, value<int>("thread"));
    graph_builder.build();
    haplotypes.initialise(graph_builder.graphs, snps.get());
    if (given("input-ref")) haplotypes.initialise(reader);
}

void phaser::read_genotypes(genotype_reader& reader) const {
    if (given("input-bed")) {
        const auto bed = files("input-bed", {".bed", ".bim", ".fam"});
        reader.readGenotypeBed(bed[0], bed[1], bed[2]);
    }
    if (given("input-gen")) {
        const auto gen = files("input-gen", {".gen", ".sample"});
        reader.readGenotypeImpute(gen[0], gen[1], value<double>("input-thr"));
    }
}

void phaser::place_on_map(snp_set& variants) const {
    gmap_reader map;
    map.readGeneticMapFile(value<std::string>("input-map"));
    const int n_set = variants.setCentiMorgan(map.map_pos, map.map_cm);
    const int n_interpolated = variants.interpolateCentiMorgan(map.map_pos, map.map_cm);
    LOG.println("  * #set=" + sutils::int2str(n_set) + " / #interpolated=" + sutils::int2str(n_interpolated));
    if (variants.size() == 0) return;  // the checks stop such a run
    const auto range = [](double first, double last, const std::string& unit) {
        return " map [" + sutils::double2str(first, 2) + unit + " -> " + sutils::double2str(last, 2) + unit +
               "]";
    };
    const snp* first = variants.snp_list.front();
    const snp* last = variants.snp_list.back();
    LOG.print("  * Physical" + range(first->bp * 1e-6, last->bp * 1e-6, " Mb"));
    LOG.println(" / Genetic" + range(first->cm, last->cm, " cM"));
}
