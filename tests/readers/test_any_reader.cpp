#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "readers/filter_reader.h"
#include "readers/gmap_reader.h"
#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/study.h"
#include "utils/futils.h"
#include "utils/sutils.h"

/// Checks for every file that the program reads: the forms in which a valid file may come, and the ways in
/// which a damaged one stops the run.
namespace {

using support::log_capture;
using support::stops_naming;
using support::stops_with;
using support::study;
using support::temporary_folder;

/// A kind of file: a valid one, and a function that reads the file of a given name and returns what it read
/// as text. Other files that the reader needs are put into the folder.
struct any_file {
    const char* kind;
    const char* name;
    std::string text;
    std::function<std::string(const std::string& file, const temporary_folder& folder)> read;
    bool keeps_carriage_returns = false;
};
void PrintTo(const any_file& file, std::ostream* out) {
    *out << file.kind;
}

template <class Key>
std::string keys(const std::map<Key, bool>& list) {
    std::string text;
    for (const auto& entry : list) {
        if constexpr (std::is_same_v<Key, int>)
            text += std::to_string(entry.first) + ";";
        else
            text += entry.first + ";";
    }
    return text;
}

std::string content(const study& s) {
    std::string text;
    for (const std::string& name : s.store.ind_ids) text += name + ";";
    for (const std::string& variant : s.variants()) text += variant + ";";
    for (const std::string& genotypes : s.genotypes()) text += genotypes + ";";
    return text;
}

const std::string BIM = "20 rs1 0 100 A G\n20 rs2 0 200 C T\n", FAM = "F Ann 0 0 1 0\nF Bob 0 0 1 0\n";
const std::string BED = std::string("\x6C\x1B\x01\x0B\x0E", 5);
const std::string SAMPLE = "ID_1 ID_2 missing\n0 0 0\nF Ann 0\nF Bob 0\n";
const std::string GEN = "20 s1 rs1 100 A G 1 0 0 0 1 0\n20 s2 rs2 200 C T 0 0 1 0 0 0\n";

/// Reads a Plink set or a GEN/SAMPLE pair, one file of which is the one under test.
std::string read_plink(const std::string& bed, const std::string& bim, const std::string& fam,
                       const temporary_folder& folder) {
    study s;
    s.read_bed(bed.empty() ? folder.put("good.bed", BED) : bed,
               bim.empty() ? folder.put("good.bim", BIM) : bim,
               fam.empty() ? folder.put("good.fam", FAM) : fam);
    return content(s);
}
std::string read_impute(const std::string& gen, const std::string& sample, const temporary_folder& folder) {
    study s;
    s.read_gen(gen.empty() ? folder.put("good.gen", GEN) : gen,
               sample.empty() ? folder.put("good.sample", SAMPLE) : sample, 0.9);
    return content(s);
}

const std::string HAPS = "0 1 1 1\n1 0 0 0\n", LEGEND = "id position a0 a1\nrs1 100 A G\nrs2 200 C T\n",
                  PANEL = "sample\nR1\nR2\n";

/// Reads a panel, one file of which is the one under test.
std::string read_panel(const std::string& haps, const std::string& legend, const std::string& sample,
                       const temporary_folder& folder) {
    study s;
    s.read_gen(folder.put("good.gen", GEN), folder.put("good.sample", SAMPLE), 0.9);
    s.read_panel(haps.empty() ? folder.put("good.haps", HAPS) : haps,
                 legend.empty() ? folder.put("good.legend", LEGEND) : legend,
                 sample.empty() ? folder.put("good.panel", PANEL) : sample);
    std::string text;
    for (const std::string& alleles : s.panel_haplotypes()) text += alleles + ";";
    return text;
}

const std::vector<any_file> FILES = {
    {"individual_list", "list", "Ann\nBob\n",
     [](const std::string& file, const temporary_folder&) {
         filter_reader filter;
         filter.readIndIncludeList(file);
         return keys(filter.ind_include);
     },
     true},
    {"variant_list", "list", "100\n200\n",
     [](const std::string& file, const temporary_folder&) {
         filter_reader filter;
         filter.readSnpExcludeList(file);
         return keys(filter.snp_exclude);
     }},
    {"genetic_map", "map", "position rate cM\n100 1 0\n200 1 0.5\n",
     [](const std::string& file, const temporary_folder&) {
         gmap_reader map;
         map.readGeneticMapFile(file);
         std::string text;
         for (std::size_t i = 0; i < map.map_pos.size(); ++i)
             text += std::to_string(map.map_pos[i]) + " " + sutils::double2str(map.map_cm[i], 3) + ";";
         return text;
     }},
    {"bim", "study.bim", BIM,
     [](const std::string& file, const temporary_folder& folder) {
         return read_plink("", file, "", folder);
     }},
    {"fam", "study.fam", FAM,
     [](const std::string& file, const temporary_folder& folder) {
         return read_plink("", "", file, folder);
     }},
    {"bed", "study.bed", BED,
     [](const std::string& file, const temporary_folder& folder) {
         return read_plink(file, "", "", folder);
     }},
    {"gen", "study.gen", GEN,
     [](const std::string& file, const temporary_folder& folder) { return read_impute(file, "", folder); }},
    {"sample", "study.sample", SAMPLE,
     [](const std::string& file, const temporary_folder& folder) { return read_impute("", file, folder); }},
    {"haps", "panel.haps", HAPS,
     [](const std::string& file, const temporary_folder& folder) {
         return read_panel(file, "", "", folder);
     }},
    {"legend", "panel.legend", LEGEND,
     [](const std::string& file, const temporary_folder& folder) {
         return read_panel("", file, "", folder);
     }},
    {"panel_sample", "panel.sample", PANEL,
     [](const std::string& file, const temporary_folder& folder) {
         return read_panel("", "", file, folder);
     }},
};

class any_reader : public ::testing::TestWithParam<any_file> {
  protected:
    std::string read(const std::string& file, const std::string& bytes) {
        return GetParam().read(capture.folder().put(file, bytes), capture.folder());
    }
    bool is_text() const { return GetParam().kind != std::string("bed"); }

    log_capture capture;
    const std::string name = GetParam().name;
    const std::string text = GetParam().text;
    const std::string expected = read("good", text);
};

TEST_P(any_reader, ReadsCompressedFiles) {
    EXPECT_NE(expected.find_first_not_of(';'), std::string::npos);
    EXPECT_EQ(read(name + ".gz", support::gzip(text)), expected);
    EXPECT_EQ(read(name + ".bz2", support::bzip2(text)), expected);
}

TEST_P(any_reader, NeedsNoFinalLineEnd) {
    if (!is_text()) return;
    EXPECT_EQ(read(name, text.substr(0, text.size() - 1)), expected);
}

TEST_P(any_reader, DropsCarriageReturns) {
    if (!is_text()) return;
    std::string windows;
    for (const std::string& line : support::lines_of(text)) windows += line + "\r\n";
    std::string read_back = read(name, windows);
    if (GetParam().keeps_carriage_returns) {
        EXPECT_NE(read_back, expected) << "identifiers are whole lines";
        std::erase(read_back, '\r');
    }
    EXPECT_EQ(read_back, expected);
}

TEST_P(any_reader, DropsAByteOrderMark) {
    if (!is_text()) return;
    EXPECT_EQ(read(name, "\xEF\xBB\xBF" + text), expected);
    EXPECT_EQ(read(name + ".gz", support::gzip("\xEF\xBB\xBF" + text)), expected);
}

TEST_P(any_reader, StopsIfItIsNotAFile) {
    const temporary_folder& folder = capture.folder();
    for (const std::string& missing : {folder.at("missing"), folder.at("missing.gz"), folder.path()})
        EXPECT_TRUE(stops_with(futils::cannotOpen(missing), [&] { GetParam().read(missing, folder); }));
}

TEST_P(any_reader, StopsAtATruncatedCompressedFile) {
    for (const auto& [ending, whole] : {std::pair(std::string(".gz"), support::gzip(text)),
                                        std::pair(std::string(".bz2"), support::bzip2(text))})
        for (const std::size_t n : {std::size_t{0}, whole.size() / 2, whole.size() - 1}) {
            const std::string cut = capture.folder().put(name + ending, whole.substr(0, n));
            EXPECT_TRUE(
                stops_naming({cut + " could not be read: "}, [&] { GetParam().read(cut, capture.folder()); }))
                << ending << ", " << n << " of " << whole.size() << " bytes";
        }
}

INSTANTIATE_TEST_SUITE_P(Readers, any_reader, ::testing::ValuesIn(FILES),
                         [](const auto& file) { return std::string(file.param.kind); });

}  // namespace
