#include "support/study.h"

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

study::study() : reader(filter) {
    filter.initialise(0, NO_POSITION_LEFT_OUT);
}

study::study(const std::vector<std::string>& genotype_texts) : study() {
    for (std::size_t i = 0; i < genotype_texts.size(); ++i) {
        reader.putInd("I" + std::to_string(i));
        const support::genotypes g = genotypes_from(genotype_texts[i]);
        reader.allele_a[i] = chaplotype(g.a);
        reader.allele_b[i] = chaplotype(g.b);
        reader.missing[i] = chaplotype(g.m);
    }
    const int n_variants = genotype_texts.empty() ? 0 : reader.missing[0].size();
    for (int v = 0; v < n_variants; ++v)
        reader.putSnp(100 * (v + 1), "rs" + std::to_string(v), "", "", "A", "G");
    reader.snps->indexing();
}

study::~study() {
    delete reader.snps;
}

std::string study::genotypes(int ind) const {
    std::string text;
    const int n = reader.missing[ind].size();
    if (reader.allele_a[ind].size() != n || reader.allele_b[ind].size() != n) return "unequal shapes";
    for (int v = 0; v < n; ++v)
        text +=
            genotype(reader.missing[ind].get(v), reader.allele_a[ind].get(v), reader.allele_b[ind].get(v));
    return text;
}

std::vector<std::string> study::genotypes() const {
    std::vector<std::string> texts;
    for (int i = 0; i < static_cast<int>(reader.ind_ids.size()); ++i) texts.push_back(genotypes(i));
    return texts;
}

std::vector<std::string> study::variants() const {
    std::vector<std::string> texts;
    for (const snp* s : reader.snps->snp_list)
        texts.push_back(s->id + ":" + std::to_string(s->bp) + ":" + s->a0 + ":" + s->a1);
    return texts;
}

}  // namespace support
