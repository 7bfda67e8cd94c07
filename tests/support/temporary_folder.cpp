#include "support/temporary_folder.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "support/files.h"

namespace support {

temporary_folder::temporary_folder()
    : folder((std::filesystem::temp_directory_path() / "tolvane-test-XXXXXX").string()) {
    if (::mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
}

temporary_folder::~temporary_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

std::string temporary_folder::put(const std::string& name, const std::string& bytes) const {
    write_file(at(name), bytes);
    return at(name);
}

}  // namespace support
