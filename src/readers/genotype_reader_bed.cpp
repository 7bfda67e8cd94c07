#include <array>
#include <string_view>

#include "readers/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

constexpr std::array<unsigned char, 2> MAGIC = {0x6C, 0x1B};
constexpr int N_FIELDS = 6;
constexpr int MISSING_CODE = 1;

/// Calls `keep(fields, line number)` for each line of a BIM or FAM file; returns which lines it kept and
/// tells the user how many.
template <class Keep>
std::vector<bool> readTable(const std::string& file, const std::string& things, Keep keep) {
    std::vector<bool> mask;
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
        mask.push_back(keep(fields, number));
        included += mask.back();
    }
    stream.close();
    LOG.println("  * " + sutils::long2str(included) + " " + things + " included");
    if (included < number)
        LOG.println("  * " + sutils::long2str(number - included) + " " + things + " excluded");
    return mask;
}

/// Store index of each kept entry, -1 for the others.
std::vector<int> store_indices(const std::vector<bool>& mask) {
    std::vector<int> indices(mask.size(), -1);
    int next = 0;
    for (std::size_t i = 0; i < mask.size(); ++i)
        if (mask[i]) indices[i] = next++;
    return indices;
}

/// Reads the blocks of a BED file one by one: `n_blocks` of `n_genotypes` genotypes each.
/// Calls `put(block, position, code)` for each genotype code; `fail(block, position)` ends the run where
/// the file does, at the first genotype of the byte that is missing.
template <class Put, class Fail>
void readBlocks(ifile& stream, int n_blocks, int n_genotypes, Put put, Fail fail) {
    std::vector<char> block((n_genotypes + 3) / 4);
    if (block.empty()) return;
    for (int b = 0; b < n_blocks; ++b) {
        if (!stream.readBytes(block.data(), static_cast<std::streamsize>(block.size())))
            fail(b, static_cast<int>(4 * stream.gcount()));
        for (int i = 0; i < n_genotypes; ++i) put(b, i, (block[i >> 2] >> (2 * (i & 3))) & 3);
    }
}

}  // namespace

std::vector<bool> genotype_reader::readBim(const std::string& bim) {
    LOG.println("\nReading SNPs in [" + bim + "] in Plink BIM format");
    const auto mask = readTable(bim, "SNPs", [&](const std::vector<std::string>& fields, long line) {
        return putSnp(sutils::str2int(fields[3], bim, line), fields[1], fields[0], "", fields[4], fields[5]);
    });
    snps->indexing();
    if (snps->size() > 0 && snps->snp_list.back()->bp == 0)
        LOG.warning("no variant has a position above 0: is [" + bim + "] the list of variants?");
    return mask;
}

std::vector<bool> genotype_reader::readFam(const std::string& fam) {
    LOG.println("\nReading individuals in [" + fam + "] in Plink FAM format");
    return readTable(fam, "individuals",
                     [&](const std::vector<std::string>& fields, long) { return putInd(fields[1]); });
}

void genotype_reader::readGenotypeBed(const std::string& bed, const std::string& bim,
                                      const std::string& fam) {
    const std::vector<int> snp_at = store_indices(readBim(bim));
    const std::vector<int> ind_at = store_indices(readFam(fam));

    LOG.println("\nReading genotypes in [" + bed + "] in Plink BED format");
    ifile stream(bed, true);
    std::array<char, 3> head{};
    if (!stream.readBytes(head.data(), head.size()) || static_cast<unsigned char>(head[0]) != MAGIC[0] ||
        static_cast<unsigned char>(head[1]) != MAGIC[1])
        LOG.error("Binary file format unsupported");
    const bool snp_major = (head[2] & 1) != 0;
    LOG.println(std::string("  * Plink binary file ") + (snp_major ? "SNP-major" : "individual-major") +
                " mode");

    for (auto* bits : {&allele_a, &allele_b, &missing})
        for (auto& individual : *bits) individual.assign(snps->size(), false);
    const auto put = [&](int s, int i, int code) {
        const int v = snp_at[s], k = ind_at[i];
        if (v < 0 || k < 0 || code == 0) return;
        if (code == MISSING_CODE) {
            missing[k][v] = true;
            return;
        }
        allele_a[k][v] = (code & 1) != 0;
        allele_b[k][v] = true;
    };
    const auto fail = [&](const char* mode, int i, int s) {
        LOG.error(std::string("Binary file ") + mode + " corrupted ind=" + sutils::int2str(i) +
                  " snp=" + sutils::int2str(s));
    };
    const int n_snp = static_cast<int>(snp_at.size()), n_ind = static_cast<int>(ind_at.size());
    if (snp_major)
        readBlocks(stream, n_snp, n_ind, put, [&](int s, int i) { fail("SM", i, s); });
    else
        readBlocks(
            stream, n_ind, n_snp, [&](int i, int s, int code) { put(s, i, code); },
            [&](int i, int s) { fail("IM", i, s); });
    char beyond = 0;
    if (stream.readBytes(&beyond, 1)) LOG.error("Binary file corrupted : end-bit");
    stream.close();
}
