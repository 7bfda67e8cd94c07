#include "readers/bed_source.h"

#include <algorithm>
#include <array>
#include <utility>

#include "readers/bed_decoding.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

namespace {

constexpr std::array<unsigned char, 2> MAGIC = {0x6C, 0x1B};
constexpr int N_FIELDS = 6;
constexpr int MISSING = 1, HETEROZYGOUS = 2, HOMOZYGOUS_SECOND = 3;  // genotype codes

/// Calls `keep(fields, line number)` for each line of a BIM or FAM file, which returns whether the line is
/// kept. Prints how many lines were kept.
template <class Keep>
void read_table(const std::string& file, const std::string& things, Keep keep) {
    ifile stream(file);
    std::string line;
    std::vector<std::string> fields;
    long included = 0, number = 0;
    while (stream.getLine(line)) {
        ++number;
        const int n_fields = sutils::tokenize(line, fields);
        if (n_fields != N_FIELDS)
            LOG.error("Line=" + sutils::long2str(number) + " found=" + sutils::int2str(n_fields) +
                      " fields expected=" + sutils::int2str(N_FIELDS));
        included += keep(fields, number);
    }
    stream.close();
    LOG.println("  * " + sutils::long2str(included) + " " + things + " included");
    if (included < number)
        LOG.println("  * " + sutils::long2str(number - included) + " " + things + " excluded");
}

int bytes_for(std::size_t n_genotypes) {
    return static_cast<int>((n_genotypes + 3) / 4);
}

/// Reads the next row of a BED file. If the file ends within the row, calls `fail` with the first missing
/// genotype (the first of its byte), which ends the run.
template <class Fail>
void read_row(ifile& stream, unsigned char* row, int n_bytes, Fail fail) {
    if (!stream.readBytes(reinterpret_cast<char*>(row), n_bytes)) fail(static_cast<int>(4 * stream.gcount()));
}

[[noreturn]] void stop_short(const char* mode, int ind, std::size_t variant) {
    LOG.error(std::string("Binary file ") + mode + " corrupted ind=" + sutils::int2str(ind) +
              " snp=" + std::to_string(variant));
}

}  // namespace

bed_source::bed_source(const std::string& bed, const std::string& bim, const std::string& fam,
                       filter_reader& filter, study_facts facts)
    : intake(filter, std::move(facts)) {
    read_bim(bim);
    read_fam(fam);
    open_bed(bed);
}

void bed_source::read_bim(const std::string& bim) {
    LOG.println("\nReading SNPs in [" + bim + "] in Plink BIM format");
    read_table(bim, "SNPs", [&](const std::vector<std::string>& fields, long number) {
        const int position = sutils::str2int(fields[3], bim, number);
        keeps_variant.push_back(intake.keeps_variant(position, fields[0]));
        if (!keeps_variant.back()) return false;
        snp& variant = variants.emplace_back(position, fields[4], fields[5]);
        variant.chromosome = intake.chromosome_or(fields[0]);
        variant.id = fields[1];
        check_identifier(variant.id, {bim, number});
        intake.check_chromosome(variant.chromosome, {bim, number});
        return true;
    });
    if (!variants.empty() && variants.back().bp == 0) {
        LOG.refuse("bim-positions", bim, 0, "no position above 0", "the list of variants");
        LOG.warning("no variant has a position above 0: is [" + bim + "] the list of variants?");
    }
}

void bed_source::read_fam(const std::string& fam) {
    LOG.println("\nReading individuals in [" + fam + "] in Plink FAM format");
    read_table(fam, "individuals", [&](const std::vector<std::string>& fields, long number) {
        const bool is_kept = intake.keeps_individual(fields[1], {fam, number});
        ind_at.push_back(is_kept ? static_cast<int>(ids.size()) : -1);
        if (is_kept) ids.push_back(fields[1]);
        return is_kept;
    });
}

void bed_source::open_bed(const std::string& bed) {
    LOG.println("\nReading genotypes in [" + bed + "] in Plink BED format");
    if (!stream.open(bed, true)) LOG.error(futils::cannotOpen(bed));
    std::array<char, 3> head{};
    if (!stream.readBytes(head.data(), head.size()) || static_cast<unsigned char>(head[0]) != MAGIC[0] ||
        static_cast<unsigned char>(head[1]) != MAGIC[1])
        LOG.error("Binary file format unsupported");
    is_by_variant = (head[2] & 1) != 0;
    LOG.println(std::string("  * Plink binary file ") + (is_by_variant ? "SNP-major" : "individual-major") +
                " mode");
    const std::size_t n_rows = is_by_variant ? BLOCK_VARIANTS : 1;
    rows.assign(n_rows * bytes_for(is_by_variant ? ind_at.size() : keeps_variant.size()), 0);
    words.resize(ind_at.size());
}

bool bed_source::read(genotype_block& block) {
    block.clear();
    if (is_by_variant)
        read_variant_rows(block);
    else
        take_individual_rows(block);
    if (block.variants.empty()) check_end();
    return !block.variants.empty();
}

void bed_source::check_end() {
    if (is_at_end) return;
    is_at_end = true;
    char beyond = 0;
    if (stream.readBytes(&beyond, 1)) LOG.error("Binary file corrupted : end-bit");
    stream.close();
}

void bed_source::read_variant_rows(genotype_block& block) {
    const int n_ind = static_cast<int>(ind_at.size()), n_bytes = bytes_for(ind_at.size());
    std::fill(rows.begin(), rows.end(), 0);
    for (; line < keeps_variant.size() && !block.is_full(); ++line) {
        // The row of an excluded variant is overwritten by the next one.
        unsigned char* row = rows.data() + block.variants.size() * n_bytes;
        read_row(stream, row, n_bytes, [this](int i) { stop_short("SM", i, line); });
        if (keeps_variant[line])
            block.variants.push_back(std::move(variants[n_taken++]));
        else
            std::fill_n(row, n_bytes, 0);
    }
    decode_bed(rows.data(), n_bytes, n_ind, words.data());
    for (int i = 0; i < n_ind; ++i)
        if (ind_at[i] >= 0) block.words[ind_at[i]] = words[i];
}

void bed_source::take_individual_rows(genotype_block& block) {
    if (n_taken == 0) read_individual_rows();
    const std::size_t n = std::min<std::size_t>(variants.size() - n_taken, BLOCK_VARIANTS);
    for (std::size_t i = 0; n > 0 && i < ids.size(); ++i) {
        const int l = static_cast<int>(n_taken);
        block.words[i] = {allele_a[i].get64(l), allele_b[i].get64(l), missing[i].get64(l)};
    }
    for (std::size_t j = 0; j < n; ++j) block.variants.push_back(std::move(variants[n_taken++]));
}

void bed_source::read_individual_rows() {
    if (is_at_end) return;
    for (auto* bits : {&allele_a, &allele_b, &missing})
        bits->assign(ids.size(), chaplotype(static_cast<unsigned>(variants.size())));
    for (int i = 0; i < static_cast<int>(ind_at.size()); ++i) {
        read_row(stream, rows.data(), static_cast<int>(rows.size()),
                 [i](int s) { stop_short("IM", i, static_cast<std::size_t>(s)); });
        const int k = ind_at[i];
        if (k < 0) continue;
        int v = 0;
        for (std::size_t s = 0; s < keeps_variant.size(); ++s) {
            if (!keeps_variant[s]) continue;
            const int code = rows[s >> 2] >> (2 * (s & 3)) & 3;
            allele_a[k].set(v, code == HOMOZYGOUS_SECOND);
            allele_b[k].set(v, code == HOMOZYGOUS_SECOND || code == HETEROZYGOUS);
            missing[k].set(v, code == MISSING);
            ++v;
        }
    }
}
