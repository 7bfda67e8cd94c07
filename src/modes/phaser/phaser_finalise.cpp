#include "modes/phaser/phaser.h"
#include "modules/solver.h"
#include "writers/haplotype_writer.h"

void phaser::phase(const std::vector<std::string>& args) {
    declare_options();
    parse_command_line(args, "Phaser");
    check_options();
    check_files();
    verbose_mode();
    verbose_options();
    read_files_and_initialise();
    phase();
    write_files_and_finalise();
}

void phaser::write_files_and_finalise() {
    tolvane::write_files_and_finalise();
    jobs.clear();
    solver(haplotypes, value<int>("thread")).solve();
    const auto output = files("output-max", {".haps", ".sample"});
    haplotype_writer(haplotypes).writeHaplotypeHap(output[0], output[1]);
}
