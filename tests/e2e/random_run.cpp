#include "random_run.h"

#include <algorithm>
#include <cmath>

#include "support/files.h"
#include "tools/simulation.h"

namespace e2e {

namespace {

constexpr int ENOUGH_FOR_PLAIN = 10;  // people; with fewer, five conditioning haplotypes may not be found
constexpr int ENOUGH_FOR_TREES = 70;  // people; with fewer, the first split of a tree may fail

std::string text_of(int number) {
    return std::to_string(number);
}

}  // namespace

random_run::random_run(unsigned seed) : random(seed) {
    has_trees = chance(15);
    has_panel = chance(30);
    from_gen = chance(50);
    if (from_gen && chance(50)) threshold = one_of<double>({0.51, 0.8, 0.99, 1.0});
    draw_cohort();
    spoil_genotypes();
    spoil_variants();
    draw_filters();
    from_gen ? write_gen() : write_plink();
    write_map();
    if (has_panel) write_panel();
    draw_options();
}

void random_run::draw_cohort() {
    simulation::Settings settings;
    settings.seed = random();
    settings.individuals = has_trees ? draw(ENOUGH_FOR_TREES, 100) : draw(ENOUGH_FOR_PLAIN, 30);
    settings.panel_individuals = has_panel ? draw(1, 20) : 0;
    settings.megabases = has_trees ? 1.0 : 0.1 * draw(1, 8);
    settings.density = has_trees ? 300 : one_of<double>({40, 150, 300});
    settings.ascertainment =
        has_trees || chance(70) ? simulation::Ascertainment::array : simulation::Ascertainment::sequence;
    settings.extra_in_panel_rate = has_panel ? 0.2 : 0.0;
    const simulation::Cohort cohort = simulation::simulate(settings);
    people = cohort.study_ids;
    panel_people = cohort.panel_ids;
    people.back() = "Zo\xC3\xAB-" + people.back();
    for (std::size_t l = 0; l < cohort.loci.size(); ++l) {
        const simulation::Locus& locus = cohort.loci[l];
        if (!locus.in_study) continue;
        drawn_variant variant{locus.id, locus.position, locus.allele0, locus.allele1, {}};
        for (std::size_t i = 0; i < people.size(); ++i)
            variant.genotypes.push_back(cohort.alleles(l, 2 * i) + cohort.alleles(l, 2 * i + 1));
        variants.push_back(variant);
        panel_alleles.emplace_back();
        for (std::size_t h = 2 * people.size(); h < cohort.alleles.columns(); ++h)
            panel_alleles.back().push_back(cohort.alleles(l, h));
    }
}

void random_run::spoil_genotypes() {
    const int percent_missing = one_of<int>({0, 0, 1, 5, 20, 40});
    const int percent_of_one_allele = one_of<int>({0, 5, 30});
    for (drawn_variant& variant : variants) {
        if (chance(percent_of_one_allele))
            std::fill(variant.genotypes.begin(), variant.genotypes.end(), one_of<int>({0, 2}));
        for (int& genotype : variant.genotypes)
            if (chance(percent_missing)) genotype = NOT_CALLED;
    }
    if (chance(10))  // a person without any genotype, which ends the run
        for (drawn_variant& variant : variants) variant.genotypes[0] = NOT_CALLED;
}

/// Duplicate positions, negative positions, and unknown alleles. A panel has to match each variant by
/// position and alleles, so with a panel only some of this is done.
void random_run::spoil_variants() {
    const bool with_odd_ones = chance(40);
    for (std::size_t v = 1; with_odd_ones && v < variants.size(); ++v) {
        drawn_variant &variant = variants[v], &before = variants[v - 1];
        const bool same_pair = std::minmax(variant.a0, variant.a1) == std::minmax(before.a0, before.a1);
        const bool before_is_single = v < 2 || variants[v - 2].position != before.position;
        if (chance(10) && before.position > 0 && before_is_single && !(has_panel && same_pair))
            variant.position = before.position;
        if (chance(5)) variant.position = -variant.position;
        if (has_panel) continue;
        const auto is_two = [](int genotype) { return genotype == 2 || genotype == NOT_CALLED; };
        if (std::all_of(variant.genotypes.begin(), variant.genotypes.end(), is_two)) variant.a0 = "0";
        const auto is_none = [](int genotype) { return genotype <= 0; };
        if (std::all_of(variant.genotypes.begin(), variant.genotypes.end(), is_none)) variant.a1 = "0";
        if (chance(3)) variant.a1 = variant.a0;
    }
}

void random_run::draw_filters() {
    person_kept.assign(people.size(), true);
    panel_person_kept.assign(panel_people.size(), true);
    variant_kept.clear();
    for (const drawn_variant& variant : variants) variant_kept.push_back(variant.position >= 0);
    if (chance(40)) filter_people();
    if (chance(50)) filter_positions();
}

void random_run::filter_people() {
    const bool is_exclusion = chance(50);
    std::string list = "nobody\n";
    const auto apply = [&](const std::string& name) {
        const bool is_named = chance(is_exclusion ? 10 : 90);
        if (is_named) list += name + "\n";
        return is_named != is_exclusion;
    };
    for (std::size_t i = 0; i < people.size(); ++i) person_kept[i] = apply(people[i]);
    for (std::size_t i = 0; i < panel_people.size(); ++i) panel_person_kept[i] = apply(panel_people[i]);
    if (std::count(person_kept.begin(), person_kept.end(), true) < ENOUGH_FOR_PLAIN) {
        person_kept.assign(people.size(), true);
        panel_person_kept.assign(panel_people.size(), true);
        return;
    }
    command += std::string(is_exclusion ? " --exclude-ind " : " --include-ind ") + put("people", list, false);
}

void random_run::filter_positions() {
    std::string list = "not-a-position\n";
    const bool is_exclusion = chance(50);
    std::vector<int> named;
    for (const drawn_variant& variant : variants)
        if (chance(is_exclusion ? 15 : 80)) named.push_back(variant.position);
    for (const int position : named) list += text_of(position) + " and a remark\n";
    int from = 0, to = 1000000000;
    if (chance(50)) {
        // The first split of a tree may fail in a window with few variants.
        from = std::abs(has_trees ? variants.front().position : one_of(variants).position) + draw(0, 1);
        to = from + draw(has_trees ? 800000 : 1, 1000000);
        command += " --input-from " + text_of(from) + " --input-to " + text_of(to);
    }
    for (std::size_t v = 0; v < variants.size(); ++v) {
        const int position = variants[v].position;
        const bool is_named = std::find(named.begin(), named.end(), position) != named.end();
        variant_kept[v] = position >= 0 && is_named != is_exclusion && position >= from && position < to;
    }
    command += std::string(is_exclusion ? " --exclude-snp " : " --include-snp ") + put("positions", list);
}

void random_run::draw_options() {
    const auto add = [this](const std::string& option, int value) {
        command += " " + option + " " + text_of(value);
    };
    add("--seed", draw(0, 1000000));
    add("--burn", draw(0, 2));
    add("--prune", draw(1, 3));
    add("--main", draw(1, 4));
    add("--states", has_trees ? 8 : draw(6, 40));
    if (chance(60)) add("--thread", draw(1, 4));
    if (chance(20)) add("--effective-size", one_of<int>({50, 1000, 100000}));
    if (has_trees) {
        add("--cluster-size", draw(40, 60));
        if (chance(50)) add("--cluster_main", 2);
    }
    const bool has_matches = !has_trees && chance(40);
    if (has_matches) {
        command += " --match";
        if (chance(30)) add("--match-depth", draw(1, 20));
        if (chance(30)) command += " --match-step " + one_of<std::string>({"0.001", "0.1", "5"});
        if (chance(30)) command += " --mismatch " + one_of<std::string>({"0.000001", "0.01", "0.5"});
    }
    if (!has_matches || chance(50))
        command +=
            " --window " + (has_trees ? "0.5" : one_of<std::string>({"0.1", "0.25", "0.7", "2", "9.5"}));
    if (!has_matches && chance(30)) command += " --early-stopping";
    if (chance(40)) {
        haps = one_of<std::string>({"o.haps.gz", "o.haps.bz2", "o"});
        sample = one_of<std::string>({"s.gz", "s.bz2", "s"});
        command += " -O " + haps + " " + sample + " -L run.log";
    } else {
        command += " -O out -L run.log";
    }
}

std::string random_run::put(const std::string& name, std::string text, bool may_have_crlf) {
    if (may_have_crlf && chance(15)) {
        std::string with_crlf;
        for (const char c : text) with_crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        text = with_crlf;
    }
    const std::string ending = one_of<std::string>({"", "", ".gz", ".bz2"});
    files.put(name + ending,
              ending.empty() ? text : (ending == ".gz" ? support::gzip(text) : support::bzip2(text)));
    return name + ending;
}

void random_run::write_plink() {
    std::string bim, fam, bed = "\x6C\x1B";
    for (const drawn_variant& v : variants)
        bim += "20\t" + v.id + " 0 " + text_of(v.position) + "\t" + v.a0 + " " + v.a1 + "\n";
    for (const std::string& person : people) fam += "family " + person + " 0 0 1 -9\n";
    const bool by_variant = chance(70);
    bed += by_variant ? '\1' : '\0';
    const std::size_t n_rows = by_variant ? variants.size() : people.size();
    const std::size_t n_columns = by_variant ? people.size() : variants.size();
    for (std::size_t r = 0; r < n_rows; ++r)
        for (std::size_t c = 0; c < n_columns; ++c) {
            // The codes of missing, 0, 1 and 2 copies of the second allele.
            constexpr int CODES[] = {1, 0, 2, 3};
            if (c % 4 == 0) bed += '\0';
            const int genotype = by_variant ? variants[r].genotypes[c] : variants[c].genotypes[r];
            bed.back() = static_cast<char>(bed.back() | CODES[genotype + 1] << 2 * (c % 4));
        }
    command +=
        " -B " + put("study.bed", bed, false) + " " + put("study.bim", bim) + " " + put("study.fam", fam);
}

/// Three probabilities for which the threshold calls this genotype, or none. They need not sum to 1.
std::string random_run::probabilities(int genotype) {
    if (genotype == NOT_CALLED && chance(50)) return "0 0 0";
    while (true) {
        int p[3] = {draw(0, 1000), draw(0, 1000), draw(0, 1000)};
        if (genotype != NOT_CALLED) {
            p[genotype] += draw(0, 100000);
            if (threshold == 1.0 || chance(50)) {  // a certain genotype
                p[0] = p[1] = p[2] = 0;
                p[genotype] = one_of<int>({1000, 500, 2});
            }
        }
        const double sum = p[0] + p[1] + p[2];
        int call = NOT_CALLED;
        bool is_close = sum == 0;
        for (int g = 0; g < 3; ++g) {
            if (p[g] >= threshold * sum) call = g;
            // Too close to the threshold: rounding decides, except for exactly 1.
            is_close |= std::abs(p[g] - threshold * sum) < 0.001 * sum && p[g] < sum;
        }
        if (call != genotype || is_close) continue;
        std::string text;
        for (const int value : p) text += (text.empty() ? "" : " ") + std::to_string(value / 1000.0);
        return text;
    }
}

std::string random_run::gen_line(std::size_t v, layout form) {
    drawn_variant& variant = variants[v];
    const bool is_old = form == layout::old_gen || (form == layout::mixed_gen && chance(50));
    std::string line = std::string(is_old ? "" : "20 ") + "name " + variant.id + " " +
                       text_of(variant.position) + " " + variant.a0 + " " + variant.a1;
    for (int& genotype : variant.genotypes) {
        line += " " + probabilities(genotype);
        // In the old layout all calls of a variant that names one allele twice are homozygous.
        if (is_old && variant.a0 == variant.a1 && genotype != NOT_CALLED) genotype = 0;
    }
    return line + "\n";
}

void random_run::write_gen() {
    std::string gen, list = "ID_1 ID_2 missing\n0 0 0\n";
    for (const std::string& person : people) list += "family " + person + " 0\n";
    const auto form = one_of<layout>({layout::old_gen, layout::new_gen, layout::mixed_gen});
    for (std::size_t v = 0; v < variants.size(); ++v) gen += gen_line(v, form);
    command += " -G " + put("study.gen", gen) + " " + put("study.sample", list);
    if (threshold != 0.9) command += " --input-thr " + std::to_string(threshold);
}

void random_run::write_map() {
    std::string map = "position rate cM\n";
    double cm = 0.1 * draw(0, 50);
    int last = 0;
    const auto add = [&](int position) {
        if (position <= last) return;
        map += text_of(position) + " 1.0 " + std::to_string(cm) + "\n";
        cm += 1e-6 * (position - last) * (last == 0 ? 0.01 : 0.1 * draw(1, 30));
        last = position;
    };
    const bool starts_before = chance(50), ends_behind = chance(50);
    if (starts_before) add(500000);
    for (const drawn_variant& variant : variants)
        if (chance(30)) add(variant.position + draw(0, 1));
    add(last + 1);
    add(last + (ends_behind ? 2000000 : 1));
    command += " -M " + put("study.map", map);
}

/// The legend may have the alleles in the other order, rows are shuffled, and some match no study variant.
void random_run::write_panel() {
    struct row {
        std::string legend, alleles;
    };
    std::vector<row> rows;
    for (std::size_t v = 0; v < variants.size(); ++v) {
        const drawn_variant& variant = variants[v];
        const bool is_swapped = chance(30);
        const std::string pair =
            " " + (is_swapped ? variant.a1 + " " + variant.a0 : variant.a0 + " " + variant.a1);
        std::string alleles;
        for (const bool allele : panel_alleles[v]) alleles += allele != is_swapped ? "1 " : "0 ";
        rows.push_back({"x " + text_of(variant.position) + pair, alleles});
        if (chance(20)) rows.push_back({"y " + text_of(variant.position) + " A <DEL>", alleles});
    }
    std::shuffle(rows.begin(), rows.end(), random);
    std::string legend = "id position a0 a1\n", alleles, list = "sample population\n";
    for (const row& r : rows) {
        legend += r.legend + "\n";
        alleles += r.alleles + "\n";
    }
    for (const std::string& person : panel_people) list += person + " p\n";
    command += " -R " + put("panel.haps", alleles) + " " + put("panel.legend", legend) + " " +
               put("panel.sample", list);
}

}  // namespace e2e
