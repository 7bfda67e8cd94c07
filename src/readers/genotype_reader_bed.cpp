#include <algorithm>
#include <array>
#include <string_view>

#include "readers/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

constexpr std::array<unsigned char, 2> MAGIC = {0x6C, 0x1B};
constexpr int N_FIELDS = 6;
constexpr int MISSING = 1, HETEROZYGOUS = 2, HOMOZYGOUS_SECOND = 3;  // codes of genotypes

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

int bytes_for(int n_genotypes) {
    return (n_genotypes + 3) / 4;
}

/// Reads the next row of a BED file; `fail(genotype)` ends the run where the file ends within it, at the
/// first genotype of the byte that is missing.
template <class Fail>
void readRow(ifile& stream, unsigned char* row, int n_bytes, Fail fail) {
    if (!stream.readBytes(reinterpret_cast<char*>(row), n_bytes)) fail(static_cast<int>(4 * stream.gcount()));
}

[[noreturn]] void stopShort(const char* mode, int ind, int variant) {
    LOG.error(std::string("Binary file ") + mode + " corrupted ind=" + sutils::int2str(ind) +
              " snp=" + sutils::int2str(variant));
}

}  // namespace

std::vector<bool> genotype_reader::readBim(const std::string& bim) {
    LOG.println("\nReading SNPs in [" + bim + "] in Plink BIM format");
    std::vector<bool> mask = readTable(bim, "SNPs", [&](const std::vector<std::string>& fields, long line) {
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
        for (auto& individual : *bits) individual.data.reserve((snps->size() + 7) / 8);
    snp_major ? readVariantRows(stream, snp_at, ind_at) : readIndividualRows(stream, snp_at, ind_at);
    char beyond = 0;
    if (stream.readBytes(&beyond, 1)) LOG.error("Binary file corrupted : end-bit");
    stream.close();
}

void genotype_reader::readVariantRows(ifile& stream, const std::vector<int>& snp_at,
                                      const std::vector<int>& ind_at) {
    const int n_ind = static_cast<int>(ind_at.size()), n_bytes = bytes_for(n_ind);
    genotype_block block(ind_ids.size());
    std::vector<genotype_word> decoded(n_ind);
    std::vector<unsigned char> rows(static_cast<std::size_t>(n_bytes) * genotype_block::CAPACITY);
    const auto store = [&] {
        decode_bed(rows.data(), n_bytes, n_ind, decoded.data());
        for (int i = 0; i < n_ind; ++i)
            if (ind_at[i] >= 0) block.words[ind_at[i]] = decoded[i];
        putBlock(block);
        std::fill(rows.begin(), rows.end(), 0);
    };
    for (int s = 0; s < static_cast<int>(snp_at.size()); ++s) {
        // The row of a variant that is left out stands where the next one will replace it.
        unsigned char* row = rows.data() + static_cast<std::ptrdiff_t>(block.n_variants) * n_bytes;
        readRow(stream, row, n_bytes, [s](int i) { stopShort("SM", i, s); });
        if (snp_at[s] < 0)
            std::fill_n(row, n_bytes, 0);
        else if (++block.n_variants == genotype_block::CAPACITY)
            store();
    }
    store();
}

void genotype_reader::readIndividualRows(ifile& stream, const std::vector<int>& snp_at,
                                         const std::vector<int>& ind_at) {
    const int n_snp = static_cast<int>(snp_at.size());
    std::vector<unsigned char> row(bytes_for(n_snp));
    std::vector<bool> a(snps->size()), b(snps->size()), m(snps->size());
    for (int i = 0; i < static_cast<int>(ind_at.size()); ++i) {
        readRow(stream, row.data(), static_cast<int>(row.size()), [i](int s) { stopShort("IM", i, s); });
        const int k = ind_at[i];
        if (k < 0) continue;
        for (int s = 0; s < n_snp; ++s) {
            const int v = snp_at[s], code = row[s >> 2] >> (2 * (s & 3)) & 3;
            if (v < 0) continue;
            a[v] = code == HOMOZYGOUS_SECOND;
            b[v] = code == HOMOZYGOUS_SECOND || code == HETEROZYGOUS;
            m[v] = code == MISSING;
        }
        allele_a[k].push_back(a);
        allele_b[k].push_back(b);
        missing[k].push_back(m);
    }
}
