#ifndef ZEPH_TESTS_DECIMALMODEL_H
#define ZEPH_TESTS_DECIMALMODEL_H

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>

// What the conversions must give, told by the C++ library's shortest digits and by the
// C library's rounding of the exact value.

struct Decimal {
    std::string digits;
    int decpt;

    int Places() const { return int(digits.size()) - decpt; }
};

// Takes "d.ddde[+-]dd" apart.
inline Decimal FromScientific(const std::string& text)
{
    size_t e = text.find('e');
    Decimal decimal;
    for (size_t i = 0; i < e; ++i) {
        if (text[i] != '.')
            decimal.digits += text[i];
    }
    decimal.decpt = std::atoi(text.c_str() + e + 1) + 1;
    while (decimal.digits.size() > 1 && decimal.digits.back() == '0')
        decimal.digits.pop_back();
    return decimal;
}

// The shortest digits of a positive number.
inline Decimal ShortestDecimal(double value)
{
    char text[64];
    auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    return FromScientific(std::string(text, end.ptr));
}

inline std::string FixedText(double value, int places)
{
    char text[1600];
    return std::string(text, size_t(std::snprintf(text, sizeof text, "%.*f", places, value)));
}

// The digits of a positive number to at most `places` places, which are not negative.
inline Decimal DecimalToPlaces(double value, int places)
{
    Decimal shortest = ShortestDecimal(value);
    if (shortest.Places() <= places)
        return shortest;
    std::string text = FixedText(value, places);
    size_t point = text.find('.');
    Decimal decimal = {"", int(point == std::string::npos ? text.size() : point)};
    for (char c : text) {
        if (c != '.')
            decimal.digits += c;
    }
    size_t zeros = decimal.digits.find_first_not_of('0');
    if (zeros == std::string::npos)
        return {"", -places};
    decimal.digits.erase(0, zeros);
    decimal.decpt -= int(zeros);
    while (decimal.digits.back() == '0')
        decimal.digits.pop_back();
    return decimal;
}

// The text of a positive number with exactly `places` places.
inline std::string TextToPlaces(double value, int places)
{
    Decimal shortest = ShortestDecimal(value);
    if (shortest.Places() > places)
        return FixedText(value, places);
    std::string whole = "0", fraction;
    if (shortest.decpt > 0) {
        whole = shortest.digits.substr(0, size_t(shortest.decpt));
        whole.resize(size_t(shortest.decpt), '0');
        if (shortest.Places() > 0)
            fraction = shortest.digits.substr(size_t(shortest.decpt));
    } else {
        fraction = std::string(size_t(-shortest.decpt), '0') + shortest.digits;
    }
    fraction.resize(size_t(places), '0');
    return places > 0 ? whole + "." + fraction : whole;
}

// The text of a positive number without an explicit precision.
inline std::string TextOf(double value)
{
    std::string text = TextToPlaces(value, 20);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text;
}

#endif
