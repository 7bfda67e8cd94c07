#include "readers/gmap_reader.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/log_capture.h"

namespace {

using support::log_capture;
using support::stops_with;

TEST(GmapReader, ReadsPositionsAndGeneticPositions) {
    const log_capture capture;
    const std::string name = capture.folder().put(
        "map", "position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n100 1.5 0\n  200\tx\t0.25\n300 2 0.25 \r\n");
    gmap_reader map;
    map.readGeneticMapFile(name);
    EXPECT_EQ(map.map_pos, (std::vector<int>{100, 200, 300}));
    EXPECT_EQ(map.map_cm, (std::vector<double>{0.0, 0.25, 0.25}));
    EXPECT_EQ(capture.log(), "\nReading genetic map in [" + name + "]\n  * 3 genetic positions found\n");
    EXPECT_EQ(capture.console(), capture.log());
}

TEST(GmapReader, AppendsToItsLists) {
    const log_capture capture;
    gmap_reader map;
    map.readGeneticMapFile(capture.folder().put("first", "h\n100 0 1\n"));
    map.readGeneticMapFile(capture.folder().put("second", "h\n50 0 0.5\n"));
    EXPECT_EQ(map.map_pos, (std::vector<int>{100, 50})) << "order is checked within a file";
}

TEST(GmapReader, HeaderAloneIsAnEmptyMap) {
    for (const char* text : {"position rate cM\n", "position rate cM", ""}) {
        const log_capture capture;
        const std::string name = capture.folder().put("map", text);
        gmap_reader map;
        map.readGeneticMapFile(name);
        EXPECT_TRUE(map.map_pos.empty());
        EXPECT_TRUE(map.map_cm.empty());
        EXPECT_EQ(capture.log(), "\nReading genetic map in [" + name + "]\n  * 0 genetic positions found\n");
    }
}

TEST(GmapReader, AcceptsEqualPositions) {
    struct row {
        const char* name;
        const char* lines;
        std::size_t n;
    };
    for (const row& r :
         {row{"equal positions", "100 0 1\n100 0 2\n200 0 2\n", 3}, row{"equal cM", "100 0 1\n200 0 1\n", 2},
          row{"both equal", "50 0 0\n100 0 1\n100 0 1\n", 3}, row{"least start", "-1 0 -1\n", 1},
          row{"negative cM", "100 0 -0.5\n200 0 0\n", 2}, row{"text is 0", "x 0 y\n0 0 0\n5 0 0\n", 3}}) {
        const log_capture capture;
        gmap_reader map;
        map.readGeneticMapFile(capture.folder().put("map", std::string("header\n") + r.lines));
        EXPECT_EQ(map.map_pos.size(), r.n) << r.name;
        EXPECT_EQ(map.map_cm.size(), r.n) << r.name;
    }
}

TEST(GmapReader, ErrorsStopTheRun) {
    struct row {
        const char* name;
        const char* lines;
        const char* message;
    };
    for (const row& r : {row{"position falls", "1000 0 5\n900 0 6\n",
                             "Wrong order in your genetic map file 1000bp / 5.00000cM > 900bp / 6.00000cM"},
                         row{"cM falls", "900 0 6\n1000 0 5.5\n",
                             "Wrong order in your genetic map file 900bp / 6.00000cM > 1000bp / 5.50000cM"},
                         row{"below the least start", "-2 0 0\n",
                             "Wrong order in your genetic map file -1bp / -1.00000cM > -2bp / 0.00000cM"},
                         row{"cM below the least start", "0 0 -1.5\n",
                             "Wrong order in your genetic map file -1bp / -1.00000cM > 0bp / -1.50000cM"},
                         row{"two columns", "100 0 1\n200 1\n",
                             "Parsing line 1 : incorrect number of columns, observed: 2 expected: 3"},
                         row{"four columns", "100 0 1 x\n",
                             "Parsing line 0 : incorrect number of columns, observed: 4 expected: 3"},
                         row{"empty line", "100 0 1\n200 0 1\n\n300 0 1\n",
                             "Parsing line 2 : incorrect number of columns, observed: 0 expected: 3"}}) {
        const log_capture capture;
        const std::string name = capture.folder().put("map", std::string("header\n") + r.lines);
        EXPECT_TRUE(stops_with(r.message, [&] { gmap_reader().readGeneticMapFile(name); })) << r.name;
    }
}

TEST(GmapReader, MapsWithoutRatesStopTheRun) {
    struct row {
        const char* name;
        const char* lines;
        const char* message;
    };
    const std::string layout =
        "; a map has position (bp), rate (ignored) and genetic position (cM), in this order";
    for (const row& r :
         {row{"one position", "100 0 1\n100 0 2\n", " line 3: all points have the position 100"},
          row{"text as positions", "x 0 1\ny 0 2\nz 0 3\n", " line 4: all points have the position 0"},
          row{"swapped columns", "0.1 0 100\n0.2 0 200\n", " line 3: all points have the position 0"},
          row{"too large", "100 0 1\n2000000000 0 1e300\n", " is too large for a genetic position in cM"},
          row{"too large for variants far behind the map", "3 0 1\n4 0 1e305\n",
              " is too large for a genetic position in cM"}}) {
        const log_capture capture;
        const std::string name = capture.folder().put("map", std::string("header\n") + r.lines);
        EXPECT_TRUE(support::stops_naming({name, r.message, layout}, [&] {
            gmap_reader().readGeneticMapFile(name);
        })) << r.name;
    }
    for (const char* cm : {"inf", "-inf", "nan", "1e999"}) {
        const log_capture capture;
        const std::string name =
            capture.folder().put("map", std::string("header\n100 0 1\n200 0 ") + cm + "\n");
        EXPECT_TRUE(stops_with(name + " line 3: [" + cm + "] is no genetic position in cM",
                               [&] { gmap_reader().readGeneticMapFile(name); }));
    }
}

TEST(GmapReader, PositionsBeyondAnIntStopTheRun) {
    const log_capture capture;
    const std::string name = capture.folder().put("map", "header\n100 0 1\n3000000000 0 2\n");
    EXPECT_TRUE(support::stops_naming({name + " line 3: ", "[3000000000] is out of range"},
                                      [&] { gmap_reader().readGeneticMapFile(name); }));
}

TEST(GmapReader, LayoutsWithAChromosome) {
    const log_capture capture;
    const std::string plink =
        capture.folder().put("plink", "19 a 1.5 900\nchr20 b 0.25 100\n20\t.\t1e0\t200\n21 c 0 5\n");
    const std::string table =
        capture.folder().put("table", "chr pos rate cM\nchr20 100 7 0.25\nchr20 200 x 1\nchr21 1 1 1\n");
    for (const auto& [file, layout] : {std::pair(plink, map_layout::plink), {table, map_layout::table}})
        for (const char* name : {"20", "chr20"}) {
            gmap_reader map;
            map.read(file, layout, name);
            EXPECT_EQ(map.map_pos, (std::vector<int>{100, 200})) << file;
            EXPECT_EQ(map.map_cm, (std::vector<double>{0.25, 1.0})) << file;
        }
}

TEST(GmapReader, TellsIfTheChromosomeHasAnotherName) {
    for (const auto& [name, told] :
         {std::pair("20", "  * Chromosome 20 is chr20 in this file\n"), {"chr20", ""}}) {
        const log_capture capture;
        const std::string file = capture.folder().put("map", "chr20 a 0 1\nchr20 b 1 2\n");
        gmap_reader map;
        map.read(file, map_layout::plink, name);
        EXPECT_EQ(capture.log(),
                  "\nReading genetic map in [" + file + "]\n" + told + "  * 2 genetic positions found\n");
    }
}

TEST(GmapReader, TheHapmapLayoutIsThatOfTheOtherFunction) {
    const log_capture capture;
    gmap_reader map;
    map.read(capture.folder().put("map", "h\n100 0 1\n"), map_layout::hapmap, "20");
    EXPECT_EQ(map.map_pos, std::vector<int>{100});
}

TEST(GmapReader, AMapOfOneChromosomeNeedsNoName) {
    const log_capture capture;
    gmap_reader map;
    map.read(capture.folder().put("map", "7 a 0 1\n7 b 1 2\n"), map_layout::plink, "");
    EXPECT_EQ(map.map_pos.size(), 2U);
}

TEST(GmapReader, BadLayoutsStopTheRun) {
    struct row {
        const char *text, *message;
        map_layout layout = map_layout::plink;
        const char* chromosome = "20";
    };
    for (const row& r :
         {row{"20 a 1\n", "line 1 has 3 columns, expected chromosome, identifier, genetic position"},
          row{"20 a x 5\n", "line 1: [x] is no number, expected chromosome"},
          row{"20 a 1 5\n20 a 1 x\n", "line 2: [x] is no number"},
          row{"19 a 1 5\n21 a 1 6\n", "has no points of chromosome 20, only of 19, 21"},
          row{"", "has no points"},
          row{"19 a 1 5\n21 a 1 6\n", "has several chromosomes (19, 21)", map_layout::plink, ""},
          row{"20 a 1 6\n20 a 1 5\n", "Wrong order in your genetic map file"},
          row{"20 a 1 6\n20 a 2 6\n", "all points have the position 6"},
          row{"chr pos rate cM\n20 5 1\n", "line 2 has 3 columns, expected chromosome, position (bp), rate",
              map_layout::table}}) {
        const log_capture capture;
        const std::string name = capture.folder().put("map", r.text);
        gmap_reader map;
        EXPECT_TRUE(support::stops_naming({r.message}, [&] { map.read(name, r.layout, r.chromosome); }))
            << r.text;
    }
}

}  // namespace
