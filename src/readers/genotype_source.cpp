#include "readers/genotype_source.h"

genotype_store read_study(genotype_source& source) {
    genotype_store store(source.individuals());
    store.reserve(source.n_expected());
    genotype_block block(source.individuals().size());
    while (source.read(block)) store.append(block);
    store.snps.indexing();
    return store;
}
