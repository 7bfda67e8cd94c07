#pragma once

/// Positions are in base pairs (bp); windows and maps are shown in megabases (Mb).
constexpr double BASES_PER_MB = 1e6;
