#pragma once

#include <string>
#include <vector>

#include "readers/filter_reader.h"
#include "readers/genotype_reader.h"

namespace support {

/// A reader with its filter, which keeps all that is offered until the test says otherwise; owns the variants
/// as a run would.
struct study {
    study();
    /// Holds these genotypes (see genotypes_from), one text an individual, of variants at 100, 200, ... bp
    /// with alleles A and G and of individuals named I0, I1, ...
    explicit study(const std::vector<std::string>& genotypes);
    ~study();
    study(const study&) = delete;
    study& operator=(const study&) = delete;

    /// The genotypes of an individual as text; '?' for a code that stands for none.
    std::string genotypes(int ind) const;
    std::vector<std::string> genotypes() const;
    /// Each variant as "id:bp:a0:a1".
    std::vector<std::string> variants() const;

    filter_reader filter;
    genotype_reader reader;
};

}  // namespace support
