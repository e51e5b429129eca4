// Times arrays of plain numbers, filled and read as the machine's loop does it, beside a
// vector of values of 16 bytes. A part of bench_values.

#include <string>
#include <vector>

#include "cases.h"
#include "variables/DirectValue.h"
#include "variables/Variable.h"

namespace {

using benchmark::DoNotOptimize;
using benchmark::State;

const int kElements = 100000;
const int kNumbers = 1000000;

void FillNumbers(Variable* array, int count)
{
    for (int i = 1; i <= count; ++i)
        DirectValue::SetElement(array, i, i);
}

unsigned int SumOfNumbers(const Variable* array, int count)
{
    unsigned int sum = 0;
    for (int i = 1; i <= count; ++i) {
        int integer;
        double real;
        if (DirectValue::ElementNumber(array, i, &integer, &real) == Variable::kInteger)
            sum += unsigned(integer);
    }
    return sum;
}

struct LibraryNumber {
    int type;
    union {
        int integer;
        double real;
    };
};

// Not seen through: how many there are and what they are is known at run time only.
[[gnu::noinline]] void FillLibraryNumbers(std::vector<LibraryNumber>* array, int count)
{
    for (int i = 1; i <= count; ++i)
        array->push_back({Variable::kInteger, {i}});
}

[[gnu::noinline]] unsigned int SumOfLibraryNumbers(const std::vector<LibraryNumber>& array)
{
    unsigned int sum = 0;
    for (size_t i = 0; i < array.size(); ++i) {
        if (array[i].type == Variable::kInteger)
            sum += unsigned(array[i].integer);
        DoNotOptimize(sum);
    }
    return sum;
}

void Array_Numbers(State& state)
{
    for (auto _ : state) {
        Variable* array = Variable::New("array", 5);
        FillNumbers(array, kNumbers);
        DoNotOptimize(SumOfNumbers(array, kNumbers));
        array->DecRefCount();
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_Numbers);

void Array_Numbers_library(State& state)
{
    for (auto _ : state) {
        std::vector<LibraryNumber> array;
        FillLibraryNumbers(&array, kNumbers);
        DoNotOptimize(SumOfLibraryNumbers(array));
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_Numbers_library);

// The same with a variable for each number.
void Array_NumbersInVariables(State& state)
{
    for (auto _ : state) {
        Variable* array = Variable::New("array", 5);
        for (int i = 1; i <= kNumbers; ++i)
            array->Element(AggregateIndex(i), 1)->SetValue_Integer(i);
        unsigned int sum = 0;
        for (int i = 1; i <= kNumbers; ++i) {
            int integer = 0;
            DirectValue::Integer(DirectValue::Element(array, i), &integer);
            sum += unsigned(integer);
        }
        DoNotOptimize(sum);
        array->DecRefCount();
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_NumbersInVariables);

void Array_SumOfNumbers(State& state)
{
    Variable* array = Variable::New("array", 5);
    FillNumbers(array, kNumbers);
    for (auto _ : state)
        DoNotOptimize(SumOfNumbers(array, kNumbers));
    array->DecRefCount();
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_SumOfNumbers);

void Array_SumOfNumbers_library(State& state)
{
    std::vector<LibraryNumber> array;
    FillLibraryNumbers(&array, kNumbers);
    for (auto _ : state)
        DoNotOptimize(SumOfLibraryNumbers(array));
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_SumOfNumbers_library);

void Array_CopyNumbers(State& state)
{
    Variable* array = Variable::New("array", 5);
    FillNumbers(array, kNumbers);
    for (auto _ : state) {
        Variable copy(*array);
        DoNotOptimize(copy.ElementsUsed());
    }
    array->DecRefCount();
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_CopyNumbers);

void Array_CopyNumbers_library(State& state)
{
    std::vector<LibraryNumber> array;
    FillLibraryNumbers(&array, kNumbers);
    for (auto _ : state) {
        std::vector<LibraryNumber> copy(array);
        DoNotOptimize(copy.data());
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}
ZEPH_CASE(Array_CopyNumbers_library);

void Array_TextOfNumbers(State& state)
{
    Variable* array = Variable::New("array", 5);
    FillNumbers(array, kElements);
    for (auto _ : state)
        DoNotOptimize(array->value().length());
    array->DecRefCount();
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_TextOfNumbers);

void Array_TextOfNumbers_library(State& state)
{
    std::vector<LibraryNumber> array;
    FillLibraryNumbers(&array, kElements);
    for (auto _ : state) {
        std::string text;
        for (const LibraryNumber& number : array)
            text.append(text.empty() ? "" : ",").append(std::to_string(number.integer));
        DoNotOptimize(text.data());
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_TextOfNumbers_library);

}  // namespace
