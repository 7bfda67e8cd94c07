#include "chain/markov_chain.h"

#include <gtest/gtest.h>

#include <csignal>

#include "fixed_selector.h"
#include "modules/stages.h"
#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/population.h"

namespace {

using support::log_capture;
using support::population;

struct chain_of {
    explicit chain_of(int n = 5) : p(n), selector(p.set) {
        for (int l = 0; l < p.set.snps.size(); ++l) p.set.snps.getByIndex(l)->cm = 0.01 * l;
        hmm.initialise(p.set.snps, 15000);
        hmm.update(p.set.n_haplotypes(), p.set.n_haplotypes());
    }
    void run(const chain_schedule& schedule) {
        phasing_jobs jobs(p.set, hmm, selector, team, draws);
        markov_chain(p.set, jobs, team, draws).run(schedule);
    }
    population p;
    hmm_parameters hmm;
    fixed_selector selector;
    worker_team team{1};
    random_source draws{1};
};

int count(const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

TEST(MarkovChain, RunsItsPhasesInOrder) {
    const log_capture capture;
    chain_of c;
    c.run({{2, 1}, {1, 1}, {3, 1}, false});
    const std::string log = capture.log();
    std::size_t at = 0;
    for (const char* part : {"Burn-in iteration [1/2]", "Burn-in iteration [2/2]", "Pruning iteration [1/1]",
                             "Pruning graphs", "transitions", "Main iteration [1/3]", "Main iteration [2/3]",
                             "Main iteration [3/3]", "Normalising graphs"}) {
        at = log.find(part, at);
        ASSERT_NE(at, std::string::npos) << part;
    }
    EXPECT_EQ(count(log, "iteration ["), 12) << "each iteration twice in the log";
    EXPECT_EQ(count(capture.console(), "iteration ["), 6) << "each iteration once on the console";
}

TEST(MarkovChain, RenewsByTheStepOfEachPhase) {
    const log_capture silenced;
    chain_of c;
    c.run({{4, 2}, {3, 3}, {3, 1}, false});
    EXPECT_EQ(c.selector.renewals, (std::vector<bool>{1, 0, 1, 0, 1, 0, 0, 1, 1, 1}));
}

TEST(MarkovChain, LeavesNormalisedGraphsAndConsistentHaplotypes) {
    const log_capture silenced;
    chain_of c;
    c.run({{1, 1}, {2, 1}, {2, 1}, false});
    const auto haplotypes = c.p.haplotypes();
    for (int i = 0; i < 5; ++i) {
        const genotype_graph& graph = c.p.set.vecG[i];
        for (int g = 0; g < graph.n_groups(); ++g) {
            double sum = 0.0;
            for (unsigned k = 0; k < graph.trans_count[g]; ++k)
                sum += graph.trans_store[graph.trans_offset[g] + k];
            EXPECT_NEAR(sum, 1.0, 1e-5);
        }
        EXPECT_TRUE(support::fits(c.p.genotypes[i], {haplotypes[2 * i], haplotypes[2 * i + 1]}));
    }
}

TEST(MarkovChain, AccumulatesInThePruningAndMainIterationsAlone) {
    const log_capture silenced;
    chain_of c, plain;
    c.run({{1, 1}, {2, 1}, {1, 1}, false});

    phasing_jobs jobs(plain.p.set, plain.hmm, plain.selector, plain.team, plain.draws);
    const auto iterate = [&](bool accumulates) {
        jobs.run(true, false);
        for (genotype_graph& graph : plain.p.set.vecG)
            if (accumulates) graph.store();
        sample_haplotypes(plain.p.set, false, plain.team, plain.draws);
    };
    iterate(false);
    iterate(true);
    iterate(true);
    prune_graphs(plain.p.set, 0.99, plain.team);
    iterate(true);
    normalise_graphs(plain.p.set, plain.team);
    EXPECT_EQ(c.p.state(), plain.p.state());
}

TEST(MarkovChain, StopsEarlyExceptInTheFirstIterationOfAPhase) {
    const log_capture silenced;
    for (const bool early : {false, true}) {
        chain_of c;
        c.selector.distance = 0;
        phasing_jobs jobs(c.p.set, c.hmm, c.selector, c.team, c.draws);
        markov_chain(c.p.set, jobs, c.team, c.draws).run({{4, 1}, {1, 1}, {1, 1}, early});
        long rows = 0;
        for (const long r : jobs.cost().model.rows) rows += r;
        chain_of once;
        phasing_jobs one(once.p.set, once.hmm, once.selector, once.team, once.draws);
        one.run(true, false);
        long rows_of_one = 0;
        for (const long r : one.cost().model.rows) rows_of_one += r;
        // Six iterations, the last one cheaper after pruning. With early stopping only the first iteration of
        // each phase runs the model.
        EXPECT_GT(rows, (early ? 2 : 5) * rows_of_one);
        EXPECT_LE(rows, (early ? 3 : 6) * rows_of_one);
    }
}

TEST(MarkovChain, StepOfZeroRaisesSIGFPE) {
    const support::child_end end = support::run_in_child([] {
        chain_of c;
        c.run({{1, 0}, {1, 1}, {1, 1}, false});
    });
    EXPECT_FALSE(end.returned);
    EXPECT_EQ(end.signal, SIGFPE);
    const support::child_end although_ignored = support::run_in_child([] {
        std::signal(SIGFPE, SIG_IGN);
        chain_of c;
        c.run({{1, 0}, {1, 1}, {1, 1}, false});
    });
    EXPECT_EQ(although_ignored.signal, SIGFPE);
}

}  // namespace
