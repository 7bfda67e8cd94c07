#include "readers/genotype_reader.h"

#include "utils/lfile.h"
#include "utils/sutils.h"

genotype_reader::genotype_reader(filter_reader& f) : genotype_filter(f), snps(new snp_set) {}

bool genotype_reader::putInd(const std::string& id) {
    if (ind_index.contains(id)) LOG.error("Two individuals or more have the following ID : " + id);
    if (!genotype_filter.checkInd(id)) return false;
    ind_index[id] = static_cast<int>(ind_ids.size());
    ind_ids.push_back(id);
    allele_a.emplace_back();
    allele_b.emplace_back();
    missing.emplace_back();
    return true;
}

int genotype_reader::getInd(const std::string& id) const {
    const auto found = ind_index.find(id);
    return found == ind_index.end() ? -1 : found->second;
}

bool genotype_reader::putSnp(int pos, const std::string& id, const std::string& /*alt_id*/,
                             const std::string& /*chr*/, const std::string& a0, const std::string& a1) {
    if (pos < 0) return false;
    if (snps->size() > 0) {
        const int previous = snps->getByIndex(snps->size() - 1)->bp;
        if (pos < previous)
            LOG.error("Wrong ordering in physical positions curr_pos=" + sutils::int2str(pos) +
                      " prev_pos=" + sutils::int2str(previous));
    }
    if (!genotype_filter.checkSnp(pos)) return false;
    auto* variant = new snp(pos, a0, a1);
    variant->id = id;
    snps->put(variant);
    return true;
}

int genotype_reader::resetSnp(int v) {
    int n_filled = 0;
    for (std::size_t i = 0; i < ind_ids.size(); ++i) {
        n_filled += missing[i][v];
        for (auto* bits : {&allele_a, &allele_b, &missing}) (*bits)[i].set(v, false);
    }
    return n_filled;
}

void genotype_reader::putBlock(genotype_block& block) {
    for (std::size_t i = 0; i < ind_ids.size(); ++i) {
        allele_a[i].push_back(block.words[i].allele_a, block.n_variants);
        allele_b[i].push_back(block.words[i].allele_b, block.n_variants);
        missing[i].push_back(block.words[i].missing, block.n_variants);
        block.words[i] = {};
    }
    block.n_variants = 0;
}

int hard_call(float& p0, float& p1, float& p2, double threshold, long& n_missing, long& n_called) {
    int call = -1;
    const auto call_as = [&](int genotype) {
        p0 = genotype == 0 ? 1.0F : 0.0F;
        p1 = genotype == 1 ? 1.0F : 0.0F;
        p2 = genotype == 2 ? 1.0F : 0.0F;
        call = genotype;
    };
    if (threshold < 0.0) {
        if (p0 >= p1 && p0 >= p2) call_as(0);
        if (p1 >= p0 && p1 >= p2) call_as(1);
        if (p2 >= p0 && p2 >= p1) call_as(2);
    } else {
        if (p0 >= threshold) call_as(0);
        if (p1 >= threshold) call_as(1);
        if (p2 >= threshold) call_as(2);
    }
    ++(call < 0 ? n_missing : n_called);
    return call;
}
