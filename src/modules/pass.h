#pragma once

#include <functional>
#include <string>

#include "modules/worker_team.h"

/// The texts that a pass prints.
struct pass_texts {
    std::string heading;   // a line in the log
    std::string progress;  // start of the progress line on the console, as in "\rPruning graphs [3/10]"
};

/// Calls work(item) once for each item from 0 to `n_items` - 1, and shows the progress. With one thread the
/// progress line counts finished items. With several it is printed before the work and counts started items.
void run_pass(worker_team& team, const pass_texts& texts, int n_items, const std::function<void(int)>& work);
