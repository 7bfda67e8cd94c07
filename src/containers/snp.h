#pragma once

#include <string>

/// One biallelic variant of the study.
class snp {
  public:
    /// `id` becomes the decimal text of `bp`.
    snp(int bp, std::string a0, std::string a1);

    /// Compares the allele pair of another source with this variant, as texts, complementing nothing: 0 for
    /// the same order, 1 for the swapped order, -1 for no match. A pair that names one allele twice, on
    /// either side, still finds its match.
    int strand(const std::string& x, const std::string& y) const;
    /// Swaps the alleles, and notes that they are no longer in the order of the input.
    void flip();
    /// Gives an empty a1 the value of a0.
    void fill();

    std::string chromosome;  // as the input names it, empty where it doesn't
    std::string id;
    std::string a0;          // first allele, empty while unknown
    std::string a1;          // second allele, empty while unknown
    double cm = -1.0;        // genetic position in centimorgans; any negative value counts as not set
    int bp;                  // physical position in base pairs
    int idx = -1;            // index in the snp_set, -1 before snp_set::indexing
    bool in_ref = false;     // whether a line of the reference panel's legend matched
    bool is_turned = false;  // whether a0 is the second allele of the input
};
