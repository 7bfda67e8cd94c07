// Included once for each instruction set, within a namespace of its own, with KERNEL set to the function
// attribute that selects it. There is no include guard on purpose.

KERNEL void start(const step& s, int K) {
    const step_arrays a(s);
    row total = {};
    for (int k = 0; k < K; ++k) {
        const row value = load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total += value;
    }
    store(*s.sums, total);
}

KERNEL void inside(const step& s, int K) {
    const row jump = load(s.from.sums) * s.from.tn;
    const double nt = s.from.nt;
    const step_arrays a(s);
    row total = {};
    for (int k = 0; k < K; ++k) {
        const row value = (jump + nt * load(a.from[k])) * load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total += value;
    }
    store(*s.sums, total);
}

KERNEL void inside_both(const step& s, const step& t, int K) {
    const row jump_s = load(s.from.sums) * s.from.tn, jump_t = load(t.from.sums) * t.from.tn;
    const double nt_s = s.from.nt, nt_t = t.from.nt;
    const step_arrays a(s), b(t);
    row total_s = {}, total_t = {};
    for (int k = 0; k < K; ++k) {
        const row value_s = (jump_s + nt_s * load(a.from[k])) * load(a.em[a.alleles[k]]);
        const row value_t = (jump_t + nt_t * load(b.from[k])) * load(b.em[b.alleles[k]]);
        store(a.column[k], value_s);
        store(b.column[k], value_t);
        total_s += value_s;
        total_t += value_t;
    }
    store(*s.sums, total_s);
    store(*t.sums, total_t);
}

KERNEL void across(const step& s, int K) {
    const row jump = load(s.from.sums) * s.from.tn;
    const double nt = s.from.nt;
    const int n_from = s.from.n_candidates;
    const step_arrays a(s);
    row total = {};
    int k = 0;
    // Eight haplotypes at a time, so that lanes are haplotypes while the candidates are summed in order.
    for (; k + LANES <= K; k += LANES) {
        lanes flowing[LANES];
        for (int j = 0; j < LANES; ++j) store(flowing[j], jump + nt * load(a.from[k + j]));
        row before = {};
        for (int d = 0; d < n_from; ++d)
            before += row{flowing[0][d], flowing[1][d], flowing[2][d], flowing[3][d],
                          flowing[4][d], flowing[5][d], flowing[6][d], flowing[7][d]};
        for (int j = 0; j < LANES; ++j) {
            const row value = before[j] * load(a.em[a.alleles[k + j]]);
            store(a.column[k + j], value);
            total += value;
        }
    }
    for (; k < K; ++k) {
        const row flowing = jump + nt * load(a.from[k]);
        double before = 0.0;
        for (int d = 0; d < n_from; ++d) before += flowing[d];
        const row value = before * load(a.em[a.alleles[k]]);
        store(a.column[k], value);
        total += value;
    }
    store(*s.sums, total);
}

KERNEL void rescale(int n, int K, lanes* column, lanes& sums) {
    double total = 0.0;
    for (int c = 0; c < n; ++c) total += sums[c];
    for (int k = 0; k < K; ++k) store(column[k], load(column[k]) / total);
    store(sums, load(sums) / total);
}

/// N candidates on the left, so that their running sums stay in registers.
template <int N>
KERNEL void pair_sums_of(const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    const row jump = load(left.sums) * left.tn;
    row total[N] = {};
    for (int k = 0; k < K; ++k) {
        lanes flowing;
        store(flowing, jump + left.nt * load(left.column[k]));
        const row beyond = load(right[k]);
        for (int c = 0; c < N; ++c) total[c] += flowing[c] * beyond;
    }
    for (int c = 0; c < N; ++c) store(pairs[c], total[c]);
}

KERNEL void pair_sums(const flow& left, const lanes* right, int K, pair_matrix& pairs) {
    switch (left.n_candidates) {
        case 1:
            return pair_sums_of<1>(left, right, K, pairs);
        case 2:
            return pair_sums_of<2>(left, right, K, pairs);
        case 3:
            return pair_sums_of<3>(left, right, K, pairs);
        case 4:
            return pair_sums_of<4>(left, right, K, pairs);
        case 5:
            return pair_sums_of<5>(left, right, K, pairs);
        case 6:
            return pair_sums_of<6>(left, right, K, pairs);
        case 7:
            return pair_sums_of<7>(left, right, K, pairs);
        default:
            return pair_sums_of<8>(left, right, K, pairs);
    }
}

const kernel_set KERNELS = {NAME, is_available, start, inside, inside_both, across, rescale, pair_sums};
