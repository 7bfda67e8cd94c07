#pragma once

#include <string>

namespace support {

/// A new folder, deleted with its content when the object is destroyed.
class temporary_folder {
  public:
    temporary_folder();
    ~temporary_folder();
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    const std::string& path() const { return folder; }
    /// Path of a file of that name in the folder.
    std::string at(const std::string& name) const { return folder + "/" + name; }
    /// Writes these bytes to a file of that name and returns its path.
    std::string put(const std::string& name, const std::string& bytes) const;

  private:
    std::string folder;
};

}  // namespace support
