#pragma once

#include <string>

/// The part of a chromosome's name that tells it from others: in upper case, without "chr" and leading zeros.
/// "chr20", "Chr20" and "20" have the same key.
std::string chromosome_key(std::string name);
