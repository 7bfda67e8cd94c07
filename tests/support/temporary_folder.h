#pragma once

#include <string>

namespace support {

/// A new folder that goes, with all it holds, when the object does.
class temporary_folder {
  public:
    temporary_folder();
    ~temporary_folder();
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    const std::string& path() const { return folder; }
    /// Path of an entry of that name.
    std::string at(const std::string& name) const { return folder + "/" + name; }
    /// Writes a file of these bytes and returns its path.
    std::string put(const std::string& name, const std::string& bytes) const;

  private:
    std::string folder;
};

}  // namespace support
