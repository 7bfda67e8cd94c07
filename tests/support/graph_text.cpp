#include "support/graph_text.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "support/files.h"
#include "support/haplotype_text.h"

namespace support {

namespace {

std::vector<std::string> words_of(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;)
        if (word != "|") words.push_back(word);
    return words;
}

int number(const std::string& text) {
    return text.empty() ? 0 : std::stoi(text);
}

void add_group(genotype_graph& graph, const std::vector<std::string>& words) {
    std::vector<unsigned char> nodes;
    std::vector<float> probabilities;
    for (const std::string& word : words) {
        if (word[0] == '=') {
            probabilities.back() = std::strtof(word.c_str() + 1, nullptr);
            continue;
        }
        const std::size_t arrow = word.find('>');
        if (arrow == std::string::npos) throw std::runtime_error("no step: " + word);
        if (nodes.size() % 2 == 0) probabilities.push_back(0.0F);
        nodes.push_back(step_byte(number(word.substr(0, arrow)), number(word.substr(arrow + 1))));
    }
    if (nodes.size() % 2 != 0) throw std::runtime_error("half a transition");
    graph.pushTrans(nodes);
    const unsigned first = graph.trans_offset.back();
    for (std::size_t k = 0; k < probabilities.size(); ++k)
        graph.trans_prob[first + k] = graph.trans_store[first + k] = probabilities[k];
}

void add_segment(genotype_graph& graph, const std::string& line) {
    const std::string text = line.substr(line.find('[') + 1, line.find(']') - line.find('[') - 1);
    const std::vector<std::string> candidates = words_of(text);
    graph.pushHaps(haplotype(text), static_cast<int>(candidates.size()));
    for (std::size_t i = 0; i < candidates[0].size(); ++i) {
        bool differ = false;
        for (const auto& candidate : candidates) differ = differ || candidate[i] != candidates[0][i];
        graph.site_ambiguous.push_back(std::uint64_t{differ}, 1);
        graph.site_missing.push_back(std::uint64_t{0}, 1);
    }
}

}  // namespace

genotype_graph graph_from(const std::string& text, const std::string& name) {
    genotype_graph graph(name);
    for (const std::string& line : lines_of(text)) {
        if (words_of(line).empty()) continue;
        if (line.find('[') != std::string::npos)
            add_segment(graph, line);
        else
            add_group(graph, words_of(line));
    }
    return graph;
}

genotype_graph built_from(const std::string& genotype_text, const std::string& name) {
    const genotypes g = genotypes_from(genotype_text);
    genotype_graph graph(name);
    graph.buildUnr(chaplotype(g.a), chaplotype(g.b), chaplotype(g.m));
    return graph;
}

std::string transition_text(const genotype_graph& graph, unsigned t) {
    std::ostringstream text;
    const int byte0 = graph.trans_nodes[2 * t], byte1 = graph.trans_nodes[2 * t + 1];
    text << byte0 % 16 << ">" << byte0 / 16 << " " << byte1 % 16 << ">" << byte1 / 16;
    return text.str();
}

std::string group_text(const genotype_graph& graph, int g) {
    std::string text;
    for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t)
        text += (text.empty() ? "" : ", ") + transition_text(graph, t);
    return text;
}

std::string segment_text(const genotype_graph& graph, int s) {
    std::string text;
    for (unsigned c = 0; c < graph.seg_count[s]; ++c) {
        if (c > 0) text += ' ';
        for (unsigned i = 0; i < graph.seg_length[s]; ++i)
            text += static_cast<char>('0' + graph.hap_bits.get(static_cast<int>(
                                                graph.seg_offset[s] + c * graph.seg_length[s] + i)));
    }
    return text;
}

}  // namespace support
