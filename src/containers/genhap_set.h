#pragma once

#include <atomic>
#include <vector>

#include "containers/snp_set.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"
#include "objects/haplotype_tiles.h"

class genotype_reader;

/// All graphs and all current haplotypes of a run. Individual i owns graph i and haplotypes 2i and 2i + 1;
/// reference haplotypes follow behind those of all individuals and never change.
class genhap_set {
  public:
    genhap_set() = default;
    ~genhap_set();
    genhap_set(const genhap_set&) = delete;
    genhap_set& operator=(const genhap_set&) = delete;

    /// Takes over `graphs` and gives each individual two haplotypes of zeros over the variants of `S`,
    /// which is borrowed.
    void initialise(const std::vector<genotype_graph*>& graphs, snp_set* S);
    /// Appends the reference haplotypes of a reader, which are taken from it.
    void initialise(genotype_reader& G);
    /// Tells the user the size of the graphs.
    void summarise() const;

    /// Makes the haplotypes as they are now known to the selections below; has to be called after a change of
    /// vecH.
    void arrange() { tiles.copy(vecH); }
    /// Picks the `K` haplotypes closest to either haplotype of individual `ind` over the loci `first` to
    /// `last`, both inclusive (whole bytes, see chaplotype::hamming), among those of other individuals and
    /// of the panel. A panel haplotype may be picked twice, once for each target. `idx` receives them in
    /// order of falling distance. Returns the smallest distance, or last - first if that is smaller.
    int subsetHaplotypes_hamming(int ind, int K, int first, int last, std::vector<int>& idx);
    /// The same among the haplotypes of individuals that `mask` (one entry for each of vecH) marks, and all
    /// of the panel, whatever their entries. The individual's own pair must not be marked.
    int subsetHaplotypes_hamming(const haplotype_mask& mask, int ind, int K, int first, int last,
                                 std::vector<int>& idx);

    /// Seconds spent selecting, summed over all threads; a diagnostic.
    std::atomic<long> time_hamming = 0;
    snp_set* snps = nullptr;
    std::vector<genotype_graph*> vecG;
    std::vector<chaplotype> vecH;

  private:
    haplotype_tiles tiles;
};

/// Decides for a pair `c0`, `c1` close to the two haplotypes `h0`, `h1` of an individual, one to each, which
/// of the two to take: 2 both, 1 only c1, 0 only c0, -1 neither. The more of a haplotype's matches fall on
/// loci that its partner doesn't match, the likelier it is taken. Always draws two random numbers.
int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last);
