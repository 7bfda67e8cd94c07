#include "objects/chaplotype.h"

#include <algorithm>
#include <bit>

#include "objects/bit_kernels.h"
#include "utils/lfile.h"
#include "utils/streams.h"

namespace {

constexpr std::array<std::int32_t, 256> count_bits() {
    std::array<std::int32_t, 256> counts{};
    for (unsigned i = 0; i < counts.size(); ++i) counts[i] = std::popcount(i);
    return counts;
}

std::size_t bytes_for(unsigned int n_loci) {
    return (static_cast<std::size_t>(n_loci) + 7) / 8;
}

/// Which of two references a haplotype follows; moves to the other one when it has to.
class follower {
  public:
    /// Takes a locus where the haplotype equals at least one reference, the second one if `start_second`
    /// and it is the first such locus.
    void step(bool start_second, bool equals_first, bool equals_second) {
        if (state == UNSET) state = start_second ? SECOND : FIRST;
        if (state == FIRST && !equals_first) {
            ++n_switch;
            state = SECOND;
        } else if (state == SECOND && !equals_second) {
            ++n_switch;
            state = FIRST;
        }
    }
    int n_switch = 0;

  private:
    enum { UNSET, FIRST, SECOND } state = UNSET;
};

}  // namespace

const std::array<std::int32_t, 256> distance_lookup = count_bits();

chaplotype::chaplotype(unsigned int n_loci) : data(bytes_for(n_loci)), n(n_loci) {}

chaplotype::chaplotype(const std::vector<bool>& alleles) {
    push_back(alleles);
}

void chaplotype::clear() {
    n = 0;
    std::vector<unsigned char>().swap(data);
}

void chaplotype::push_back(const std::vector<bool>& alleles) {
    int l = size();
    n += static_cast<unsigned int>(alleles.size());
    data.resize(bytes_for(n));
    for (const bool allele : alleles) set(l++, allele);
}

void chaplotype::push_back(std::uint64_t alleles, int count) {
    const unsigned in_last_byte = n & 7;
    std::size_t byte = data.size();
    n += static_cast<unsigned int>(count);
    data.resize(bytes_for(n));
    if (in_last_byte > 0) {
        data[byte - 1] = static_cast<unsigned char>(data[byte - 1] | alleles << in_last_byte);
        alleles >>= 8 - in_last_byte;
    }
    for (; byte < data.size(); ++byte, alleles >>= 8) data[byte] = static_cast<unsigned char>(alleles);
}

void chaplotype::push_back(const chaplotype& o, int first, int count) {
    for (; count > 0; first += 64, count -= 64) push_back(o.get64(first, count), std::min(count, 64));
}

int chaplotype::next(int l) const {
    for (; l < size(); l += 64)
        if (const std::uint64_t alleles = get64(l); alleles != 0) return l + std::countr_zero(alleles);
    return size();
}

int chaplotype::count(int first, int n_loci) const {
    int n_set = 0;
    for (; n_loci > 0; first += 64, n_loci -= 64) n_set += std::popcount(get64(first, n_loci));
    return n_set;
}

int chaplotype::hamming(const chaplotype& o) const {
    return bit_kernels::kernels().distance(data.data(), o.data.data(), static_cast<int>(data.size()));
}

int chaplotype::hamming(const chaplotype& o, int first, int last) const {
    const int start = first >> 3, n_bytes = (last >> 3) - start + 1;
    if (n_bytes <= 0) return 0;
    return bit_kernels::kernels().distance(data.data() + start, o.data.data() + start, n_bytes);
}

int chaplotype::hamming(const chaplotype& o, int first, int last, int limit) const {
    const int distance = hamming(o, first, last);
    // The sum only grows from byte to byte, so one test at the end tells whether it ever passed the limit. A
    // range without a byte passes none.
    return distance > limit && first >> 3 <= last >> 3 ? DISTANCE_BEYOND_LIMIT : distance;
}

int chaplotype::perfectmatch(const chaplotype& o, int first, int last, int min_length) const {
    int run = 0, best = 0;
    int rest = 8 * ((last >> 3) - (first >> 3));
    for (int b = first >> 3; b <= last >> 3; ++b) {
        if (data[b] != o.data[b]) {
            best = std::max(best, run);
            run = 0;
        } else {
            run += 8;
        }
        // Looks at what is still to come and not at the run in hand: callers count on that.
        if (min_length > rest) return 0;
        rest -= 8;
    }
    return std::max(best, run);
}

void chaplotype::switcherror(const chaplotype& a, const chaplotype& b, int first, int last, int& n_switch,
                             int& n_mismatch) const {
    follower path;
    n_mismatch = 0;
    for (int l = first; l <= last; ++l) {
        const int x = get(l), p = a.get(l), q = b.get(l);
        if (x != p && x != q)
            ++n_mismatch;
        else
            path.step(x == q, x == p, x == q);
    }
    n_switch = path.n_switch;
}

void switcherror(const chaplotype& h0, const chaplotype& h1, const chaplotype& t0, const chaplotype& t1,
                 int first, int last, int& n_switch, int& n_mismatch) {
    follower path;
    n_mismatch = 0;
    for (int l = first; l <= last; ++l) {
        const int x0 = h0.get(l), x1 = h1.get(l), y0 = t0.get(l), y1 = t1.get(l);
        if (x0 + x1 != y0 + y1)
            ++n_mismatch;
        else
            path.step(x1 == y0, x0 == y0, x0 == y1);
    }
    n_switch = path.n_switch;
}

std::string chaplotype::toString() const {
    std::string text;
    for (int l = 0; l < size(); ++l) text += get(l) ? '1' : '0';
    return text;
}

void chaplotype::write(ofile& f) const {
    const auto n_bytes = static_cast<std::uint32_t>(data.size());
    f.writeBytes(reinterpret_cast<const char*>(&n), sizeof n);
    f.writeBytes(reinterpret_cast<const char*>(&n_bytes), sizeof n_bytes);
    f.writeBytes(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
}

bool chaplotype::read(ifile& f) {
    clear();
    std::uint32_t n_loci = 0, n_bytes = 0;
    if (!f.readBytes(reinterpret_cast<char*>(&n_loci), sizeof n_loci)) return false;
    if (!f.readBytes(reinterpret_cast<char*>(&n_bytes), sizeof n_bytes)) return false;
    if (n_bytes != bytes_for(n_loci))
        LOG.error(f.name() + " declares a haplotype of " + std::to_string(n_loci) + " loci in " +
                  std::to_string(n_bytes) + " bytes");
    n = n_loci;
    // Taken in pieces, so a damaged size can't claim more memory than the file holds bytes.
    constexpr std::uint32_t PIECE = 1 << 16;
    while (data.size() < n_bytes) {
        const std::size_t start = data.size();
        data.resize(start + std::min<std::size_t>(PIECE, n_bytes - start));
        if (!f.readBytes(reinterpret_cast<char*>(data.data() + start),
                         static_cast<std::streamsize>(data.size() - start)))
            return false;
    }
    return true;
}
