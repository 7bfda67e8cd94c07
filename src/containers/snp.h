#pragma once

#include <string>

/// One biallelic variant of the study.
class snp {
  public:
    /// `id` becomes the decimal text of `bp`.
    snp(int bp, std::string a0, std::string a1);

    /// Compares the alleles of this variant with the pair of another source. They are compared as text,
    /// without complementing strands. Returns 0 for the same order, 1 for the swapped order, -1 for no match.
    /// If either pair has one allele twice, that allele alone decides.
    int strand(const std::string& x, const std::string& y) const;
    /// Swaps the alleles and toggles is_turned.
    void flip();
    /// Copies a0 to an empty a1.
    void fill();

    std::string chromosome;  // as in the input, empty if the input has none
    std::string id;
    std::string a0;          // first allele, empty while unknown
    std::string a1;          // second allele, empty while unknown
    double cm = -1.0;        // genetic position in centimorgans (cM); a negative value means not set
    int bp;                  // physical position in base pairs
    int record = 0;          // number of the record in a VCF that is its origin, from 1; else 0
    int idx = -1;            // index in the snp_set, -1 before snp_set::indexing
    bool in_ref = false;     // whether a line of the panel's legend matches
    bool is_turned = false;  // whether a0 is the second allele of the input
};
