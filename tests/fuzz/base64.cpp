// Any bytes both as what is to be encoded and as base64 from a peer: each way stays within
// the room that its rule tells, and encoded bytes come back as they were.
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <string>

#include "FuzzTarget.h"
#include "primitives/base64.h"

namespace {

// An array of just so many bytes, so that a sanitizer sees what goes beyond them.
std::unique_ptr<char[]> Exact(const void* bytes, size_t size)
{
    std::unique_ptr<char[]> exact(new char[size]);
    if (size > 0)
        memcpy(exact.get(), bytes, size);
    return exact;
}

size_t EncodedSize(size_t size)
{
    return (size + 2) / 3 * 4;
}

// What a decoder without a table says of one character.
unsigned int ValueOf(char c)
{
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const void* found = memchr(kAlphabet, c, 64);
    return found ? unsigned(static_cast<const char*>(found) - kAlphabet) : 0;
}

std::string Expected(std::string text)
{
    for (int dropped = 0; dropped < 2 && !text.empty() && text.back() == '='; ++dropped)
        text.pop_back();
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 4) {
        const size_t count = text.size() - i < 4 ? text.size() - i : 4;
        unsigned int bits = 0;
        for (size_t j = 0; j < 4; ++j)
            bits = bits << 6 | (j < count ? ValueOf(text[i + j]) : 0);
        // A single stray character gives a byte as two of them do.
        const size_t written = count == 1 ? 1 : count - 1;
        for (size_t j = 0; j < written; ++j)
            bytes += char(bits >> (16 - 8 * j));
    }
    return bytes;
}

std::string Decoded(const char* text, size_t size)
{
    const size_t room = (size + 3) / 4 * 3;
    std::unique_ptr<char[]> out(new char[room]);
    const int length = zp_base64_decode(text, out.get(), int(size));
    if (length < 0 || size_t(length) > room)
        abort();
    return std::string(out.get(), size_t(length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    std::unique_ptr<char[]> exact = Exact(bytes, size);
    std::unique_ptr<char[]> encoded(new char[EncodedSize(size)]);
    if (zp_base64_encode(exact.get(), encoded.get(), int(size)) != int(EncodedSize(size)))
        abort();
    if (Decoded(encoded.get(), EncodedSize(size)) != input)
        abort();
    const std::string decoded = Decoded(exact.get(), size);
    if (decoded != Expected(input))
        abort();
    // Decoding in place gives the same.
    const int length = zp_base64_decode(exact.get(), exact.get(), int(size));
    if (decoded != std::string(exact.get(), size_t(length)))
        abort();
    return 0;
}
