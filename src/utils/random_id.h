#pragma once

#include <string>

/// A new random UUID as text. It depends on no seed.
std::string random_id();
