#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>

#include "objects/genotype_graph.h"
#include "support/child_process.h"
#include "support/graph_laws.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/plain_generator.h"
#include "utils/my_exception.h"

namespace {

using support::built_from;
using support::graph_from;
using support::haplotype_pair;
using support::plain_generator;

/// Haplotypes of chromosome 0 and chromosome 1.
using ordered_pair = std::pair<std::string, std::string>;

ordered_pair texts_of(const std::vector<chaplotype>& haps) {
    return {haps[0].toString(), haps[1].toString()};
}

std::vector<chaplotype> blank_pair(const genotype_graph& graph) {
    return std::vector<chaplotype>(2, chaplotype(static_cast<unsigned>(graph.n_loci())));
}

ordered_pair guesses(const genotype_graph& graph, const std::vector<int>& path, random_source& draws) {
    std::vector<chaplotype> haps = blank_pair(graph);
    graph.buildGuesses(haps, {0, 1}, path, draws);
    return texts_of(haps);
}

/// Positions within groups of a walk given by transition numbers.
std::vector<int> positions(const genotype_graph& graph, const std::vector<unsigned>& walk) {
    std::vector<int> path;
    for (std::size_t g = 0; g < walk.size(); ++g)
        path.push_back(static_cast<int>(walk[g] - graph.trans_offset[g]));
    return path;
}

/// A seed whose first draw is below one half (the walk is sampled forward), or one whose first draw is not.
long seed_for(bool below_half) {
    for (long seed = 1;; ++seed)
        if ((plain_generator(seed).draw() < 0.5) == below_half) return seed;
}

void randomise(std::vector<float>& values, std::mt19937& random) {
    for (float& value : values) value = static_cast<float>(random() % 1000 + 1) / 1024.0F;
}

// ---- buildGuesses

TEST(BuildGuesses, ChromosomesFollowTheirCandidates) {
    const genotype_graph graph = graph_from(R"(
        >0 >1 | >1 >0
        [00 11]
        0>1 1>0 | 0>0 1>1 | 1>0 0>1
        [01 10]
        0> 1> | 1> 0>
    )");
    random_source draws(1);
    EXPECT_EQ(guesses(graph, {0, 0, 0}, draws), ordered_pair("0010", "1101"));
    EXPECT_EQ(guesses(graph, {0, 1, 0}, draws), ordered_pair("0001", "1110"));
    EXPECT_EQ(guesses(graph, {0, 2, 0}, draws), ordered_pair("0010", "1101"))
        << "the step from candidate 0 comes second";
    EXPECT_EQ(guesses(graph, {1, 0, 0}, draws), ordered_pair("1101", "0010"));
    EXPECT_EQ(guesses(graph, {0, 0, 1}, draws), ordered_pair("0010", "1101")) << "the last group is not used";
    EXPECT_EQ(draws.draw(), plain_generator(1).draw()) << "takes no draw";
}

TEST(BuildGuesses, RandomDrawAssignsChromosomesAtOneCandidate) {
    const genotype_graph graph = graph_from(R"(
        >3 >3
        [00 01 10 11]
        3>1 3>2
        [000 001 010]
        1> 2>
    )");
    for (long seed = 1; seed <= 50; ++seed) {
        plain_generator random(seed);
        const bool swapped = random.draw() < 0.5;
        random_source draws(seed);
        EXPECT_EQ(guesses(graph, {0, 0, 0}, draws),
                  swapped ? ordered_pair("11010", "11001") : ordered_pair("11001", "11010"));
        EXPECT_EQ(draws.draw(), random.draw()) << "takes one draw";
    }
    int n_swapped = 0;
    random_source draws(1);
    for (int i = 0; i < 10000; ++i) n_swapped += guesses(graph, {0, 0, 0}, draws).first == "11010";
    EXPECT_NEAR(n_swapped, 5000, 165);  // 3.3 standard deviations
}

TEST(BuildGuesses, DrawsEvenIfBothWaysAreEqual) {
    const genotype_graph graph = graph_from(R"(
        >0 >0
        [0]
        0>0 0>0
        [1]
        0>0 0>0
        [0]
        0> 0>
    )");
    plain_generator random(4);
    random_source draws(4);
    EXPECT_EQ(guesses(graph, {0, 0, 0, 0}, draws), ordered_pair("010", "010"));
    random.draw();
    random.draw();
    EXPECT_EQ(draws.draw(), random.draw()) << "one draw for each segment but the first";
}

TEST(BuildGuesses, PathOfOneEntryWritesNothing) {
    const genotype_graph graph = graph_from(">0 >0");
    std::vector<chaplotype> haps = support::haplotypes({"101", "010"});
    random_source draws(1);
    graph.buildGuesses(haps, {0, 1}, {0}, draws);
    EXPECT_EQ(texts_of(haps), ordered_pair("101", "010"));
}

TEST(BuildGuesses, WritesOnlyTheTwoHaplotypes) {
    const genotype_graph graph = graph_from(">0 >1\n[01 10]\n0> 1>");
    std::vector<chaplotype> haps = support::haplotypes({"11", "11", "11", "11", "11"});
    random_source draws(1);
    graph.buildGuesses(haps, {3, 1}, {0, 0}, draws);
    EXPECT_EQ(haps[0].toString() + haps[2].toString() + haps[4].toString(), "111111");
    EXPECT_EQ(haps[3].toString(), "01");
    EXPECT_EQ(haps[1].toString(), "10");
}

TEST(BuildGuesses, WritesAHaplotypePairOfTheWalk) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 40; ++trial) {
        const std::string genotypes =
            support::random_genotypes(1 + static_cast<int>(random() % 7), 60, 15, random);
        const genotype_graph graph = built_from(genotypes);
        random_source draws(trial);
        support::for_each_walk(graph, [&](const std::vector<unsigned>& walk) {
            const ordered_pair pair = guesses(graph, positions(graph, walk), draws);
            ASSERT_TRUE(
                support::pairs_of_walk(graph, walk).contains(support::unordered(pair.first, pair.second)))
                << genotypes << ": " << pair.first << " " << pair.second;
        });
    }
}

// ---- sample

/// Samples a walk and its haplotypes with a reference implementation and the reference generator.
ordered_pair sample_plainly(const genotype_graph& graph, bool uniform, plain_generator& random) {
    const int G = graph.n_groups();
    std::vector<unsigned> walk(G);
    const bool forward = 0.5 > random.draw();
    for (int step = 0; step < G; ++step) {
        const int g = forward ? step : G - 1 - step;
        std::vector<std::pair<unsigned, double>> open;  // transitions that may follow, with their weights
        double sum = 0.0;
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            if (step > 0 && forward && !support::can_follow(graph, walk[g - 1], t)) continue;
            if (step > 0 && !forward && !support::can_follow(graph, t, walk[g + 1])) continue;
            open.emplace_back(t, uniform ? 1.0 : static_cast<double>(graph.trans_prob[t]));
            sum += open.back().second;
        }
        // The code falls back on the last transition of the group; here the sums are exact, so this does not
        // happen.
        const double bound = random.draw() * sum;
        double running = 0.0;
        for (const auto& [t, weight] : open) {
            running += weight;
            walk[g] = t;
            if (running > bound) break;
        }
    }
    std::string h0, h1;
    int at0 = -1, at1 = -1;
    for (int s = 0; s + 1 < G; ++s) {
        const int byte0 = graph.trans_nodes[2 * walk[s]], byte1 = graph.trans_nodes[2 * walk[s] + 1];
        int to0 = byte0 / 16, to1 = byte1 / 16;
        if (s > 0) {
            const bool crossed = byte0 % 16 == byte1 % 16 ? 0.5 > random.draw() : at0 != byte0 % 16;
            if (crossed) std::swap(to0, to1);
        }
        at0 = to0;
        at1 = to1;
        for (int i = 0; i < static_cast<int>(graph.seg_length[s]); ++i) {
            h0 += graph.getA(s, at0, i) != 0 ? '1' : '0';
            h1 += graph.getA(s, at1, i) != 0 ? '1' : '0';
        }
    }
    return {h0, h1};
}

TEST(Sample, AgreesWithReferenceDrawByDraw) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 100; ++trial) {
        genotype_graph graph = built_from(support::random_genotypes(40, 40, 10, random));
        // Multiples of 2^-10 give exact sums in any order.
        randomise(graph.trans_prob, random);
        for (const bool uniform : {false, true}) {
            plain_generator plain(trial);
            random_source draws(trial);
            for (int draw = 0; draw < 5; ++draw) {
                std::vector<chaplotype> haps = blank_pair(graph);
                graph.sample(haps, {0, 1}, uniform, draws);
                ASSERT_EQ(texts_of(haps), sample_plainly(graph, uniform, plain)) << "trial " << trial;
            }
            ASSERT_EQ(draws.draw(), plain.draw()) << "one draw for the direction, one for each group, "
                                                     "and those of the haplotypes";
        }
    }
}

/// Probability of each ordered pair of haplotypes if walks are sampled from the left (or from the right): a
/// transition is taken in proportion to its weight among the linked ones.
std::map<ordered_pair, double> law_of_pairs(const genotype_graph& graph, bool uniform, bool forward) {
    const auto weight = [&](unsigned t) { return uniform ? 1.0 : static_cast<double>(graph.trans_prob[t]); };
    std::map<ordered_pair, double> law;
    support::for_each_walk(graph, [&](const std::vector<unsigned>& walk) {
        double probability = 1.0;
        const int G = graph.n_groups();
        for (int g = 0; g < G; ++g) {
            double all = 0.0;
            for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
                const bool linked = forward ? g == 0 || support::can_follow(graph, walk[g - 1], t)
                                            : g == G - 1 || support::can_follow(graph, t, walk[g + 1]);
                if (linked) all += weight(t);
            }
            probability *= weight(walk[g]) / all;
        }
        // Where both chromosomes are at the same candidate, a draw splits the probability in two.
        const std::vector<int> path = positions(graph, walk);
        std::function<void(int, int, ordered_pair, double)> write = [&](int s, int at0, ordered_pair pair,
                                                                        double share) {
            if (s == G - 1) {
                law[pair] += share;
                return;
            }
            const int byte0 = graph.trans_nodes[2 * walk[s]], byte1 = graph.trans_nodes[2 * walk[s] + 1];
            const auto go_on = [&](int to0, int to1, double part) {
                ordered_pair longer = pair;
                for (int i = 0; i < static_cast<int>(graph.seg_length[s]); ++i) {
                    longer.first += graph.getA(s, to0, i) != 0 ? '1' : '0';
                    longer.second += graph.getA(s, to1, i) != 0 ? '1' : '0';
                }
                write(s + 1, to0, longer, part);
            };
            if (s > 0 && byte0 % 16 == byte1 % 16) {
                go_on(byte0 / 16, byte1 / 16, share / 2);
                go_on(byte1 / 16, byte0 / 16, share / 2);
            } else if (s == 0 || at0 == byte0 % 16) {
                go_on(byte0 / 16, byte1 / 16, share);
            } else {
                go_on(byte1 / 16, byte0 / 16, share);
            }
        };
        write(0, 0, {"", ""}, probability);
    });
    return law;
}

/// The value that chi-square exceeds with probability 0.1 % (Wilson and Hilferty 1931).
double chi_square_bound(double freedom) {
    const double part = 2.0 / (9.0 * freedom);
    return freedom * std::pow(1.0 - part + 3.09 * std::sqrt(part), 3.0);
}

/// Samples `n` walks, each with the source that `next_source` gives, and compares the counts of haplotype
/// pairs with their probabilities.
void expect_law(const genotype_graph& graph, bool uniform, const std::map<ordered_pair, double>& law, int n,
                const std::function<random_source*()>& next_source) {
    std::map<ordered_pair, int> seen;
    for (int draw = 0; draw < n; ++draw) {
        std::vector<chaplotype> haps = blank_pair(graph);
        graph.sample(haps, {0, 1}, uniform, *next_source());
        ++seen[texts_of(haps)];
    }
    for (const auto& [pair, count] : seen)
        EXPECT_TRUE(law.contains(pair)) << pair.first << " " << pair.second;
    double chi_square = 0.0, rare_expected = 0.0;
    int rare_seen = 0, cells = 0;
    for (const auto& [pair, probability] : law) {
        const double expected = probability * n;
        if (expected < 5.0) {
            rare_expected += expected;
            rare_seen += seen[pair];
            continue;
        }
        ++cells;
        chi_square += (seen[pair] - expected) * (seen[pair] - expected) / expected;
    }
    if (rare_expected > 0.0) {
        ++cells;
        chi_square += (rare_seen - rare_expected) * (rare_seen - rare_expected) / rare_expected;
    }
    ASSERT_GT(cells, 2);
    EXPECT_LT(chi_square, chi_square_bound(cells - 1));
}

struct law_case {
    const char* name;
    const char* genotypes;
    bool uniform;
};

class sample_law : public ::testing::TestWithParam<law_case> {
  protected:
    sample_law() {
        std::mt19937 random(12);
        for (float& p : graph.trans_prob)
            p = random() % 4 == 0 ? 0.01F : static_cast<float>(random() % 50 + 1);
    }
    genotype_graph graph = built_from(GetParam().genotypes);
    const bool uniform = GetParam().uniform;
};

TEST_P(sample_law, HoldsOverBothDirections) {
    auto law = law_of_pairs(graph, uniform, true);
    for (auto& [pair, probability] : law) probability /= 2;
    for (const auto& [pair, probability] : law_of_pairs(graph, uniform, false)) law[pair] += probability / 2;
    random_source draws(2024);
    expect_law(graph, uniform, law, 20000, [&] { return &draws; });
}

TEST_P(sample_law, HoldsInEachDirection) {
    for (const bool forward : {true, false}) {
        long seed = 0;
        std::unique_ptr<random_source> draws;
        const auto in_direction = [&] {
            do ++seed;
            while ((plain_generator(seed).draw() < 0.5) != forward);
            draws = std::make_unique<random_source>(seed);
            return draws.get();
        };
        expect_law(graph, uniform, law_of_pairs(graph, uniform, forward), 5000, in_direction);
    }
}

INSTANTIATE_TEST_SUITE_P(Sample, sample_law,
                         ::testing::Values(law_case{"heterozygotes", "11.0111", false},
                                           law_case{"heterozygotes_uniform", "11.0111", true},
                                           law_case{"equal_pairs", "..1.0", false},
                                           law_case{"equal_pairs_uniform", "..1.0", true}),
                         [](const auto& test) { return test.param.name; });

TEST(Sample, OneSegmentUsesGroupZeroOnly) {
    const genotype_graph graph = graph_from(R"(
        >0 >1 =1 | >2 >3 =0
        [00 11 01 10]
        0> 1> =.5 | 2> 3> =.5
    )");
    // Sampling backward may take the second exit, and only the second entry, of weight 0, is linked to it.
    random_source draws(seed_for(true));
    std::vector<chaplotype> haps = blank_pair(graph);
    graph.sample(haps, {0, 1}, false, draws);
    EXPECT_EQ(texts_of(haps), ordered_pair("00", "11"));
}

TEST(Sample, UniformIgnoresProbabilitiesOfZero) {
    const genotype_graph graph = built_from("11111");
    std::map<ordered_pair, int> seen;
    random_source draws(5);
    for (int draw = 0; draw < 2000; ++draw) {
        std::vector<chaplotype> haps = blank_pair(graph);
        graph.sample(haps, {0, 1}, true, draws);
        ++seen[texts_of(haps)];
    }
    EXPECT_EQ(seen.size(), 16U) << "one pair for each way to order five heterozygotes";
}

/// The exception of sample and its output on standard error, for a graph and a direction.
struct sample_failure {
    std::string text, err;
    ordered_pair haps;
};

sample_failure failure_of(const genotype_graph& graph, bool forward) {
    sample_failure failure;
    const support::error_output_capture err;
    std::vector<chaplotype> haps = support::haplotypes({"101", "110"});
    random_source draws(seed_for(forward));
    try {
        graph.sample(haps, {0, 1}, false, draws);
        failure.text = "none";
    } catch (const myException& thrown) {
        failure.text = thrown.msg;
    }
    failure.err = err.text();
    failure.haps = texts_of(haps);
    return failure;
}

TEST(SampleFailure, Underflow) {
    const genotype_graph graph = graph_from(R"(
        >0 >1 =1
        [00 11]
        0>0 1>0 =0 | 0>1 1>1 =0
        [0 1]
        0> 0> =.25 | 1> 1> =.75
    )");
    const sample_failure forward = failure_of(graph, true);
    EXPECT_EQ(forward.text, "Underflow in samplingF / i=NA1 b=1 sp=0.0000000000");
    EXPECT_EQ(forward.err, "0\t0\t0\n1\t0\t0\n\n");
    EXPECT_EQ(forward.haps, ordered_pair("101", "110")) << "nothing was written";
    const sample_failure backward = failure_of(graph, false);
    EXPECT_EQ(backward.text, "Underflow in samplingB / i=NA1 b=1 sp=0.0000000000");
    EXPECT_EQ(backward.err, "0\t0\t0\n1\t0\t0\n\n");
    EXPECT_EQ(backward.haps, ordered_pair("101", "110"));
}

TEST(SampleFailure, PrintsProbabilitiesAndWeights) {
    const genotype_graph graph = graph_from(R"(
        >0 >1 =1 | >0 >0 =0
        [00 11]
        0>0 1>0 =0 | 0>0 0>0 =.5
        [0]
        0> 0> =1
    )");
    const sample_failure forward = failure_of(graph, true);
    EXPECT_EQ(forward.text, "Underflow in samplingF / i=NA1 b=1 sp=0.0000000000");
    EXPECT_EQ(forward.err, "0\t0\t0\n1\t0.5\t0\n\n") << "the second one isn't linked";
}

TEST(SampleFailure, FreshGraphHasNoWeights) {
    EXPECT_EQ(failure_of(built_from("111", "Eve"), true).text,
              "Underflow in samplingF / i=Eve b=0 sp=0.0000000000");
    EXPECT_EQ(failure_of(built_from("111", "Eve"), false).text,
              "Underflow in samplingB / i=Eve b=1 sp=0.0000000000");
}

TEST(SampleFailure, GroupWithoutTransitions) {
    genotype_graph graph("NA1");
    graph.pushTrans({});
    const sample_failure failure = failure_of(graph, true);
    EXPECT_EQ(failure.text, "Underflow in samplingF / i=NA1 b=0 sp=0.0000000000");
    EXPECT_EQ(failure.err, "\n");
}

TEST(SampleFailure, NaN) {
    for (const bool forward : {true, false}) {
        genotype_graph graph = built_from("1111");
        std::fill(graph.trans_prob.begin(), graph.trans_prob.end(), 1.0F);
        for (unsigned k = 0; k < graph.trans_count[1]; ++k)
            graph.trans_prob[graph.trans_offset[1] + k] = std::numeric_limits<float>::quiet_NaN();
        const sample_failure failure = failure_of(graph, forward);
        EXPECT_EQ(failure.text,
                  std::string("NaN in sampling") + (forward ? "F" : "B") + " / i=NA1 b=1 sp=nan");
        EXPECT_EQ(failure.err, "");
    }
}

// ---- best path

ordered_pair maximised(const genotype_graph& graph) {
    random_source draws(1);
    std::vector<chaplotype> haps = blank_pair(graph);
    graph.buildGuesses(haps, {0, 1}, graph.best_path(), draws);
    return texts_of(haps);
}

TEST(BestPath, FindsTheBestOfAllWalks) {
    std::mt19937 random(6);
    for (int trial = 0; trial < 150; ++trial) {
        genotype_graph graph =
            built_from(support::random_genotypes(1 + static_cast<int>(random() % 8), 55, 12, random));
        for (float& p : graph.trans_store) p = static_cast<float>(random() % 100000 + 1);
        double best = -1.0, second = -1.0;
        std::vector<unsigned> best_walk;
        support::for_each_walk(graph, [&](const std::vector<unsigned>& walk) {
            double product = 1.0;
            for (const unsigned t : walk) product *= graph.trans_store[t] / 1e5;
            if (product > best) {
                second = best;
                best = product;
                best_walk = walk;
            } else {
                second = std::max(second, product);
            }
        });
        if (second > 0.999999 * best)
            continue;  // too close to compare with products rounded in another order
        const ordered_pair pair = maximised(graph);
        ASSERT_TRUE(
            support::pairs_of_walk(graph, best_walk).contains(support::unordered(pair.first, pair.second)))
            << "trial " << trial;
    }
}

/// The best walk, as positions within groups: the score of each transition is its trans_store times the best
/// score before it. The scores of a group are divided by their sum, which is updated whenever a score rises.
std::vector<int> best_path(const genotype_graph& graph) {
    const auto group = [&](const std::vector<float>& values, int g) {
        const auto first = values.begin() + graph.trans_offset[g];
        return std::vector<double>(first, first + graph.trans_count[g]);
    };
    std::vector<double> before = group(graph.trans_store, 0);
    std::vector<std::vector<int>> links;  // best position before each transition of groups 1, 2, ...
    for (int g = 1; g < graph.n_groups(); ++g) {
        const std::vector<double> weights = group(graph.trans_store, g);
        std::vector<double> scores(weights.size(), 0.0);
        links.emplace_back(weights.size(), -1);
        double sum = 0.0;
        for (std::size_t k = 0; k < weights.size(); ++k)
            for (std::size_t j = 0; j < before.size(); ++j) {
                const auto from = static_cast<unsigned>(graph.trans_offset[g - 1] + j),
                           to = static_cast<unsigned>(graph.trans_offset[g] + k);
                const double score = weights[k] * before[j];
                if (!support::can_follow(graph, from, to) || score <= scores[k]) continue;
                const double without = sum - scores[k];
                sum = without + score;
                scores[k] = score;
                links.back()[k] = static_cast<int>(j);
            }
        for (double& score : scores) score /= sum;
        before = std::move(scores);
    }
    std::vector<int> path(graph.n_groups());
    path.back() = static_cast<int>(std::max_element(before.begin(), before.end()) - before.begin());
    for (int g = graph.n_groups() - 1; g > 0; --g) path[g - 1] = links[g - 1][path[g]];
    return path;
}

// Weights of 0.1, 0.2 and 0.3 give many walks with the same product. The rounding of each step decides which
// one is taken.
TEST(BestPath, AgreesWithReferenceOnTies) {
    std::mt19937 random(8);
    for (int trial = 0; trial < 400; ++trial) {
        genotype_graph graph = built_from(support::random_genotypes(150, 50, 10, random));
        for (float& p : graph.trans_store) p = static_cast<float>(random() % 3 + 1) / 10.0F;
        random_source draws(1);
        ASSERT_EQ(maximised(graph), guesses(graph, best_path(graph), draws)) << "trial " << trial;
    }
}

TEST(BestPath, FirstOfEqualWalksWins) {
    // All weights are equal. The exit (0, 1) comes first, and it is reached from the first entry.
    EXPECT_EQ(maximised(graph_from(R"(
                  >0 >1 =1 | >1 >0 =1 | >2 >3 =1
                  [00 11 01 10]
                  0> 1> =1 | 2> 3> =1
              )")),
              ordered_pair("00", "11"));
    // The exits have equal scores, so the first one wins, and of its two predecessors again the first.
    EXPECT_EQ(maximised(graph_from(R"(
                  >0 >1 =1 | >1 >0 =1 | >2 >3 =1
                  [00 11 01 10]
                  2> 3> =1 | 0> 1> =1
              )")),
              ordered_pair("01", "10"));
    EXPECT_EQ(maximised(graph_from(R"(
                  >1 >0 =1 | >0 >1 =1
                  [00 11]
                  0> 1> =1
              )")),
              ordered_pair("11", "00"));
}

TEST(BestPath, Homozygote) {
    genotype_graph graph = built_from("0220");
    std::fill(graph.trans_store.begin(), graph.trans_store.end(), 1.0F);
    EXPECT_EQ(maximised(graph), ordered_pair("0110", "0110"));
}

TEST(BestPath, LongGraphsDoNotUnderflow) {
    std::mt19937 random(7);
    const std::string genotypes = support::random_genotypes(4000, 50, 2, random);
    genotype_graph graph = built_from(genotypes);
    ASSERT_GT(graph.n_groups(), 500);
    for (float& p : graph.trans_store) p = 1e-30F * static_cast<float>(random() % 10 + 1);
    const ordered_pair pair = maximised(graph);
    EXPECT_TRUE(support::fits(genotypes, pair));
}

TEST(BestPath, NoPossibleWalkAborts) {
    for (const char* weight : {"0", "-1", "nan"}) {
        const genotype_graph graph = graph_from(std::string(">0 >1 =") + weight + "\n[0 1]\n0> 1> =1");
        EXPECT_TRUE(support::aborts_on("path[g] >= 0", [&] { maximised(graph); })) << weight;
    }
}

// ---- consolide

/// The flags as text, groups separated by blanks.
std::string flags_text(const genotype_graph& graph, const std::vector<bool>& kept) {
    std::string text;
    for (int g = 0; g < graph.n_groups(); ++g) {
        if (g > 0) text += ' ';
        for (unsigned k = 0; k < graph.trans_count[g]; ++k)
            text += kept[graph.trans_offset[g] + k] ? '1' : '0';
    }
    return text;
}

TEST(Consolide, RepairsFromLeftToRight) {
    const genotype_graph graph = graph_from(R"(
        >0 >0 =.5 | >1 >1 =.5
        [0 1]
        0>0 0>0 =.1 | 0>1 0>1 =.3 | 0>0 0>1 =.3 | 1>1 1>1 =.2 | 1>0 1>0 =.1
        [0 1]
        0> 0> =.4 | 1> 1> =.4 | 0> 1> =.2
    )");
    struct row {
        const char* name;
        const char* kept;
        unsigned n_set;
        const char* expected;
    };
    for (const row& r : {row{"nothing kept", "00 00000 000", 0, "00 00000 000"},
                         row{"already linked", "10 10000 100", 0, "10 10000 100"},
                         row{"linked on both sides twice", "11 01010 010", 0, "11 01010 010"},
                         row{"a start goes on to the best that follows, the first of equals", "10 00000 000",
                             2, "10 01000 010"},
                         row{"an end is led back to the best before it", "00 00000 010", 1, "00 01000 010"},
                         row{"a middle gets both ends", "00 00010 000", 2, "01 00010 010"},
                         row{"a kept one is enough, however poor", "10 10000 000", 1, "10 10000 100"}}) {
        std::vector<bool> kept = support::bits(r.kept);
        EXPECT_EQ(graph.consolide(kept), r.n_set) << r.name;
        EXPECT_EQ(flags_text(graph, kept), r.expected) << r.name;
    }
}

TEST(Consolide, OneSweepMayLeaveADeadEnd) {
    const genotype_graph graph = graph_from(R"(
        >0 >0 =.5 | >1 >1 =.5
        [0 1]
        0>0 0>0 =.5 | 1>1 1>1 =.5
        [0 1]
        0> 0> =.5 | 1> 1> =.5
    )");
    std::vector<bool> kept = support::bits("00 00 01");
    EXPECT_EQ(graph.consolide(kept), 1U);
    EXPECT_EQ(flags_text(graph, kept), "00 01 01") << "the sweep has already passed the first group";
    EXPECT_EQ(graph.consolide(kept), 1U);
    EXPECT_EQ(flags_text(graph, kept), "01 01 01");
    EXPECT_EQ(graph.consolide(kept), 0U);
}

TEST(Consolide, OneGroupHasNoNeighbours) {
    const genotype_graph graph = graph_from(">0 >0 | >1 >1");
    std::vector<bool> kept = {true, false};
    EXPECT_EQ(graph.consolide(kept), 0U);
    EXPECT_EQ(kept, (std::vector<bool>{true, false}));
    std::vector<bool> none;
    EXPECT_EQ(genotype_graph("NA1").consolide(none), 0U);
}

TEST(Consolide, RepeatedLeavesNoDeadEnds) {
    std::mt19937 random(8);
    for (int trial = 0; trial < 60; ++trial) {
        genotype_graph graph = built_from(support::random_genotypes(25, 50, 12, random));
        for (float& p : graph.trans_store) p = static_cast<float>(random() % 8);  // many are equal
        std::vector<bool> kept(graph.trans_store.size());
        for (int g = 0; g < graph.n_groups(); ++g)
            for (int flag = 0; flag < 2; ++flag)
                kept[graph.trans_offset[g] + random() % graph.trans_count[g]] = true;
        std::vector<bool> plain = kept;
        const std::vector<bool> before = kept;
        for (unsigned n_set = 1; n_set > 0;) {
            const auto n_before = std::count(kept.begin(), kept.end(), true);
            n_set = graph.consolide(kept);
            ASSERT_EQ(n_set, support::sweep_plainly(graph, plain));
            ASSERT_EQ(kept, plain);
            ASSERT_EQ(std::count(kept.begin(), kept.end(), true) - n_before, n_set);
        }
        for (std::size_t t = 0; t < kept.size(); ++t) ASSERT_TRUE(kept[t] || !before[t]);
        for (int g = 0; g < graph.n_groups(); ++g)
            for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
                if (!kept[t]) continue;
                bool before_it = g == 0, after_it = g + 1 == graph.n_groups();
                for (unsigned u = 0; u < kept.size(); ++u) {
                    const bool left = g > 0 && u >= graph.trans_offset[g - 1] && u < graph.trans_offset[g];
                    const bool right = g + 1 < graph.n_groups() && u >= graph.trans_offset[g + 1] &&
                                       u < graph.trans_offset[g + 1] + graph.trans_count[g + 1];
                    before_it = before_it || (left && kept[u] && support::can_follow(graph, u, t));
                    after_it = after_it || (right && kept[u] && support::can_follow(graph, t, u));
                }
                ASSERT_TRUE(before_it && after_it) << "transition " << t;
            }
    }
}

}  // namespace
