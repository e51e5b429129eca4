// Times the ground floors: values, text buffers, tables of names, arrays and searches, each
// beside what the C++ or the C library offers for the same work.
//
//   bench_values [--benchmark_filter=REGEX] [--benchmark_repetitions=N] ...
//
// A case that ends in _library is the peer of the one before it. Only the ratio of the two
// counts; bench/count_values.py counts the instructions of each.

#include <algorithm>
#include <cstring>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "cases.h"
#include "image/Dictionary.h"
#include "primitives/string_search.h"
#include "variables/LinkBuffer.h"
#include "variables/Variable.h"
#include "variables/VariableHash.h"

namespace {

using benchmark::DoNotOptimize;
using benchmark::State;

const int kElements = 100000;
const int kNames = 1000;
const int kBuckets = 12;
const int kBlock = 512;

std::string NameOf(int number)
{
    return "customer_" + std::to_string(number);
}

std::vector<int> ShuffledNumbers(int count)
{
    std::vector<int> numbers(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        numbers[static_cast<size_t>(i)] = i + 1;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
    return numbers;
}

// ---- Variables

void Variable_MakeAndDrop(State& state)
{
    for (auto _ : state) {
        Variable* variable = new Variable("counter", 7, 42);
        DoNotOptimize(variable);
        variable->DecRefCount();
    }
}
ZEPH_CASE(Variable_MakeAndDrop);

struct LibraryValue {
    std::string name;
    std::string text;
    int integer;
};

void Variable_MakeAndDrop_library(State& state)
{
    for (auto _ : state) {
        LibraryValue* value = new LibraryValue{"counter", "", 42};
        DoNotOptimize(value);
        delete value;
    }
}
ZEPH_CASE(Variable_MakeAndDrop_library);

void Variable_SetInteger(State& state)
{
    Variable variable("counter", 7);
    int i = 0;
    for (auto _ : state) {
        variable.SetValue_Integer(++i);
        DoNotOptimize(&variable);
    }
}
ZEPH_CASE(Variable_SetInteger);

void Variable_SetText(State& state)
{
    Variable variable("name", 4);
    for (auto _ : state) {
        variable.SetValue("a short text", 12);
        DoNotOptimize(&variable);
    }
}
ZEPH_CASE(Variable_SetText);

void Variable_SetText_library(State& state)
{
    std::string text;
    for (auto _ : state) {
        text.assign("a short text", 12);
        DoNotOptimize(text.data());
    }
}
ZEPH_CASE(Variable_SetText_library);

void Variable_IntegerToText(State& state)
{
    Variable variable("counter", 7);
    int i = 100000;
    for (auto _ : state) {
        variable.SetValue_Integer(++i);
        DoNotOptimize(variable.value().data());
    }
}
ZEPH_CASE(Variable_IntegerToText);

void Variable_IntegerToText_library(State& state)
{
    int i = 100000;
    for (auto _ : state) {
        std::string text = std::to_string(++i);
        DoNotOptimize(text.data());
    }
}
ZEPH_CASE(Variable_IntegerToText_library);

void Variable_TextToInteger(State& state)
{
    Variable variable("counter", 7);
    for (auto _ : state) {
        variable.SetValue("123456", 6);
        DoNotOptimize(variable.value_integer());
    }
}
ZEPH_CASE(Variable_TextToInteger);

void Variable_TextToInteger_library(State& state)
{
    std::string text;
    for (auto _ : state) {
        text.assign("123456", 6);
        DoNotOptimize(strtol(text.c_str(), nullptr, 10));
    }
}
ZEPH_CASE(Variable_TextToInteger_library);

void Variable_DoubleToTextAndBack(State& state)
{
    Variable variable("price", 5);
    Variable read("read", 4);
    double number = 0.25;
    for (auto _ : state) {
        variable.SetValue_Double(number += 0.01);
        const String& text = variable.value();
        read.SetValue(text.data(), text.length());
        DoNotOptimize(read.value_double());
    }
}
ZEPH_CASE(Variable_DoubleToTextAndBack);

// ---- Text buffers

void LinkBuffer_Append(State& state)
{
    for (auto _ : state) {
        LinkBuffer buffer(1024, 1024);
        for (int i = 0; i < 1000; ++i)
            buffer.cat("sixteen bytes it", 16);
        DoNotOptimize(buffer.length());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
ZEPH_CASE(LinkBuffer_Append);

void LinkBuffer_Append_library(State& state)
{
    for (auto _ : state) {
        std::string buffer;
        for (int i = 0; i < 1000; ++i)
            buffer.append("sixteen bytes it", 16);
        DoNotOptimize(buffer.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
ZEPH_CASE(LinkBuffer_Append_library);

// ---- Tables of names

std::vector<std::string> Names()
{
    std::vector<std::string> names;
    for (int number : ShuffledNumbers(kNames))
        names.push_back(NameOf(number));
    return names;
}

void Table_Find(State& state)
{
    Dictionary dictionary;
    VariableHash table(&dictionary, kBuckets, kBlock);
    std::vector<std::string> names = Names();
    for (const std::string& name : names)
        table.SetVariable(name.data(), int(name.size()), "x", 1);
    size_t i = 0;
    for (auto _ : state) {
        const std::string& name = names[i];
        i = i + 1 == names.size() ? 0 : i + 1;
        Variable* found = nullptr;
        DoNotOptimize(table.Find(&found, name.data(), int(name.size()), 0));
    }
}
ZEPH_CASE(Table_Find);

void Table_Find_library(State& state)
{
    std::unordered_map<std::string, std::string> table;
    std::vector<std::string> names = Names();
    for (const std::string& name : names)
        table.emplace(name, name);
    size_t i = 0;
    for (auto _ : state) {
        const std::string& name = names[i];
        i = i + 1 == names.size() ? 0 : i + 1;
        DoNotOptimize(table.find(name));
    }
}
ZEPH_CASE(Table_Find_library);

void Table_VariableOfSlot(State& state)
{
    Dictionary dictionary;
    VariableHash table(&dictionary, kBuckets, kBlock);
    for (int i = 1; i <= kNames; ++i)
        table.Insert(NameOf(i).data(), -1);
    for (auto _ : state) {
        for (int slot = 0; slot < kNames; ++slot)
            DoNotOptimize(table.Index(slot, 1));
        table.Dump();
    }
    state.SetItemsProcessed(state.iterations() * kNames);
}
ZEPH_CASE(Table_VariableOfSlot);

// ---- Aggregates

void FillArray(Variable* array, int count)
{
    for (int i = 1; i <= count; ++i)
        array->Element(AggregateIndex(i), 1)->SetValue_Integer(i);
}

void Array_Append(State& state)
{
    for (auto _ : state) {
        Variable array("array", 5);
        FillArray(&array, kElements);
        DoNotOptimize(array.ElementsUsed());
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Append);

void Array_Append_library(State& state)
{
    for (auto _ : state) {
        std::map<int, LibraryValue> array;
        for (int i = 1; i <= kElements; ++i)
            array.emplace_hint(array.end(), i, LibraryValue{"", "", i});
        DoNotOptimize(array.size());
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Append_library);

void Array_InOrder(State& state)
{
    Variable array("array", 5);
    FillArray(&array, kElements);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (int i = 1; i <= kElements; ++i)
            sum += unsigned(array.Element(AggregateIndex(i), 0)->value_integer());
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_InOrder);

std::map<int, LibraryValue> LibraryArray()
{
    std::map<int, LibraryValue> array;
    for (int i = 1; i <= kElements; ++i)
        array.emplace_hint(array.end(), i, LibraryValue{"", "", i});
    return array;
}

void Array_InOrder_library(State& state)
{
    std::map<int, LibraryValue> array = LibraryArray();
    for (auto _ : state) {
        unsigned int sum = 0;
        for (int i = 1; i <= kElements; ++i)
            sum += unsigned(array.find(i)->second.integer);
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_InOrder_library);

void Array_Random(State& state)
{
    Variable array("array", 5);
    FillArray(&array, kElements);
    std::vector<int> numbers = ShuffledNumbers(kElements);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (int number : numbers)
            sum += unsigned(array.Element(AggregateIndex(number), 0)->value_integer());
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Random);

void Array_Random_library(State& state)
{
    std::map<int, LibraryValue> array = LibraryArray();
    std::vector<int> numbers = ShuffledNumbers(kElements);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (int number : numbers)
            sum += unsigned(array.find(number)->second.integer);
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Random_library);

void Array_WalkByNext(State& state)
{
    Variable array("array", 5);
    FillArray(&array, kElements);
    for (auto _ : state) {
        int last = 0;
        for (int i = array.Min(); i > 0; i = array.Next(i))
            last = i;
        DoNotOptimize(last);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_WalkByNext);

void Array_Sparse(State& state)
{
    Variable array("array", 5);
    for (int i = 1; i <= kElements; ++i)
        array.Element(AggregateIndex(i * 7), 1)->SetValue_Integer(i);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (int i = 1; i <= kElements; ++i)
            sum += unsigned(array.Element(AggregateIndex(i * 7), 0)->value_integer());
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Sparse);

const char* const kMembers[] = {"id", "name", "street", "zip", "city", "country", "phone", "email"};

void Structure_Member(State& state)
{
    Variable structure("customer", 8);
    for (const char* member : kMembers)
        structure.Element(AggregateIndex(member, -1), 1)->SetValue_Integer(1);
    for (auto _ : state) {
        int sum = 0;
        for (const char* member : kMembers)
            sum += structure.Element(AggregateIndex(member, -1), 0)->value_integer();
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * 8);
}
ZEPH_CASE(Structure_Member);

void Structure_Member_library(State& state)
{
    std::map<std::string, LibraryValue> structure;
    for (const char* member : kMembers)
        structure[member].integer = 1;
    for (auto _ : state) {
        int sum = 0;
        for (const char* member : kMembers)
            sum += structure.find(member)->second.integer;
        DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * 8);
}
ZEPH_CASE(Structure_Member_library);

void Array_Copy(State& state)
{
    Variable array("array", 5);
    FillArray(&array, kElements);
    for (auto _ : state) {
        Variable copy(array);
        DoNotOptimize(copy.ElementsUsed());
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
ZEPH_CASE(Array_Copy);

// ---- Searches of a text of 64 KB, whose only match is at its end

std::string Haystack()
{
    std::string text;
    std::mt19937 random(1);
    while (text.size() < 65536)
        text += "abcdefghijklmnopqrstuvwxyz     "[random() % 31];
    return text + "Needle in it";
}

using SearchFunction = int(const char*, int, const char*, int);

void Search(State& state, SearchFunction* search, const char* needle)
{
    std::string text = Haystack();
    int length = int(strlen(needle));
    for (auto _ : state)
        DoNotOptimize(search(needle, length, text.data(), int(text.size())));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

int LibrarySearch(const char* needle, int needle_length, const char* text, int length)
{
    const void* found = memmem(text, size_t(length), needle, size_t(needle_length));
    return found ? int(static_cast<const char*>(found) - text) : -1;
}

void Search_Byte(State& state)
{
    Search(state, bm_search, "N");
}
ZEPH_CASE(Search_Byte);

void Search_Byte_library(State& state)
{
    Search(state, LibrarySearch, "N");
}
ZEPH_CASE(Search_Byte_library);

void Search_Word(State& state)
{
    Search(state, bm_search, "in it");
}
ZEPH_CASE(Search_Word);

void Search_BruteForce(State& state)
{
    Search(state, bf_search, "in it");
}
ZEPH_CASE(Search_BruteForce);

void Search_Word_library(State& state)
{
    Search(state, LibrarySearch, "in it");
}
ZEPH_CASE(Search_Word_library);

void Search_IgnoringCase(State& state)
{
    Search(state, bm_searchi, "IN IT");
}
ZEPH_CASE(Search_IgnoringCase);

void Search_Reverse(State& state)
{
    Search(state, bm_search_reverse, "Nowhere");
}
ZEPH_CASE(Search_Reverse);

}  // namespace

BENCHMARK_MAIN();
