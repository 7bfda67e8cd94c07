#include "models/float_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "models/haplotype_segment.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"

namespace {

/// The probability in groups that no run has written.
constexpr float UNTOUCHED = 7.0F;

struct random_job {
    genotype_graph graph = genotype_graph("NA1");
    std::vector<chaplotype> H;
    std::vector<int> idx;
    copying_rates rates;
    segment_range range{};

    /// The parameters of the model in double precision that correspond to the rates.
    hmm_parameters parameters() const {
        hmm_parameters M;
        const double K = static_cast<double>(idx.size());
        for (const float jump : rates.jump) {
            M.t.push_back(jump);
            M.tn.push_back(jump / K);
            M.nt.push_back(1.0 - jump);
        }
        M.em_match = 1.0;
        M.em_mismatch = rates.mismatch;
        M.em_match_n = M.em_match / K;
        M.em_mismatch_n = M.em_mismatch / K;
        return M;
    }
};

random_job draw_job(int n_loci, int n_states, std::mt19937& random) {
    random_job job;
    job.graph = support::built_from(support::random_genotypes(n_loci, 30, 3, random));
    for (int h = 0; h < 40; ++h) job.H.push_back(support::haplotype(support::random_alleles(n_loci, random)));
    for (int k = 0; k < n_states; ++k) job.idx.push_back(static_cast<int>(random() % 40));
    for (int l = 0; l + 1 < n_loci; ++l)
        job.rates.jump.push_back(static_cast<float>(random() % 1000 + 1) / 3000.0F);
    job.rates.set_mismatch(0.01);
    const int n = job.graph.n_segments();
    const int first = static_cast<int>(random() % n), last = first + static_cast<int>(random() % (n - first));
    std::vector<int> start(n + 1, 0);
    for (int s = 0; s < n; ++s) start[s + 1] = start[s] + static_cast<int>(job.graph.seg_length[s]);
    job.range = {start[first], start[last + 1] - 1, first, last};
    std::fill(job.graph.trans_prob.begin(), job.graph.trans_prob.end(), UNTOUCHED);
    return job;
}

TEST(FloatSegment, AgreesWithTheModelInDoublePrecision) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 150; ++trial) {
        const int n_loci = 1 + static_cast<int>(random() % 150),
                  n_states = 1 + static_cast<int>(random() % 50);
        random_job job = draw_job(n_loci, n_states, random);
        genotype_graph expected = job.graph;
        segment_buffers doubles;
        haplotype_segment(job.H, job.idx, job.range, doubles).expectation(job.parameters(), &expected);
        float_buffers floats;
        EXPECT_EQ(float_segment(job.H, job.idx, job.range, job.rates, floats).expectation(job.graph), 0);
        for (std::size_t t = 0; t < expected.trans_prob.size(); ++t)
            ASSERT_NEAR(job.graph.trans_prob[t], expected.trans_prob[t], 1e-4 * expected.trans_prob[t] + 1e-7)
                << "trial " << trial << ", transition " << t;
    }
}

TEST(FloatSegment, UsedMemoryDoesNotMatter) {
    std::mt19937 random(6);
    float_buffers used;
    for (int trial = 0; trial < 40; ++trial) {
        random_job job =
            draw_job(1 + static_cast<int>(random() % 120), 1 + static_cast<int>(random() % 60), random);
        genotype_graph again = job.graph;
        float_buffers fresh;
        float_segment(job.H, job.idx, job.range, job.rates, fresh).expectation(job.graph);
        float_segment(job.H, job.idx, job.range, job.rates, used).expectation(again);
        EXPECT_EQ(again.trans_prob, job.graph.trans_prob);
    }
}

// Each candidate pair has one haplotype that fits nobody: its mass is too small for a float, and for the
// product of two also for a double.
TEST(FloatSegment, ImprobableCandidatesDoNotUnderflow) {
    constexpr int N_LOCI = 400;
    std::string zeros(N_LOCI, '0'), ones(N_LOCI, '1');
    genotype_graph graph = support::graph_from(">0 >1\n[" + zeros + " " + ones + "]\n0>0 1>1 | 0>1 1>0\n[" +
                                               zeros + " " + ones + "]\n0> 1>");
    const std::vector<chaplotype> H(3, support::haplotype(zeros + zeros));
    copying_rates rates;
    rates.jump.assign(2 * N_LOCI - 1, 1e-6F);
    rates.set_mismatch(1e-6);
    float_buffers buffers;
    float_segment(H, {0, 1, 2}, {0, 2 * N_LOCI - 1, 0, 1}, rates, buffers).expectation(graph);
    for (const float p : graph.trans_prob) EXPECT_TRUE(std::isfinite(p)) << p;
    EXPECT_NEAR(std::accumulate(graph.trans_prob.begin(), graph.trans_prob.end(), 0.0), 3.0, 1e-6);
}

}  // namespace
