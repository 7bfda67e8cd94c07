#include "support/study.h"

#include "readers/bed_source.h"
#include "readers/gen_source.h"
#include "readers/panel_source.h"
#include "support/haplotype_text.h"

namespace support {

namespace {

constexpr int NO_POSITION_LEFT_OUT = 2147483647;

char genotype(bool missing, bool a, bool b) {
    if (missing) return a || b ? '?' : '.';
    if (a) return b ? '2' : '?';
    return b ? '1' : '0';
}

}  // namespace

genotype_store study_of(const std::vector<std::string>& genotype_texts) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < genotype_texts.size(); ++i) names.push_back("I" + std::to_string(i));
    genotype_store store(names);
    for (std::size_t i = 0; i < genotype_texts.size(); ++i) {
        const support::genotypes g = genotypes_from(genotype_texts[i]);
        store.allele_a[i] = chaplotype(g.a);
        store.allele_b[i] = chaplotype(g.b);
        store.missing[i] = chaplotype(g.m);
    }
    const int n_variants = genotype_texts.empty() ? 0 : store.missing[0].size();
    for (int v = 0; v < n_variants; ++v) {
        store.snps.put(snp(100 * (v + 1), "A", "G"));
        store.snps.getByIndex(v)->id = "rs" + std::to_string(v);
    }
    store.snps.indexing();
    return store;
}

std::vector<std::string> genotypes_of(const genotype_store& store) {
    std::vector<std::string> texts;
    for (int i = 0; i < store.n_individuals(); ++i) {
        const int n = store.missing[i].size();
        std::string& text = texts.emplace_back();
        if (store.allele_a[i].size() != n || store.allele_b[i].size() != n || store.snps.size() != n)
            text = "unequal shapes";
        else
            for (int v = 0; v < n; ++v)
                text += genotype(store.missing[i].get(v), store.allele_a[i].get(v), store.allele_b[i].get(v));
    }
    return texts;
}

std::vector<std::string> variants_of(const snp_set& snps) {
    std::vector<std::string> texts;
    for (const snp& s : snps.snp_list)
        texts.push_back(s.id + ":" + std::to_string(s.bp) + ":" + s.a0 + ":" + s.a1);
    return texts;
}

study::study() {
    filter.initialise(0, NO_POSITION_LEFT_OUT);
}

void study::read_bed(const std::string& bed, const std::string& bim, const std::string& fam) {
    bed_source source(bed, bim, fam, filter);
    store = read_study(source);
}

void study::read_gen(const std::string& gen, const std::string& sample, double threshold) {
    gen_source source(gen, sample, threshold, filter);
    store = read_study(source);
}

void study::read_panel(const std::string& haps, const std::string& legend, const std::string& sample) {
    panel_source source(legend, sample, filter, store.ind_ids, store.snps);
    source.open(haps);
    panel = read_haplotypes(source);
}

std::vector<std::string> study::panel_haplotypes() const {
    std::vector<std::string> texts;
    for (const chaplotype& h : panel) texts.push_back(h.toString());
    return texts;
}

}  // namespace support
