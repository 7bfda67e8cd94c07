// Runs the program on generated cohorts and prints what matters to a user: seconds, memory, and the share of
// the processor time spent in the inner loops of the copying model (the efficiency).
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/program_options.hpp>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "kernel_times.h"
#include "models/column_kernels.h"
#include "modes/phaser.h"
#include "tools/cohort_files.h"

namespace {

namespace po = boost::program_options;

struct settings {
    int individuals;
    double megabases;
    double density;
    int threads;
    int states;
    std::string options;  // further options for the program
    bool each_kernel;     // also print the time of each kernel
};

double wall_seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double cpu_seconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

double peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

/// CPU seconds of the stages of a run.
struct times {
    double start, chain, end, wall;
};

/// Runs the three parts of a run; the first one starts at `cpu0`.
times run_program(phaser& run, double cpu0, double wall0) {
    run.read_files_and_initialise();
    const double cpu1 = cpu_seconds();
    run.run_chain();
    const double cpu2 = cpu_seconds();
    run.write_files_and_finalise();
    return {cpu1 - cpu0, cpu2 - cpu1, cpu_seconds() - cpu2, wall_seconds() - wall0};
}

long values(const model_work& work) {
    long n = 0;
    for (std::size_t c = 0; c < work.rows.size(); ++c) n += static_cast<long>(c) * work.rows[c];
    return n;
}

long pair_products(const model_work& work) {
    long n = 0;
    for (std::size_t c = 0; c < work.rows.size(); ++c)
        for (std::size_t d = 0; d < work.rows.size(); ++d)
            n += static_cast<long>(c * d) * work.pair_rows[c][d];
    return n;
}

/// Prints the share of the time in which only one thread can work, and the speed-up to be expected from it
/// (Amdahl 1967). Threads that wait for the last items of a pass are not in it.
void print_expected_speed_up(const team_seconds& team, double wall, std::FILE* out) {
    const double alone = (wall - team.in_passes + team.in_turns) / wall;
    std::fprintf(out, "    one after another: %.2f %% of the time, %.2f %% in turns; speed-up", 100.0 * alone,
                 100.0 * team.in_turns / wall);
    for (const int n : {2, 16, 64, 128})
        std::fprintf(out, ", %d threads: %.1f", n, 1.0 / (alone + (1.0 - alone) / n));
    std::fprintf(out, "\n");
}

/// Runs in a process of its own, so that the memory is that of this run only, and writes one line to `out`.
void measure(const settings& s, const std::string& folder, std::FILE* out) {
    std::istringstream line("-B " + folder + "/study -M " + folder + "/study.map -O " + folder + "/out -L " +
                            folder + "/run.log --seed 1 -T " + std::to_string(s.threads) + " --states " +
                            std::to_string(s.states) + " " + s.options);
    const std::vector<std::string> args{std::istream_iterator<std::string>(line), {}};
    const int silence = ::open("/dev/null", O_WRONLY);
    ::dup2(silence, STDOUT_FILENO);
    // The speed of the host changes from minute to minute, so kernels are timed before and after the run.
    const auto before = bench::kernel_speed::now(s.states);
    const double start = cpu_seconds(), wall = wall_seconds();
    phaser run(args, std::time(nullptr));
    const times t = run_program(run, start, wall);
    const double cpu = cpu_seconds() - start, memory = peak_megabytes();
    const auto after = bench::kernel_speed::now(s.states);
    const job_cost cost = run.cost_of_jobs();
    const std::vector<bench::kernel_time> times_of_kernels =
        bench::times_of_kernels(cost.model, bench::kernel_speed::between(before, after));
    double kernels = 0.0;
    for (const bench::kernel_time& time : times_of_kernels) kernels += time.seconds();
    const double rest = t.chain - cost.selection_seconds - cost.model_seconds;
    const auto share = [cpu](double part) { return 100.0 * part / cpu; };
    std::fprintf(
        out,
        "%11d %8.0f %7d %6d | %8.2f %8.2f %7.1f | %9.3g %9.3g | %10.2f | %5.1f %5.1f %5.1f %5.1f %5.1f\n",
        s.individuals, s.megabases * s.density, s.threads, s.states, cpu, t.wall, memory,
        static_cast<double>(values(cost.model)), static_cast<double>(pair_products(cost.model)),
        kernels / cpu, share(t.start), share(cost.selection_seconds), share(cost.model_seconds), share(rest),
        share(t.end));
    if (s.threads == 1) print_expected_speed_up(run.seconds_of_team(), t.wall, out);
    if (s.each_kernel)
        for (const bench::kernel_time& time : times_of_kernels)
            std::fprintf(out, "    %-13s %9.3g values of %.3f ns: %5.2f s\n", time.kernel.c_str(),
                         time.values, time.ns_a_value, time.seconds());
    std::fflush(out);
}

void write_cohort(const settings& s, const std::string& folder) {
    simulation::Settings cohort;
    cohort.individuals = s.individuals;
    cohort.megabases = s.megabases;
    cohort.density = s.density;
    cohort.missing_rate = 0.005;
    if (s.density > 1000) cohort.ascertainment = simulation::Ascertainment::sequence;
    const auto simulated = simulation::simulate(cohort);
    simulation::write_bed(simulated, folder + "/study");
    simulation::write_map(simulated, folder + "/study", false);
}

bool run_in_child(const settings& s, const std::string& folder, std::FILE* out) {
    const pid_t child = ::fork();
    if (child == 0) {
        measure(s, folder, out);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<int> individuals, threads;
    settings s{};
    po::options_description options("Times whole runs on generated cohorts");
    auto add = options.add_options();
    add("help", "print this text");
    add("individuals", po::value(&individuals)->multitoken()->default_value({200, 1000}, "200 1000"),
        "cohorts");
    add("threads", po::value(&threads)->multitoken()->default_value({1}, "1"), "numbers of threads");
    add("megabases", po::value(&s.megabases)->default_value(10), "length of the region");
    add("density", po::value(&s.density)->default_value(250),
        "variants per Mb; above 1000 as sequencing finds them");
    add("states", po::value(&s.states)->default_value(100), "conditioning haplotypes");
    add("options", po::value(&s.options)->default_value(""),
        "further options of the program, in one argument");
    add("kernels", po::bool_switch(&s.each_kernel), "list the kernels, their values and their speed");
    po::variables_map given;
    po::store(po::parse_command_line(argc, argv, options), given);
    po::notify(given);
    if (given.count("help") > 0) {
        std::cout << options;
        return 0;
    }
    std::FILE* out = ::fdopen(::dup(STDOUT_FILENO), "w");
    std::fprintf(out, "kernels: %s\n", column_kernels::kernels().name);
    std::fprintf(
        out,
        "individuals variants threads states |  CPU (s) wall (s)    (MB) |    values     pairs | efficiency"
        " | %% of CPU: start, selection, model, rest of the chain, end\n");
    std::fflush(out);
    for (const int n : individuals) {
        s.individuals = n;
        char folder[] = "/tmp/tolvane-whole-run-XXXXXX";
        if (::mkdtemp(folder) == nullptr) return 1;
        write_cohort(s, folder);
        for (const int thread : threads) {
            s.threads = thread;
            if (!run_in_child(s, folder, out)) std::fprintf(stderr, "the run of %d individuals failed\n", n);
        }
        std::filesystem::remove_all(folder);
    }
}
