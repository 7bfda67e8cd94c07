#pragma once

#include <functional>
#include <string>

#include "modules/worker_team.h"

/// What a pass shows.
struct pass_texts {
    std::string heading;   // a line for the log
    std::string progress;  // name in the progress line of the console, as in "\rPruning graphs [3/10]"
};

/// A pass over items that shows its progress: calls work(item) once for each item from 0 to `n_items` - 1.
/// With one thread the progress line counts the items done; with several it counts those started, since it
/// comes before an item's work.
void run_pass(worker_team& team, const pass_texts& texts, int n_items, const std::function<void(int)>& work);
