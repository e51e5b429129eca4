// Any bytes as the text of a number: stod must judge and read them as the C library does,
// whatever way they take, and what is read must survive its way to text and back.
#include <errno.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <memory>
#include <string>

#include "FuzzTarget.h"
#include "primitives/conversions.h"
#include "primitives/number_text.h"

namespace {

struct Judged {
    double value;
    int error;
};

// The words, then strtod; the C library knows hexadecimal numbers itself.
Judged Expected(const std::string& text)
{
    if (text.empty())
        return {0.0, 0};
    const bool is_negative = text[0] == '-';
    const std::string word = text.substr(is_negative ? 1 : 0);
    const bool has_nul = text.find('\0') != std::string::npos;
    if (!has_nul && strcasecmp(word.c_str(), "nan") == 0)
        return {copysign(NAN, is_negative ? -1.0 : 1.0), 0};
    if (!has_nul &&
        (strcasecmp(word.c_str(), "inf") == 0 || strcasecmp(word.c_str(), "infinity") == 0))
        return {is_negative ? -INFINITY : INFINITY, 0};
    char* end;
    errno = 0;
    const double value = strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size())
        return {0.0, 1};
    return {value, errno == ERANGE && isinf(value) ? 1 : 0};
}

bool IsSame(double a, double b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

void Check(const Judged& got, const Judged& expected)
{
    if (got.error != expected.error || !IsSame(got.value, expected.value))
        abort();
}

// A number comes back as it was, or rounded to 20 places if it needs more.
void CheckText(double value)
{
    char text[kDoubleRoom];
    const int length = FormatShortest(value, text);
    int error = 1, size = 0, capacity = 0;
    std::unique_ptr<char[]> allocated(dtos(value, &size, &capacity, -1));
    if (size != length || capacity <= size || strcmp(allocated.get(), text) != 0)
        abort();
    const double read = stod(text, length, length + 1, &error);
    const double half_of_last_place = 5.0001e-21;
    if (error || (fabs(value) >= 1e-3 && !IsSame(read, value)) ||
        fabs(read - value) > half_of_last_place + fabs(value) * 0x1p-52)
        abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const Judged expected = Expected(text);
    Judged got = {-1.0, -1};
    // An array of just these bytes, which must be copied where a NUL is needed.
    std::unique_ptr<char[]> exact(new char[size]);
    memcpy(exact.get(), text.data(), size);
    got.value = stod(exact.get(), int(size), int(size), &got.error);
    Check(got, expected);
    got.value = stod(text.c_str(), int(size), int(size) + 1, &got.error);
    Check(got, expected);
    if (isfinite(expected.value))
        CheckText(expected.value);
    return 0;
}
