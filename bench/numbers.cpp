// Times the conversions between numbers and texts beside those of the C and C++ libraries.
//
//   bench_numbers [BENCHMARK OPTIONS]   nanoseconds for each number, as "ns"
//   bench_numbers texts KIND            the numbers of one kind, one a line, for others
//
// bench/compare_numbers.py runs it, and other languages beside it, and makes ratios of all that.
// What is written is always the shortest text without an exponent. `dtos` allocates its
// text and it is freed again; all others write to one buffer.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "primitives/conversions.h"
#include "primitives/number_text.h"

namespace {

const size_t kNumbers = 20000;

double AnyBits(std::mt19937_64& random)
{
    for (;;) {
        uint64_t bits = random();
        double number;
        std::memcpy(&number, &bits, sizeof number);
        if (std::fabs(number) >= 1e-5 && std::fabs(number) < 1e20)
            return number;
    }
}

double ShortDecimal(std::mt19937_64& random)
{
    return double(random() % 10000) / std::pow(10.0, double(random() % 4 + 1));
}

double Price(std::mt19937_64& random)
{
    return double(random() % 10000000) / 100;
}

double SeventeenDigits(std::mt19937_64& random)
{
    return std::ldexp(double(random() >> 11), -53) * std::pow(10.0, double(random() % 6));
}

double Integer(std::mt19937_64& random)
{
    return double(int(random() >> 32) >> random() % 31);
}

const struct Kind {
    const char* name;
    double (*make)(std::mt19937_64&);
} kKinds[] = {
    {"short", ShortDecimal}, {"price", Price},     {"digits17", SeventeenDigits},
    {"bits", AnyBits},       {"integer", Integer},
};

std::vector<double> Numbers(const Kind& kind)
{
    std::mt19937_64 random(1);
    std::vector<double> numbers;
    while (numbers.size() < kNumbers)
        numbers.push_back(kind.make(random));
    return numbers;
}

std::string Text(double number)
{
    char text[kDoubleRoom];
    return std::string(text, size_t(FormatShortest(number, text)));
}

std::vector<std::string> Texts(const Kind& kind)
{
    std::vector<std::string> texts;
    for (double number : Numbers(kind))
        texts.push_back(Text(number));
    return texts;
}

// Each converts one number; what comes out keeps it from being left out.
int DtosWrites(double number)
{
    int length, capacity;
    char* text = dtos(number, &length, &capacity, -1);
    benchmark::DoNotOptimize(text);
    delete[] text;
    return length;
}

int BufferWrites(double number)
{
    char text[kDoubleRoom];
    int length = FormatShortest(number, text);
    benchmark::DoNotOptimize(text);
    return length;
}

int LibraryWrites(double number)
{
    char text[kDoubleRoom];
    auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed);
    benchmark::DoNotOptimize(text);
    return int(end.ptr - text);
}

double StodReads(const std::string& text)
{
    return stod(text.data(), int(text.size()), int(text.size()) + 1, nullptr);
}

double LibraryReads(const std::string& text)
{
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double StrtodReads(const std::string& text)
{
    return std::strtod(text.c_str(), nullptr);
}

double OurPair(double number)
{
    int length, capacity;
    char* text = dtos(number, &length, &capacity, -1);
    double value = stod(text, length, capacity, nullptr);
    delete[] text;
    return value;
}

double BufferPair(double number)
{
    char text[kDoubleRoom];
    int length = FormatShortest(number, text);
    return stod(text, length, length + 1, nullptr);
}

double LibraryPair(double number)
{
    char text[kDoubleRoom];
    auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed);
    double value = 0;
    std::from_chars(text, end.ptr, value);
    return value;
}

int ItosWrites(double number)
{
    int length, capacity;
    char* text = itos(int(number), &length, &capacity);
    benchmark::DoNotOptimize(text);
    delete[] text;
    return length;
}

int IntegerBufferWrites(double number)
{
    char text[kIntegerRoom];
    int length = FormatInteger(int(number), text);
    benchmark::DoNotOptimize(text);
    return length;
}

int IntegerLibraryWrites(double number)
{
    char text[kIntegerRoom];
    auto end = std::to_chars(text, text + sizeof text, int(number));
    benchmark::DoNotOptimize(text);
    return int(end.ptr - text);
}

int StoiReads(const std::string& text)
{
    return stoi(text.data(), int(text.size()), nullptr);
}

int IntegerLibraryReads(const std::string& text)
{
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

template <typename Item, typename Convert>
void Add(const char* what, const Kind& kind, std::vector<Item> items, Convert convert)
{
    auto run = [items, convert](benchmark::State& state) {
        for (auto _ : state) {
            for (const Item& item : items)
                benchmark::DoNotOptimize(convert(item));
        }
        using benchmark::Counter;
        state.counters["ns"] = Counter(double(items.size()) * 1e-9,
                                       Counter::kIsIterationInvariantRate | Counter::kInvert);
    };
    benchmark::RegisterBenchmark((std::string(what) + "/" + kind.name).c_str(), run);
}

void AddAll()
{
    for (const Kind& kind : kKinds) {
        Add("write/dtos", kind, Numbers(kind), DtosWrites);
        Add("write/buffer", kind, Numbers(kind), BufferWrites);
        Add("write/library", kind, Numbers(kind), LibraryWrites);
        Add("read/stod", kind, Texts(kind), StodReads);
        Add("read/library", kind, Texts(kind), LibraryReads);
        Add("read/strtod", kind, Texts(kind), StrtodReads);
        Add("pair/dtos", kind, Numbers(kind), OurPair);
        Add("pair/buffer", kind, Numbers(kind), BufferPair);
        Add("pair/library", kind, Numbers(kind), LibraryPair);
    }
    const Kind integers = {"int", Integer};
    Add("write/itos", integers, Numbers(integers), ItosWrites);
    Add("write/buffer", integers, Numbers(integers), IntegerBufferWrites);
    Add("write/library", integers, Numbers(integers), IntegerLibraryWrites);
    Add("read/stoi", integers, Texts(integers), StoiReads);
    Add("read/library", integers, Texts(integers), IntegerLibraryReads);
}

int PrintTexts(const char* name)
{
    for (const Kind& kind : kKinds) {
        if (std::strcmp(kind.name, name) != 0)
            continue;
        for (const std::string& text : Texts(kind))
            std::printf("%s\n", text.c_str());
        return 0;
    }
    std::fprintf(stderr, "bench_numbers: there is no kind '%s'\n", name);
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "texts") == 0)
        return PrintTexts(argv[2]);
    AddAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
