#pragma once

#include <string>

/// A new random UUID as text, independent of the seed.
std::string random_id();
