// Included once per instruction set, each time in a namespace of its own, with KERNEL set to the function
// attribute that selects the instruction set and REGISTER_BYTES to the width of its registers. There is no
// include guard on purpose.

constexpr int PART = REGISTER_BYTES / static_cast<int>(sizeof(float));  // values in a register
constexpr int PARTS = BLOCK / PART;                                     // registers of a block

using part [[gnu::vector_size(REGISTER_BYTES), gnu::may_alias]] = float;
using part_bits [[gnu::vector_size(REGISTER_BYTES), gnu::may_alias]] = std::int32_t;
using four [[gnu::vector_size(16), gnu::may_alias]] = float;
using four_bits [[gnu::vector_size(16), gnu::may_alias]] = std::int32_t;

/// The values of 16 haplotypes in registers.
struct block {
    part parts[PARTS];
};

#define INLINE_KERNEL KERNEL __attribute__((always_inline)) inline

INLINE_KERNEL block load(const float* from) {
    block b{};
    for (int i = 0; i < PARTS; ++i) b.parts[i] = reinterpret_cast<const part*>(from)[i];
    return b;
}

INLINE_KERNEL void store(float* to, const block& b) {
    for (int i = 0; i < PARTS; ++i) reinterpret_cast<part*>(to)[i] = b.parts[i];
}

INLINE_KERNEL block all(float x) {
    block b{};
    for (int i = 0; i < PARTS; ++i) b.parts[i] = x - part{};
    return b;
}

INLINE_KERNEL block operator+(const block& a, const block& b) {
    block r{};
    for (int i = 0; i < PARTS; ++i) r.parts[i] = a.parts[i] + b.parts[i];
    return r;
}

INLINE_KERNEL block operator*(const block& a, const block& b) {
    block r{};
    for (int i = 0; i < PARTS; ++i) r.parts[i] = a.parts[i] * b.parts[i];
    return r;
}

/// `one` for the haplotypes whose bit is 1, `zero` for the others.
INLINE_KERNEL block choose(unsigned bits, const block& one, const block& zero) {
    block r{};
#if REGISTER_BYTES == 64
    r.parts[0] = _mm512_mask_blend_ps(static_cast<__mmask16>(bits), zero.parts[0], one.parts[0]);
#else
    part_bits place;
    for (int j = 0; j < PART; ++j) place[j] = 1 << j;
    for (int i = 0; i < PARTS; ++i) {
        const part_bits its_bits = static_cast<std::int32_t>(bits >> (i * PART)) - part_bits{};
        r.parts[i] = (its_bits & place) != 0 ? one.parts[i] : zero.parts[i];
    }
#endif
    return r;
}

/// The first two folds of the sum of a block.
INLINE_KERNEL four folded_twice(const block& b) {
#if REGISTER_BYTES == 64
    const part p = b.parts[0];
    const auto eight = __builtin_shufflevector(p, p, 0, 1, 2, 3, 4, 5, 6, 7) +
                       __builtin_shufflevector(p, p, 8, 9, 10, 11, 12, 13, 14, 15);
    return __builtin_shufflevector(eight, eight, 0, 1, 2, 3) +
           __builtin_shufflevector(eight, eight, 4, 5, 6, 7);
#elif REGISTER_BYTES == 32
    const part eight = b.parts[0] + b.parts[1];
    return __builtin_shufflevector(eight, eight, 0, 1, 2, 3) +
           __builtin_shufflevector(eight, eight, 4, 5, 6, 7);
#else
    return (b.parts[0] + b.parts[2]) + (b.parts[1] + b.parts[3]);
#endif
}

/// The sums of four blocks.
INLINE_KERNEL four folded(const block* b) {
    const four f0 = folded_twice(b[0]), f1 = folded_twice(b[1]), f2 = folded_twice(b[2]),
               f3 = folded_twice(b[3]);
    const four of_two =
        __builtin_shufflevector(f0, f1, 0, 4, 1, 5) + __builtin_shufflevector(f0, f1, 2, 6, 3, 7);
    const four of_other_two =
        __builtin_shufflevector(f2, f3, 0, 4, 1, 5) + __builtin_shufflevector(f2, f3, 2, 6, 3, 7);
    return __builtin_shufflevector(of_two, of_other_two, 0, 1, 4, 5) +
           __builtin_shufflevector(of_two, of_other_two, 2, 3, 6, 7);
}

/// The bits of the haplotypes of the last block that exist.
INLINE_KERNEL unsigned existing(int K) {
    return (1U << ((K - 1) % BLOCK + 1)) - 1;
}

KERNEL void spread(const inside_run& run, const float* before) {
    const int blocks = n_blocks(run.K);
    const block match = all(1.0F), mismatch = all(run.mismatch), zero = all(0.0F);
    block total[MOST_ROWS];
    for (block& t : total) t = zero;
    for (int b = 0; b < blocks; ++b) {
        block from = load(before + b * BLOCK);
        if (b == blocks - 1) from = choose(existing(run.K), from, zero);
        const block value[2] = {from * choose(run.alleles[b], mismatch, match),
                                from * choose(run.alleles[b], match, mismatch)};
        for (int c = 0; c < run.n_rows; ++c) {
            const block& v = value[*run.row_alleles >> c & 1];
            store(run.rows + static_cast<std::ptrdiff_t>(c * blocks + b) * BLOCK, v);
            total[c] = total[c] + v;
        }
    }
    for (int first = 0; first < MOST_ROWS; first += 4) {
        const four sum = folded(total + first);
        for (int c = 0; c < 4; ++c) {
            run.scales->sum[first + c] = sum[c];
            run.scales->exponent[first + c] = 0;
        }
    }
}

/// What a step multiplies and adds for each of ROWS rows.
template <int ROWS>
struct step_factors {
    float jump[ROWS];    // sum * probability of a jump to one haplotype
    float stay[ROWS];    // probability of no jump
    bool has_one[ROWS];  // allele of the row
};

/// One block of ROWS rows of a step.
template <int ROWS, bool IS_LAST>
INLINE_KERNEL void inside_block(const inside_run& run, const step_factors<ROWS>& by, int b, float* rows,
                                block* total) {
    const block match = all(1.0F), mismatch = all(run.mismatch);
    const block emission[2] = {choose(run.alleles[b], mismatch, match),
                               choose(run.alleles[b], match, mismatch)};
    for (int c = 0; c < ROWS; ++c) {
        float* at = rows + static_cast<std::ptrdiff_t>(c * n_blocks(run.K) + b) * BLOCK;
        block value = (all(by.jump[c]) + all(by.stay[c]) * load(at)) * emission[by.has_one[c] ? 1 : 0];
        if constexpr (IS_LAST) value = choose(existing(run.K), value, all(0.0F));
        store(at, value);
        total[c] = total[c] + value;
    }
}

/// A step of the ROWS rows from row `first` on.
template <int ROWS>
INLINE_KERNEL void inside_rows(const inside_run& run, float jump, int first) {
    constexpr int BIAS = 127, MANTISSA_BITS = 23;
    float* sums = &run.scales->sum[first];
    four sum;
    for (int c = 0; c < 4; ++c) sum[c] = c < ROWS ? sums[c] : 1.0F;
    const four_bits exponent = (reinterpret_cast<const four_bits&>(sum) >> MANTISSA_BITS) - BIAS;
    const four_bits scale_bits = (BIAS - exponent) << MANTISSA_BITS;
    const four scale = reinterpret_cast<const four&>(scale_bits);
    const four to_one = sum * scale * (jump / static_cast<float>(run.K)), stay = scale * (1.0F - jump);
    step_factors<ROWS> by;
    for (int c = 0; c < ROWS; ++c) {
        run.scales->exponent[first + c] += exponent[c];
        by.jump[c] = to_one[c];
        by.stay[c] = stay[c];
        by.has_one[c] = (*run.row_alleles >> (first + c) & 1) != 0;
    }
    block total[4];
    for (block& t : total) t = all(0.0F);
    const int blocks = n_blocks(run.K);
    float* rows = run.rows + static_cast<std::ptrdiff_t>(first * blocks) * BLOCK;
    for (int b = 0; b + 1 < blocks; ++b) inside_block<ROWS, false>(run, by, b, rows, total);
    inside_block<ROWS, true>(run, by, blocks - 1, rows, total);
    sum = folded(total);
    for (int c = 0; c < ROWS; ++c) sums[c] = sum[c];
}

KERNEL void inside(inside_run* const* runs, int n_runs, int n_steps) {
    for (int step = 0; step < n_steps; ++step)
        for (int r = 0; r < n_runs; ++r) {
            inside_run& run = *runs[r];
            const float jump = run.jumps[run.direction > 0 ? run.locus : run.locus - 1];
            run.locus += run.direction;
            run.alleles += run.direction * n_blocks(run.K);
            run.row_alleles += run.direction;
            int first = 0;
            for (; first + 4 <= run.n_rows; first += 4) inside_rows<4>(run, jump, first);
            switch (run.n_rows - first) {
                case 1:
                    inside_rows<1>(run, jump, first);
                    break;
                case 2:
                    inside_rows<2>(run, jump, first);
                    break;
                case 3:
                    inside_rows<3>(run, jump, first);
                    break;
                default:
                    break;
            }
        }
}

KERNEL void collapse(int n_rows, int K, const float* rows, const std::array<float, MOST_ROWS>& weight,
                     float start, float* out) {
    const int blocks = n_blocks(K);
    for (int b = 0; b < blocks; ++b) {
        block sum = all(start);
        for (int c = 0; c < n_rows; ++c)
            sum = sum + all(weight[c]) * load(rows + static_cast<std::ptrdiff_t>(c * blocks + b) * BLOCK);
        store(out + b * BLOCK, sum);
    }
}

/// The products of the COUNT rows from `left` on with one row.
template <int COUNT>
INLINE_KERNEL four products_with(const float* left, const float* right, int blocks) {
    block total[4];
    for (block& t : total) t = all(0.0F);
    for (int b = 0; b < blocks; ++b) {
        const block r = load(right + b * BLOCK);
        for (int c = 0; c < COUNT; ++c)
            total[c] = total[c] + load(left + static_cast<std::ptrdiff_t>(c * blocks + b) * BLOCK) * r;
    }
    return folded(total);
}

KERNEL void products(int n_left, int n_right, int K, const float* left, const float* right,
                     row_products& products) {
    const int blocks = n_blocks(K);
    for (int d = 0; d < n_right; ++d, right += blocks * BLOCK)
        for (int first = 0; first < n_left; first += 4) {
            const float* rows = left + static_cast<std::ptrdiff_t>(first * blocks) * BLOCK;
            const int n = std::min(n_left - first, 4);
            const four sums =
                n > 2 ? products_with<4>(rows, right, blocks) : products_with<2>(rows, right, blocks);
            for (int c = 0; c < n; ++c) products[first + c][d] = sums[c];
        }
}

const kernel_set KERNELS = {NAME, is_available, spread, inside, collapse, products};

#undef INLINE_KERNEL
