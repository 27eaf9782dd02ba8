#include "refhost/streams/g726.h"

namespace corvane::refhost {
namespace {

constexpr unsigned ByteBits = 8;

} // namespace

unsigned LeastSignificantFirstBits(const std::string& encoding) {
    constexpr unsigned LeastBits = 2;
    constexpr unsigned MostBits = 5;
    for (unsigned bits = LeastBits; bits <= MostBits; ++bits)
        if (encoding == "G726-" + std::to_string(bits * 8)) // kilobits a second, of 8000 codewords
            return bits;
    return 0;
}

// What is written never overtakes what has been read.
void PutMostSignificantFirst(unsigned char* data, std::size_t size, unsigned bits) {
    const unsigned mask = (1U << bits) - 1;
    unsigned char* written = data;
    unsigned in = 0; // the bits read and not yet taken, the next ones lowest
    unsigned inBits = 0;
    unsigned out = 0; // the bits not yet written, the next ones highest
    unsigned outBits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        in |= static_cast<unsigned>(data[i]) << inBits;
        for (inBits += ByteBits; inBits >= bits; inBits -= bits) {
            out = out << bits | (in & mask);
            in >>= bits;
            outBits += bits;
            if (outBits < ByteBits)
                continue;
            outBits -= ByteBits;
            *written++ = static_cast<unsigned char>(out >> outBits);
        }
    }
}

} // namespace corvane::refhost
