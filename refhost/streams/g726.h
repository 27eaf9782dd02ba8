#pragma once

#include <cstddef>
#include <string>

namespace corvane::refhost {

// A stream's description tells by the name of a G.726 encoding in which order the codewords of 2 to 5 bits
// stand in the bytes (RFC 3551): "G726-32" and the like begin at a byte's least significant bit,
// "AAL2-G726-32" and the like at its most significant one. The latter is what decoders and Matroska files
// take.

// How many bits a codeword of this encoding has, when it begins at the least significant bit; 0 for any
// other.
unsigned LeastSignificantFirstBits(const std::string& encoding);

// Puts codewords that begin at the least significant bit where they begin at the most significant one.
void PutMostSignificantFirst(unsigned char* data, std::size_t size, unsigned bits);

} // namespace corvane::refhost
