// Times the conversions between doubles and texts beside those of the C++ library, in
// alternation, so that a change of the machine's pace hits both.
//
//   bench_numbers [ROUNDS]
//
// Prints nanoseconds for each number and the ratio of the two. Both sides write the
// shortest text without an exponent and read it back; ours allocates its text and rounds
// to 20 places, which the other does not.

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <vector>

#include "primitives/conversions.h"

// Visible to everyone, so that no pass can be left out.
double g_sum;

namespace {

const int kDefaultRounds = 20;
const size_t kNumbers = 20000;

double Seconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Each pass writes and, if asked, reads; the sum keeps the work from being dropped.
double OurPass(const std::vector<double>& numbers, bool reads)
{
    double sum = 0;
    for (double number : numbers) {
        int length, capacity;
        char* text = dtos(number, &length, &capacity, -1);
        sum += reads ? stod(text, length, capacity, nullptr) : length;
        delete[] text;
    }
    return sum;
}

double LibraryPass(const std::vector<double>& numbers, bool reads)
{
    double sum = 0;
    char text[512];
    for (double number : numbers) {
        char* end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed).ptr;
        double value = double(end - text);
        if (reads)
            std::from_chars(text, end, value);
        sum += value;
    }
    return sum;
}

typedef double (*Pass)(const std::vector<double>&, bool);

// The fastest of all rounds, in nanoseconds for each number.
void Time(Pass pass, const std::vector<double>& numbers, bool reads, double* fastest)
{
    double start = Seconds();
    g_sum += pass(numbers, reads);
    double elapsed = (Seconds() - start) * 1e9 / double(numbers.size());
    if (*fastest == 0 || elapsed < *fastest)
        *fastest = elapsed;
}

void Compare(const char* name, const std::vector<double>& numbers, int rounds)
{
    for (bool reads : {false, true}) {
        double ours = 0, library = 0;
        for (int round = 0; round < rounds; ++round) {
            Time(OurPass, numbers, reads, &ours);
            Time(LibraryPass, numbers, reads, &library);
        }
        std::printf("%-22s %-14s %8.1f ns %8.1f ns %6.2f\n", name,
                    reads ? "write and read" : "write", ours, library, ours / library);
    }
}

template <typename Make>
std::vector<double> Numbers(Make make)
{
    std::mt19937_64 random(1);
    std::vector<double> numbers;
    while (numbers.size() < kNumbers)
        numbers.push_back(make(random));
    return numbers;
}

double AnyBits(std::mt19937_64& random)
{
    for (;;) {
        uint64_t bits = random();
        double number;
        std::memcpy(&number, &bits, sizeof number);
        if (std::isfinite(number))
            return number;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    int rounds = argc > 1 ? std::atoi(argv[1]) : kDefaultRounds;
    if (rounds < 1) {
        std::fprintf(stderr, "bench_numbers: '%s' is no number of rounds\n", argv[1]);
        return 1;
    }
    std::printf("%-22s %-14s %11s %11s %6s\n", "", "", "zeph", "library", "ratio");
    Compare("whole, to a million", Numbers([](auto& r) { return double(r() % 1000000); }), rounds);
    Compare("money", Numbers([](auto& r) { return double(r() % 10000000) / 100; }), rounds);
    Compare("quotients", Numbers([](auto& r) { return double(r() % 100000) / 7; }), rounds);
    Compare("any bits", Numbers(AnyBits), rounds);
    return 0;
}
