// Any bytes as the text of an integer: stoi must do what its rules say, digit by digit from
// the last one back, and what is read must survive its way to text and back.
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <string>

#include "FuzzTarget.h"
#include "primitives/conversions.h"
#include "primitives/number_text.h"

namespace {

bool Expected(const std::string& text, int* value)
{
    static const char kDigits[] = "0123456789abcdef";
    *value = 0;
    size_t first = 0;
    unsigned int base = 10;
    const bool is_negative = !text.empty() && text[0] == '-';
    if (is_negative) {
        first = 1;
    } else if (text.size() >= 3 && text[0] == '0' && (text[1] | 0x20) == 'x' &&
               isxdigit(static_cast<unsigned char>(text[2]))) {
        first = 2;
        base = 16;
    }
    unsigned int sum = 0, factor = 1;
    for (size_t i = text.size(); i-- > first; factor *= base) {
        const int character = tolower(static_cast<unsigned char>(text[i]));
        const void* found = memchr(kDigits, character, base);
        if (!found)
            return false;
        sum += factor * unsigned(static_cast<const char*>(found) - kDigits);
    }
    *value = int(is_negative ? 0u - sum : sum);
    return true;
}

void CheckText(int value)
{
    int length = 0, capacity = 0, error = 1;
    std::unique_ptr<char[]> text(itos(value, &length, &capacity));
    std::unique_ptr<char[]> room(new char[kIntegerRoom]);
    if (capacity != length + 1 || text[length] != 0 || std::to_string(value) != text.get() ||
        FormatInteger(value, room.get()) != length || strcmp(room.get(), text.get()) != 0)
        abort();
    if (stoi(text.get(), length, &error) != value || error)
        abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    int expected, error = -1;
    const bool valid = Expected(text, &expected);
    // An array of just these bytes: nothing behind them may be read.
    std::unique_ptr<char[]> exact(new char[size]);
    memcpy(exact.get(), text.data(), size);
    if (stoi(exact.get(), int(size), &error) != expected || error != (valid ? 0 : 1))
        abort();
    if (text.find('\0') == std::string::npos &&
        (stoi(text.c_str(), -1, &error) != expected || error != (valid ? 0 : 1)))
        abort();
    CheckText(expected);
    return 0;
}
