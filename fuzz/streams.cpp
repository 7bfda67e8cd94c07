// One byte that selects the compression and the way of reading, then a file.
#include "utils/streams.h"

#include "spare/packed_files.h"
#include "support.h"

namespace {

enum way { LINES, BYTES, TEXTS, WAYS };

void read_all(const std::string& name, way how) {
    ifile stream(name, how != LINES);
    std::string text;
    char bytes[300];
    std::size_t n_lines = 0;
    switch (how) {
        case LINES:
            while (stream.getLine(text)) {
                FUZZ_LAW(text.find('\n') == std::string::npos);
                ++n_lines;
            }
            break;
        case BYTES:
            while (stream.readBytes(bytes, sizeof bytes)) FUZZ_LAW(stream.gcount() == sizeof bytes);
            break;
        default:
            while (spare::read_string(text, stream)) FUZZ_LAW(text.find('\0') == std::string::npos);
    }
    stream.close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file files[] = {fuzz::memory_file("plain.txt"), fuzz::memory_file("packed.gz"),
                                        fuzz::memory_file("packed.bz2")};
    fuzz::input bytes(data, size);
    const unsigned choice = bytes.byte();
    fuzz::memory_file& file = files[choice % 3];
    file.fill(bytes.rest());
    fuzz::completes([&] { read_all(file.name(), static_cast<way>(choice / 3 % WAYS)); });
    return 0;
}
