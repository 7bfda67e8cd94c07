// Included once per instruction set, each time in a namespace of its own, with KERNEL set to the function
// attribute that selects the instruction set and REGISTER_BYTES to the width of its registers. There is no
// include guard on purpose.

/// The first N lanes of a row, N being 4 or 8, in as many registers as needed. All operations work lane by
/// lane.
template <int N>
struct row {
    static constexpr int BYTES = N * static_cast<int>(sizeof(double));
    static constexpr int PART_BYTES = BYTES < REGISTER_BYTES ? BYTES : REGISTER_BYTES;
    static constexpr int PARTS = BYTES / PART_BYTES;
    using part [[gnu::vector_size(PART_BYTES), gnu::may_alias]] = double;
    part parts[PARTS];
};

#define INLINE_KERNEL KERNEL __attribute__((always_inline)) inline

template <int N>
INLINE_KERNEL row<N> load(const lanes& from) {
    row<N> r;
    for (int i = 0; i < row<N>::PARTS; ++i)
        r.parts[i] = reinterpret_cast<const typename row<N>::part*>(&from)[i];
    return r;
}

template <int N>
INLINE_KERNEL void store(lanes& to, const row<N>& r) {
    for (int i = 0; i < row<N>::PARTS; ++i) reinterpret_cast<typename row<N>::part*>(&to)[i] = r.parts[i];
}

template <int N>
INLINE_KERNEL row<N> all(double x) {
    row<N> r;
    for (int i = 0; i < row<N>::PARTS; ++i) r.parts[i] = x - typename row<N>::part{};
    return r;
}

template <int N>
INLINE_KERNEL row<N> operator+(const row<N>& a, const row<N>& b) {
    row<N> r;
    for (int i = 0; i < row<N>::PARTS; ++i) r.parts[i] = a.parts[i] + b.parts[i];
    return r;
}

template <int N>
INLINE_KERNEL row<N> operator*(const row<N>& a, const row<N>& b) {
    row<N> r;
    for (int i = 0; i < row<N>::PARTS; ++i) r.parts[i] = a.parts[i] * b.parts[i];
    return r;
}

template <int N>
INLINE_KERNEL row<N> operator/(const row<N>& a, const row<N>& b) {
    row<N> r;
    for (int i = 0; i < row<N>::PARTS; ++i) r.parts[i] = a.parts[i] / b.parts[i];
    return r;
}

/// Transposes an 8 x 8 block.
INLINE_KERNEL void turn(row<LANES> (&block)[LANES]) {
#if REGISTER_BYTES == 64
    // Exchanges single columns, then pairs of columns, then halves: 24 shuffles.
    row<LANES>::part t[8], u[8];
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
        block[d] = load<LANES>(turned);
    }
#endif
}

KERNEL void start(const step& s, int K) {
    const step_arrays a(s);
    row<LANES> total = all<LANES>(0.0);
    for (int k = 0; k < K; ++k) {
        const row<LANES> value = load<LANES>(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }
    store(*s.sums, total);
}

/// One step inside a segment, row by row.
template <int N>
struct inside_step {
    INLINE_KERNEL explicit inside_step(const step& s)
        : a(s), jump(load<N>(*s.from.sums) * all<N>(s.from.tn)), nt(all<N>(s.from.nt)), total(all<N>(0.0)) {}

    INLINE_KERNEL void take(int k) {
        const row<N> value = (jump + nt * load<N>(a.from[k])) * load<N>(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }

    step_arrays a;
    row<N> jump, nt, total;
};

template <int N>
KERNEL void inside_of(const step& s, int K) {
    inside_step<N> first(s);
    for (int k = 0; k < K; ++k) first.take(k);
    store(*s.sums, first.total);
}

KERNEL void inside(const step& s, int K) {
    s.from.n_candidates <= HALF ? inside_of<HALF>(s, K) : inside_of<LANES>(s, K);
}

template <int N, int M>
KERNEL void inside_both_of(const step& s, const step& t, int K) {
    constexpr int TURN = 4;  // rows per round; with one row, loop overhead would take a quarter of the time
    inside_step<N> first(s);
    inside_step<M> second(t);
    int k = 0;
    for (; k + TURN <= K; k += TURN)
        for (int j = k; j < k + TURN; ++j) {
            first.take(j);
            second.take(j);
        }
    for (; k < K; ++k) {
        first.take(k);
        second.take(k);
    }
    store(*s.sums, first.total);
    store(*t.sums, second.total);
}

KERNEL void inside_both(const step& s, const step& t, int K) {
    if (s.from.n_candidates <= HALF)
        t.from.n_candidates <= HALF ? inside_both_of<HALF, HALF>(s, t, K)
                                    : inside_both_of<HALF, LANES>(s, t, K);
    else
        t.from.n_candidates <= HALF ? inside_both_of<LANES, HALF>(s, t, K)
                                    : inside_both_of<LANES, LANES>(s, t, K);
}

KERNEL void across(const step& s, int K) {
    const row<LANES> jump = load<LANES>(*s.from.sums) * all<LANES>(s.from.tn), nt = all<LANES>(s.from.nt);
    const int n_from = s.from.n_candidates;
    const step_arrays a(s);
    row<LANES> total = all<LANES>(0.0);
    int k = 0;
    // Eight haplotypes at a time. After transposing, each lane is a haplotype and adds up its candidates in
    // order.
    for (; k + LANES <= K; k += LANES) {
        row<LANES> block[LANES];
        for (int j = 0; j < LANES; ++j) block[j] = jump + nt * load<LANES>(a.from[k + j]);
        turn(block);
        row<LANES> sum = all<LANES>(0.0);
        for (int d = 0; d < n_from; ++d) sum = sum + block[d];
        lanes before;
        store(before, sum);
        for (int j = 0; j < LANES; ++j) {
            const row<LANES> value = all<LANES>(before[j]) * load<LANES>(a.em[a.alleles[k + j]]);
            store(a.column[k + j], value);
            total = total + value;
        }
    }
    for (; k < K; ++k) {
        lanes flowing;
        store(flowing, jump + nt * load<LANES>(a.from[k]));
        double before = 0.0;
        for (int d = 0; d < n_from; ++d) before += flowing[d];
        const row<LANES> value = all<LANES>(before) * load<LANES>(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total = total + value;
    }
    store(*s.sums, total);
}

#if REGISTER_BYTES == 64
/// Divides rows by one number without a division instruction. The product with the reciprocal is close to the
/// quotient. A first correction by the remainder brings it within one unit in the last place, and a second
/// one makes it the correctly rounded quotient, with the same bits as a division (Markstein 1990). This holds
/// only far from underflow and overflow, so a row with a very small or very large number is divided.
struct divisor {
    KERNEL explicit divisor(double x)
        : total(_mm512_set1_pd(x)),
          reciprocal(_mm512_set1_pd(1.0 / x)),
          is_safe(x > SAFE_MIN && x < SAFE_MAX) {}

    template <int N>
    INLINE_KERNEL void divide(lanes& r) const {
        const __m512d x = _mm512_load_pd(r.value);
        const unsigned safe = _mm512_cmp_pd_mask(x, _mm512_set1_pd(SAFE_MIN), _CMP_GT_OQ) &
                              _mm512_cmp_pd_mask(x, _mm512_set1_pd(SAFE_MAX), _CMP_LT_OQ);
        constexpr unsigned MEANT = (1U << N) - 1;
        if (!is_safe || (safe & MEANT) != MEANT) return _mm512_store_pd(r.value, _mm512_div_pd(x, total));
        const __m512d product = _mm512_mul_pd(x, reciprocal);
        const __m512d close = _mm512_fmadd_pd(_mm512_fnmadd_pd(total, product, x), reciprocal, product);
        const __m512d quotient = _mm512_fmadd_pd(_mm512_fnmadd_pd(total, close, x), reciprocal, close);
        _mm512_store_pd(r.value, quotient);
    }

    static constexpr double SAFE_MIN = 0x1p-400, SAFE_MAX = 0x1p400;
    __m512d total, reciprocal;
    bool is_safe;
};

template <int N>
KERNEL void divide(double total, int K, lanes* column, lanes& sums) {
    const divisor by(total);
    for (int k = 0; k < K; ++k) by.divide<N>(column[k]);
    by.divide<N>(sums);
}
#else
template <int N>
KERNEL void divide(double total, int K, lanes* column, lanes& sums) {
    const row<N> divisor = all<N>(total);
    for (int k = 0; k < K; ++k) store(column[k], load<N>(column[k]) / divisor);
    store(sums, load<N>(sums) / divisor);
}
#endif

KERNEL void rescale(int n, int K, lanes* column, lanes& sums) {
    double total = 0.0;
    for (int c = 0; c < n; ++c) total += sums[c];
    n <= HALF ? divide<HALF>(total, K, column, sums) : divide<LANES>(total, K, column, sums);
}

/// The pair sums of COUNT left candidates, from candidate `first` on. COUNT is small enough for the running
/// sums to stay in registers.
template <int N, int COUNT>
KERNEL void pair_sums_of(int first, const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    const row<LANES> jump = load<LANES>(*left.sums) * all<LANES>(left.tn), nt = all<LANES>(left.nt);
    row<N> total[COUNT];
    for (int c = 0; c < COUNT; ++c) total[c] = all<N>(0.0);
    for (int k = 0; k < K; ++k) {
        lanes flowing;
        store(flowing, jump + nt * load<LANES>(left.column[k]));
        const row<N> beyond = load<N>(right[k]);
        for (int c = 0; c < COUNT; ++c) total[c] = total[c] + all<N>(flowing[first + c]) * beyond;
    }
    for (int c = 0; c < COUNT; ++c) store(pairs[first + c], total[c]);
}

template <int N>
KERNEL void pair_sums_in(const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    constexpr int MOST = 8 / row<N>::PARTS;  // candidates whose sums fit in the registers
    int c = 0;
    const int n = left.n_candidates;
    for (; c + MOST <= n; c += MOST) pair_sums_of<N, MOST>(c, left, right, K, pairs);
    if constexpr (MOST > 4)
        for (; c + 4 <= n; c += 4) pair_sums_of<N, 4>(c, left, right, K, pairs);
    for (; c + 2 <= n; c += 2) pair_sums_of<N, 2>(c, left, right, K, pairs);
    if (c < n) pair_sums_of<N, 1>(c, left, right, K, pairs);
}

KERNEL void pair_sums(const flow& left, const lanes* right, int n_right, int K, pair_matrix& pairs) {
    n_right <= HALF ? pair_sums_in<HALF>(left, right, K, pairs) : pair_sums_in<LANES>(left, right, K, pairs);
}

const kernel_set KERNELS = {NAME, is_available, start, inside, inside_both, across, rescale, pair_sums};

#undef INLINE_KERNEL
