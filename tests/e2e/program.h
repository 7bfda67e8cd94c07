#pragma once

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace e2e {

using arguments = std::vector<std::string>;

/// Cuts a command line at blanks.
arguments words(const std::string& line);

/// Runs the program with `folder` as its current folder.
support::child_end run(const support::temporary_folder& folder, const arguments& args);
support::child_end run(const support::temporary_folder& folder, const std::string& line);

/// Console text without colours, the banner, and the progress lines that later ones overwrite.
std::string plain(const std::string& console);

/// The last line of the console that is not empty, without colours.
std::string last_line(const support::child_end& end);

/// Names of the files in `folder`, sorted.
std::vector<std::string> files_in(const support::temporary_folder& folder);

}  // namespace e2e
