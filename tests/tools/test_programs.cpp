#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

#include "support/files.h"
#include "support/temporary_folder.h"

namespace {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs commands in a temporary folder.
class Programs : public testing::Test {
  protected:
    Outcome run(const std::string& command) const {
        const int ended = std::system(("cd " + folder.path() + " && " + command + " >out 2>err").c_str());
        return {WIFEXITED(ended) ? WEXITSTATUS(ended) : -1, text("out"), text("err")};
    }

    Outcome simulate(const std::string& arguments) const {
        return run("'" TOLVANE_SIMULATE "' --individuals 20 --megabases 0.2 " + arguments);
    }

    Outcome evaluate(const std::string& arguments) const {
        return run("'" TOLVANE_EVALUATE "' " + arguments);
    }

    std::string text(const std::string& file) const { return support::read_file(folder.at(file)); }

    const support::temporary_folder folder;
};

TEST_F(Programs, SimulatedTruthPassesTheEvaluation) {
    ASSERT_EQ(simulate("--write bed,gen.gz,map,truth.gz --missing 0.1 --out c").status, 0);
    for (const std::string given : {"--genotypes c", "--gen c.gen.gz c.sample"}) {
        const Outcome outcome = evaluate(
            "--truth c.truth.haps.gz c.truth.sample "
            "--estimate c.truth.haps.gz c.truth.sample --per-person table " +
            given);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_NE(outcome.out.find("people compared: 20\nvariants compared: 50\n"), std::string::npos);
        EXPECT_NE(outcome.out.find("switch error rate: 0.000 %\n"), std::string::npos);
        EXPECT_NE(outcome.out.find("genotype mismatches: 0\n"), std::string::npos);
        EXPECT_NE(outcome.out.find("error rate at missing genotypes: 0.000 %\n"), std::string::npos);
        EXPECT_EQ(support::lines_of(text("table")).size(), 21u);
    }
}

TEST_F(Programs, SeedDecidesEveryByte) {
    ASSERT_EQ(simulate("--seed 5 --out a").status, 0);
    ASSERT_EQ(simulate("--seed 5 --out b").status, 0);
    ASSERT_EQ(simulate("--seed 6 --out c").status, 0);
    for (const std::string end : {".bed", ".bim", ".fam", ".map", ".truth.haps.gz", ".truth.sample"}) {
        EXPECT_EQ(text("a" + end), text("b" + end)) << end;
    }
    EXPECT_NE(text("a.bed"), text("c.bed"));
}

TEST_F(Programs, ErrorsEndWithStatusOne) {
    const auto fails = [](const Outcome& outcome, const std::string& reason) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
    };
    fails(simulate(""), "--out");
    fails(simulate("--out /no/such/folder/x"), "cannot create /no/such/folder/x.bed");
    fails(simulate("--missing 2 --out x"), "between 0 and 1");
    fails(simulate("--write bed,bad --out x"), "'bad'");
    fails(simulate("--ascertainment odd --out x"), "odd");
    fails(evaluate("--truth a b --estimate c d"), "cannot open b");
    fails(evaluate("--truth a --estimate c d"), "--truth takes two files");
    fails(evaluate("--truth a b"), "--estimate");
}

TEST_F(Programs, FullDiskIsAnError) {
    for (const std::string form : {"truth", "truth.gz", "map.gz"}) {
        const std::string name = form == "map.gz" ? "full.map.gz" : "full.truth.haps" + form.substr(5);
        ASSERT_EQ(run("ln -s /dev/full " + name).status, 0);
        const Outcome outcome = simulate("--out full --write " + form);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("cannot write " + name), std::string::npos) << outcome.err;
    }
}

TEST_F(Programs, HelpNamesTheOptions) {
    for (const Outcome& outcome : {simulate("--help"), evaluate("--help")}) {
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find("--help"), std::string::npos);
        EXPECT_TRUE(outcome.err.empty());
    }
}

// The generator reproduces the bundled example on every machine.
TEST_F(Programs, ExampleIsReproduced) {
    const Outcome outcome =
        run("TOLVANE_SIMULATE='" TOLVANE_SIMULATE "' '" TOLVANE_ROOT "/tools/make-example' \"$PWD\"");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    for (const std::string name :
         {"study.bed", "study.bim", "study.fam", "study.truth.haps.gz", "study.truth.sample", "map.txt",
          "panel.haps.gz", "panel.legend.gz", "panel.sample"}) {
        const std::string made = text(name);
        const std::string bundled = support::read_file(TOLVANE_ROOT "/example/" + name);
        // Compressed bytes may differ between versions of zlib, but not their content.
        if (name.ends_with(".gz")) {
            EXPECT_EQ(support::gunzip(made), support::gunzip(bundled)) << name;
        } else {
            EXPECT_EQ(made, bundled) << name;
        }
    }
}

}  // namespace
