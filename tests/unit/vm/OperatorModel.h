#ifndef ZEPH_TESTS_UNIT_VM_OPERATORMODEL_H
#define ZEPH_TESTS_UNIT_VM_OPERATORMODEL_H

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>

#include "../primitives/DecimalModel.h"

// What the operators must make of their operands, told a second time with the means of the
// C++ library.
namespace model {

inline bool IsHex(char c)
{
    return std::string("0123456789abcdefABCDEF").find(c) != std::string::npos;
}

inline std::string Lower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = char(c + 32);
    return text;
}

inline int ToInteger(const std::string& text, bool* error = nullptr)
{
    bool negative = !text.empty() && text[0] == '-';
    bool hex = text.size() > 2 && Lower(text.substr(0, 2)) == "0x" && IsHex(text[2]);
    std::string digits = text.substr(negative ? 1 : hex ? 2 : 0);
    const char* allowed = hex ? "0123456789abcdefABCDEF" : "0123456789";
    bool wrong = digits.find_first_not_of(allowed) != std::string::npos;
    if (error)
        *error = wrong;
    if (wrong)
        return 0;
    unsigned int sum = 0;
    for (char c : digits)
        sum = sum * (hex ? 16 : 10) + unsigned(std::stoi(std::string(1, c), nullptr, 16));
    return int(negative ? 0u - sum : sum);
}

inline double ToDouble(const std::string& text, bool* error = nullptr)
{
    bool wrong = false;
    double value = 0;
    if (!text.empty()) {
        std::string word = Lower(text[0] == '-' ? text.substr(1) : text);
        char* end;
        errno = 0;
        value = std::strtod(text.c_str(), &end);
        if (word == "inf" || word == "infinity" || word == "nan")
            wrong = false;
        else if (end != text.c_str() + text.size())
            value = 0, wrong = true;
        else
            wrong = errno == ERANGE && std::isinf(value);
    }
    if (error)
        *error = wrong;
    return value;
}

inline int Truncated(double value)
{
    double whole = std::trunc(value);
    return whole >= INT_MIN && whole <= INT_MAX ? int(whole) : INT_MIN;
}

inline std::string Signed(double value, const std::string& text)
{
    return std::signbit(value) ? "-" + text : text;
}

inline std::string ToText(double value)
{
    if (std::isnan(value))
        return Signed(value, "NaN");
    if (std::isinf(value))
        return Signed(value, "Infinity");
    return Signed(value, TextOf(std::fabs(value)));
}

inline bool IsTrue(const std::string& text)
{
    size_t points = 0;
    for (char c : text) {
        if (c == '.')
            ++points;
        if (c != '.' && c != '0')
            return true;
    }
    return points > 1;
}

// `value` with its digits cut to `places`; it is finite.
inline double RoundedDigits(double value, int places)
{
    Decimal decimal = DecimalToPlaces(std::fabs(value), 20);
    int kept = std::max(0, places + decimal.decpt);
    unsigned long long whole = kept == 0 ? 0 : std::stoull(decimal.digits.substr(0, size_t(kept)));
    std::string rest = decimal.digits.substr(size_t(kept));
    // Compared as texts of the digits behind the cut.
    std::string tail = rest.substr(0, rest.find_last_not_of('0') + 1);
    if (tail > "5" || (tail == "5" && whole % 2 == 1))
        ++whole;
    double rounded = double(whole) / std::pow(10.0, places);
    return std::signbit(value) ? -rounded : rounded;
}

inline bool NeedsRounding(double value, int places)
{
    return places > 0 && places < DecimalToPlaces(std::fabs(value), 20).Places();
}

inline std::string RoundS(double value, int places)
{
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return "Infinity";
    if (places < 0)
        places = 0;
    if (NeedsRounding(value, places))
        value = RoundedDigits(value, places);
    return Signed(value, TextToPlaces(std::fabs(value), places));
}

inline double RoundF(double value, int places)
{
    if (!std::isfinite(value))
        return INFINITY;
    return NeedsRounding(value, places) ? RoundedDigits(value, places) : value;
}

inline int OrderOfNumbers(double left, double right)
{
    return left == right ? 0 : left < right ? -1 : 1;
}

inline int OrderOfTexts(const std::string& left, const std::string& right)
{
    int order = left.compare(right);
    return order < 0 ? -1 : order > 0;
}

// What in, cin, ein and ecin push.
inline int Found(const std::string& needle, const std::string& haystack, bool any_case, bool at_end)
{
    if (haystack.empty())
        return 0;
    size_t position = any_case ? Lower(haystack).find(Lower(needle)) : haystack.find(needle);
    if (position == std::string::npos)
        return 0;
    return int(at_end ? position + needle.size() : position + 1);
}

}  // namespace model

#endif
