#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "objects/chaplotype.h"

class ifile;
class ofile;

/// Packed forms for binary files, with numbers in the byte order of the machine.
namespace spare {

/// Writes the count as a 4-byte int, then ceil(count / 8) bytes, low bit first.
void bool2binary(const std::vector<bool>& bits, std::ostream& stream);
/// The reverse. False if the count or a byte is missing, or if the count is negative; `bits` then has what
/// was read.
bool binary2bool(std::vector<bool>& bits, std::istream& stream);

/// Writes the length as a 4-byte int, then the bytes.
void write_string(const std::string& text, ofile& file);
/// Reads a text stored by write_string, up to its first zero byte; false if it is truncated. A negative
/// length ends the run.
bool read_string(std::string& text, ifile& file);

/// Writes the number of loci (4 bytes), the number of bytes (4 bytes), then the bytes.
void write_haplotype(const chaplotype& haplotype, ofile& file);
/// The reverse; false if the file ends before. Inconsistent sizes end the run.
bool read_haplotype(chaplotype& haplotype, ifile& file);

}  // namespace spare
