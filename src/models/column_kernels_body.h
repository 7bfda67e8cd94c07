// Included once for each instruction set, within a namespace of its own, with KERNEL set to the function
// attribute that selects it, and REGISTER_BYTES to the width of its registers. There is no include guard on
// purpose.

/// Eight lanes in as many registers as it takes. All operations go lane by lane.
constexpr int PARTS = static_cast<int>(sizeof(lanes)) / REGISTER_BYTES;
using part [[gnu::vector_size(REGISTER_BYTES), gnu::may_alias]] = double;
struct row {
    part parts[PARTS];
};

#define INLINE_KERNEL KERNEL __attribute__((always_inline)) inline

INLINE_KERNEL row load(const lanes& from) {
    row r;
    for (int i = 0; i < PARTS; ++i) r.parts[i] = reinterpret_cast<const part*>(&from)[i];
    return r;
}

INLINE_KERNEL void store(lanes& to, const row& r) {
    for (int i = 0; i < PARTS; ++i) reinterpret_cast<part*>(&to)[i] = r.parts[i];
}

INLINE_KERNEL row all(double x) {
    row r;
    for (int i = 0; i < PARTS; ++i) r.parts[i] = x - part{};
    return r;
}

INLINE_KERNEL row operator+(const row& a, const row& b) {
    row r;
    for (int i = 0; i < PARTS; ++i) r.parts[i] = a.parts[i] + b.parts[i];
    return r;
}

INLINE_KERNEL row operator*(const row& a, const row& b) {
    row r;
    for (int i = 0; i < PARTS; ++i) r.parts[i] = a.parts[i] * b.parts[i];
    return r;
}

INLINE_KERNEL row operator/(const row& a, const row& b) {
    row r;
    for (int i = 0; i < PARTS; ++i) r.parts[i] = a.parts[i] / b.parts[i];
    return r;
}

/// Makes rows of the columns of an 8 x 8 block.
INLINE_KERNEL void turn(row (&block)[LANES]) {
#if REGISTER_BYTES == 64
    // Pairs of columns, then of pairs, then halves: 24 shuffles.
    part t[8], u[8];
    for (int i = 0; i < 8; i += 2) {
        t[i] = __builtin_shufflevector(block[i].parts[0], block[i + 1].parts[0], 0, 8, 2, 10, 4, 12, 6, 14);
        t[i + 1] =
            __builtin_shufflevector(block[i].parts[0], block[i + 1].parts[0], 1, 9, 3, 11, 5, 13, 7, 15);
    }
    for (int half = 0; half < 8; half += 4)
        for (int i = half; i < half + 2; ++i) {
            u[i] = __builtin_shufflevector(t[i], t[i + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            u[i + 2] = __builtin_shufflevector(t[i], t[i + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    for (int i = 0; i < 4; ++i) {
        block[i].parts[0] = __builtin_shufflevector(u[i], u[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        block[i + 4].parts[0] = __builtin_shufflevector(u[i], u[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
#else
    lanes rows[LANES], turned;
    for (int j = 0; j < LANES; ++j) store(rows[j], block[j]);
    for (int d = 0; d < LANES; ++d) {
        for (int j = 0; j < LANES; ++j) turned[j] = rows[j][d];
        block[d] = load(turned);
    }
#endif
}

KERNEL void start(const step& s, int K) {
    const step_arrays a(s);
    row total = all(0.0);
    for (int k = 0; k < K; ++k) {
        const row value = load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }
    store(*s.sums, total);
}

KERNEL void inside(const step& s, int K) {
    const row jump = load(s.from.sums) * all(s.from.tn);
    const row nt = all(s.from.nt);
    const step_arrays a(s);
    row total = all(0.0);
    for (int k = 0; k < K; ++k) {
        const row value = (jump + nt * load(a.from[k])) * load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }
    store(*s.sums, total);
}

KERNEL void inside_both(const step& s, const step& t, int K) {
    const row jump_s = load(s.from.sums) * all(s.from.tn), jump_t = load(t.from.sums) * all(t.from.tn);
    const row nt_s = all(s.from.nt), nt_t = all(t.from.nt);
    const step_arrays a(s), b(t);
    row total_s = all(0.0), total_t = all(0.0);
    for (int k = 0; k < K; ++k) {
        const row value_s = (jump_s + nt_s * load(a.from[k])) * load(a.em[a.alleles[k]]);
        const row value_t = (jump_t + nt_t * load(b.from[k])) * load(b.em[b.alleles[k]]);
        store(a.column[k], value_s);
        store(b.column[k], value_t);
        total_s = total_s + value_s;
        total_t = total_t + value_t;
    }
    store(*s.sums, total_s);
    store(*t.sums, total_t);
}

KERNEL void across(const step& s, int K) {
    const row jump = load(s.from.sums) * all(s.from.tn);
    const row nt = all(s.from.nt);
    const int n_from = s.from.n_candidates;
    const step_arrays a(s);
    row total = all(0.0);
    int k = 0;
    // Eight haplotypes at a time, so that lanes are haplotypes while the candidates are summed in order.
    for (; k + LANES <= K; k += LANES) {
        row block[LANES];
        for (int j = 0; j < LANES; ++j) block[j] = jump + nt * load(a.from[k + j]);
        turn(block);
        row sum = all(0.0);
        for (int d = 0; d < n_from; ++d) sum = sum + block[d];
        lanes before;
        store(before, sum);
        for (int j = 0; j < LANES; ++j) {
            const row value = all(before[j]) * load(a.em[a.alleles[k + j]]);
            store(a.column[k + j], value);
            total = total + value;
        }
    }
    for (; k < K; ++k) {
        lanes flowing;
        store(flowing, jump + nt * load(a.from[k]));
        double before = 0.0;
        for (int d = 0; d < n_from; ++d) before += flowing[d];
        const row value = all(before) * load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }
    store(*s.sums, total);
}

KERNEL void rescale(int n, int K, lanes* column, lanes& sums) {
    double total = 0.0;
    for (int c = 0; c < n; ++c) total += sums[c];
    for (int k = 0; k < K; ++k) store(column[k], load(column[k]) / all(total));
    store(sums, load(sums) / all(total));
}

/// N candidates on the left, from candidate `first` on, so that their running sums stay in registers.
template <int N>
KERNEL void pair_sums_of(int first, const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    const row jump = load(left.sums) * all(left.tn), nt = all(left.nt);
    row total[N];
    for (int c = 0; c < N; ++c) total[c] = all(0.0);
    for (int k = 0; k < K; ++k) {
        lanes flowing;
        store(flowing, jump + nt * load(left.column[k]));
        const row beyond = load(right[k]);
        for (int c = 0; c < N; ++c) total[c] = total[c] + all(flowing[first + c]) * beyond;
    }
    for (int c = 0; c < N; ++c) store(pairs[first + c], total[c]);
}

KERNEL void pair_sums(const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    constexpr int BLOCK = 8 / PARTS;  // candidates whose sums fit the registers
    int c = 0;
    for (; c + BLOCK <= left.n_candidates; c += BLOCK) pair_sums_of<BLOCK>(c, left, right, K, pairs);
    for (; c < left.n_candidates; ++c) pair_sums_of<1>(c, left, right, K, pairs);
}

KERNEL void emit(unsigned candidates, int n, double match, double mismatch, emissions& em) {
    for (int c = 0; c < LANES; ++c) {
        const bool second = (candidates >> c & 1) != 0;
        em[0][c] = c >= n ? 0.0 : second ? mismatch : match;
        em[1][c] = c >= n ? 0.0 : second ? match : mismatch;
    }
}

KERNEL void unpack(const unsigned char* bytes, int K, unsigned char* alleles) {
    for (int b = 0; b < 8; ++b, alleles += K)
        for (int k = 0; k < K; ++k) alleles[k] = bytes[k] >> b & 1;
}

const kernel_set KERNELS = {NAME,   is_available, start,     inside, inside_both,
                            across, rescale,      pair_sums, emit,   unpack};

#undef INLINE_KERNEL
