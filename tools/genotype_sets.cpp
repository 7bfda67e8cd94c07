#include "tools/genotype_sets.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "tools/text_file.h"

namespace evaluation {

namespace {

// The fields of a line, separated by blanks or tabs.
class Fields {
  public:
    Fields(std::string_view line, const tools::TextReader& reader) : rest_(line), reader_(reader) {}

    bool at_end() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size()));
        return rest_.empty();
    }

    std::string_view next() {
        if (at_end()) fail("too few fields");
        const std::size_t length = std::min(rest_.find_first_of(" \t"), rest_.size());
        const std::string_view field = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return field;
    }

    template <typename Number>
    Number next_number() {
        const std::string_view field = next();
        Number value{};
        const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        if (error != std::errc() || end != field.data() + field.size()) {
            fail("'" + std::string(field) + "' is not a number");
        }
        return value;
    }

    void skip(int count) {
        for (; count > 0; --count) next();
    }

    void expect_end() {
        if (!at_end()) fail("too many fields");
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw std::runtime_error(reader_.place() + ": " + reason);
    }

  private:
    std::string_view rest_;
    const tools::TextReader& reader_;
};

// Calls `take` with the fields of each line, except for blank lines and the first `headers` lines.
template <typename Take>
void for_each_line(const std::string& path, int headers, Take take) {
    tools::TextReader reader(path);
    std::string line;
    while (reader.next(line)) {
        Fields fields(line, reader);
        if (headers-- <= 0 && !fields.at_end()) take(fields);
    }
}

// The second field of every line.
std::vector<std::string> read_second_fields(const std::string& path, int headers) {
    std::vector<std::string> ids;
    for_each_line(path, headers, [&](Fields& fields) {
        fields.skip(1);
        ids.emplace_back(fields.next());
    });
    return ids;
}

std::vector<std::string> read_sample(const std::string& path) {
    return read_second_fields(path, 2);
}

Site next_site(Fields& fields) {
    Site site;
    site.position = fields.next_number<std::int64_t>();
    site.allele0 = fields.next();
    site.allele1 = fields.next();
    return site;
}

std::vector<bool> read_alleles(Fields& fields, std::size_t count) {
    std::vector<bool> alleles(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view digit = fields.next();
        if (digit != "0" && digit != "1")
            fields.fail("'" + std::string(digit) + "' is not an allele, 0 or 1");
        alleles[i] = digit == "1";
    }
    fields.expect_end();
    return alleles;
}

std::int8_t next_call(Fields& fields, double threshold) {
    std::int8_t call = CalledSet::not_called;
    for (std::int8_t copies = 0; copies < 3; ++copies) {
        if (fields.next_number<double>() >= threshold) call = copies;
    }
    return call;
}

std::vector<std::int8_t> decode_bed_block(std::string_view block, std::size_t people) {
    constexpr std::int8_t calls_of_codes[]{0, CalledSet::not_called, 1, 2};
    std::vector<std::int8_t> calls(people);
    for (std::size_t i = 0; i < people; ++i) {
        calls[i] = calls_of_codes[static_cast<unsigned char>(block[i / 4]) >> (2 * (i % 4)) & 3];
    }
    return calls;
}

std::string read_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

SiteIndex::SiteIndex(const std::vector<Site>& sites) : sites_(sites) {
    for (std::size_t i = 0; i < sites.size(); ++i) {
        by_position_.emplace(sites[i].position, static_cast<int>(i));
    }
}

SiteIndex::Match SiteIndex::find(const Site& site) const {
    const auto [begin, end] = by_position_.equal_range(site.position);
    for (auto entry = begin; entry != end; ++entry) {
        const Site& known = sites_[entry->second];
        if (known.allele0 == site.allele0 && known.allele1 == site.allele1) return {entry->second, false};
        if (known.allele0 == site.allele1 && known.allele1 == site.allele0) return {entry->second, true};
    }
    return {};
}

PhasedSet read_phased(const std::string& haps, const std::string& sample) {
    PhasedSet set;
    set.people = read_sample(sample);
    for_each_line(haps, 0, [&](Fields& fields) {
        fields.skip(2);
        set.sites.push_back(next_site(fields));
        set.alleles.push_back(read_alleles(fields, 2 * set.people.size()));
    });
    return set;
}

CalledSet read_plink(const std::string& prefix) {
    CalledSet set;
    set.people = read_second_fields(prefix + ".fam", 0);
    for_each_line(prefix + ".bim", 0, [&](Fields& fields) {
        fields.skip(3);
        set.sites.push_back(next_site(fields));
    });
    const std::string bytes = read_bytes(prefix + ".bed");
    const std::string_view magic = "\x6C\x1B\x01";
    if (!bytes.starts_with(magic)) throw std::runtime_error(prefix + ".bed: not a variant-major BED file");
    const std::size_t block = (set.people.size() + 3) / 4;
    if (bytes.size() != magic.size() + block * set.sites.size()) {
        throw std::runtime_error(prefix + ".bed: its size does not fit the BIM and FAM files");
    }
    for (std::size_t start = magic.size(); start < bytes.size(); start += block) {
        set.calls.push_back(
            decode_bed_block(std::string_view(bytes).substr(start, block), set.people.size()));
    }
    return set;
}

CalledSet read_gen(const std::string& gen, const std::string& sample, double threshold) {
    CalledSet set;
    set.people = read_sample(sample);
    for_each_line(gen, 0, [&](Fields& fields) {
        fields.skip(2);
        set.sites.push_back(next_site(fields));
        std::vector<std::int8_t>& calls = set.calls.emplace_back(set.people.size());
        for (std::int8_t& call : calls) call = next_call(fields, threshold);
        fields.expect_end();
    });
    return set;
}

PhaseMask read_mask(const std::string& path, const PhasedSet& truth) {
    PhaseMask mask;
    for_each_line(path, 0, [&](Fields& fields) {
        fields.skip(1);
        const auto position = fields.next_number<std::int64_t>();
        if (mask.size() == truth.sites.size() || truth.sites[mask.size()].position != position) {
            fields.fail("the mask does not follow the sites of the truth");
        }
        std::string states(fields.next());
        if (states.size() != truth.people.size())
            fields.fail("the mask does not fit the people of the truth");
        if (states.find_first_not_of("10.m") != std::string::npos)
            fields.fail("the mask may have only 1, 0, . and m");
        mask.push_back(std::move(states));
    });
    if (mask.size() != truth.sites.size()) throw std::runtime_error(path + ": fewer sites than in the truth");
    return mask;
}

std::vector<std::string> read_ids(const std::string& path) {
    std::vector<std::string> ids;
    for_each_line(path, 0, [&](Fields& fields) { ids.emplace_back(fields.next()); });
    return ids;
}

}  // namespace evaluation
