#include "utils/chromosome.h"

#include <algorithm>
#include <cctype>

std::string chromosome_key(std::string name) {
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (name.starts_with("CHR")) name.erase(0, 3);
    name.erase(0, std::min(name.find_first_not_of('0'), name.size()));
    return name;
}
