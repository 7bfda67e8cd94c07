#pragma once

#include <string>

/// One biallelic variant of the study.
class snp {
  public:
    /// `id` becomes the decimal text of `bp`.
    snp(int bp, std::string a0, std::string a1);
    /// Copies position, alleles and identifier; the copy has no index yet and counts as not in the panel.
    explicit snp(const snp* other);

    /// A copy of a1 when `second`, else of a0.
    std::string get(bool second) const;
    /// Offers an allele: an empty a0, then an empty a1, takes it. Returns 0 or 1 for the allele that it
    /// equals, -1 for a third one.
    int put(const std::string& allele);
    /// Compares the allele pair of another source with this variant, as texts, complementing nothing: 0 for
    /// the same order, 1 for the swapped order, -1 for no match. A pair that names one allele twice, on
    /// either side, still finds its match.
    int strand(const std::string& x, const std::string& y) const;
    /// Swaps the alleles.
    void flip();
    /// Gives an empty a1 the value of a0.
    void fill();
    /// True for two different alleles of one character each.
    bool isSNP() const;

    std::string id;
    std::string a0;  // first allele, empty while unknown
    std::string a1;  // second allele, empty while unknown
    double cm;       // genetic position in centimorgans; any negative value counts as not set
    int bp;          // physical position in base pairs
    int idx;         // index in the snp_set, -1 before snp_set::indexing
    bool in_ref;     // whether a line of the reference panel's legend matched
};
