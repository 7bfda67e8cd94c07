#pragma once

#include <optional>
#include <string>

#include "utils/ending.h"

/// An output file that gets its name when it is complete. Until then its bytes are in a temporary file of the
/// same folder, called NAME.part-UUID, so that an unfinished file never has the name of an output and what
/// had the name before stays as it is. Links are followed: the file at their end is replaced.
///
/// Written in place are files in folders without write permission, anything but regular files, and files that
/// are named by a descriptor (/dev/fd/3). Where a file cannot be renamed, such as one that is a mount point
/// of its own, its bytes are copied at the end.
class pending_file {
  public:
    /// Opens the file. `descriptor()` is -1 if it can't be created or may not be written; errno is the
    /// reason.
    explicit pending_file(const std::string& name);

    /// Open for writing. The caller closes it.
    int descriptor() const { return opened; }
    /// Gives the file its name. False, with errno, if that fails; then keep() has the complete file. Must be
    /// called after the descriptor is closed.
    bool publish();
    /// The name that the file has now.
    const std::string& current_name() const { return temporary ? temporary->name() : target; }
    /// Leaves the file where it is, and returns its name.
    const std::string& keep();
    /// Removes the file unless it has its name or was written in place.
    ~pending_file();
    pending_file(const pending_file&) = delete;
    pending_file& operator=(const pending_file&) = delete;

  private:
    void open_beside();
    void open_in_place();

    std::string target;
    std::optional<unfinished_file> temporary;
    int opened = -1;
};
