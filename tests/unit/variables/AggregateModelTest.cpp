#include <strings.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/DirectValue.h"

// Thousands of random operations on aggregates, each done on a plain map as well.

namespace {

using Model = std::map<int, std::string>;

int FirstOf(const Model& model)
{
    return model.empty() ? 0 : model.begin()->first;
}

int LastOf(const Model& model)
{
    return model.empty() ? 0 : model.rbegin()->first;
}

// The model with every number from `start` on moved.
Model Moved(const Model& model, int start, int delta)
{
    Model moved;
    for (const auto& [number, text] : model)
        moved[number >= start ? number + delta : number] = text;
    return moved;
}

// What stands from `start` up to `limit` in `source`, put into `target` at a distance.
void PutRange(Model* target, const Model& source, int start, int limit, int distance)
{
    for (const auto& [number, text] : source)
        if (number >= start && number < limit)
            (*target)[number + distance] = text;
}

std::string Print(const Model& model)
{
    std::string text;
    for (const auto& [number, value] : model)
        text += (text.empty() ? "" : " ") + std::to_string(number) + "=" + value;
    return text;
}

void ModelCopy(Model* target, const Model& source, int start, int count, int destination)
{
    if (start < 1)
        start = FirstOf(source);
    if (start < 1 || (count < 0 && LastOf(source) < 1))
        return;
    int limit = count < 0 ? LastOf(source) + 1 : start + count;
    if (destination < 1)
        destination = LastOf(*target) + 1;
    const Model before = source;
    PutRange(target, before, start, limit, destination - start);
}

// For a source that is another array.
void ModelMerge(Model* target, const Model& source, int start, int count, int destination)
{
    if (start < 1)
        start = std::max(FirstOf(source), 1);
    if (count < 0)
        count = std::max(LastOf(source) > 0 ? LastOf(source) + 1 - start : 0, 0);
    if (destination < 1)
        destination = LastOf(*target) + 1;
    *target = Moved(*target, destination, count);
    PutRange(target, source, start, start + count, destination - start);
}

// For a source that is the target: unless the destination lies in the range, what is
// put there is the range as it was.
void ModelMergeSelf(Model* target, int start, int count, int destination)
{
    if (start < 1)
        start = std::max(FirstOf(*target), 1);
    if (count < 0)
        count = std::max(LastOf(*target) > 0 ? LastOf(*target) + 1 - start : 0, 0);
    if (destination < 1)
        destination = LastOf(*target) + 1;
    const Model before = *target;
    *target = Moved(*target, destination, count);
    if (destination <= start || destination >= start + count) {
        PutRange(target, before, start, start + count, destination - start);
        return;
    }
    PutRange(target, before, start, destination, destination - start);
    // From there on twice as much is read upward, what was put there included.
    int distance = destination - start - count;
    for (int number = destination + count; number < destination + 3 * count; ++number)
        if (auto found = target->find(number); found != target->end())
            (*target)[number + distance] = found->second;
}

// Whether a merge of all from `start` on would lower numbers instead of making room.
bool Lowers(const Model& source, int start, int count)
{
    return count < 0 && LastOf(source) > 0 && start > LastOf(source) + 1;
}

class ArrayPair {
public:
    // Numbers are around and below `range`.
    ArrayPair(unsigned int seed, int range) : m_random(seed), m_range(range)
    {
        for (Held& array : m_arrays) {
            array = Held(Variable::New("x", 1));
            array->Convert_Aggregate(kAggregateArray);
        }
    }

    void Step()
    {
        int which = Below(2);
        Held& x = m_arrays[which];
        Model& model = m_models[which];
        int number = Below(m_range) + 1;
        int count = Below(m_range / 2 - 2) - 1;
        int destination = Below(m_range);
        bool copy = Below(2) == 1;
        switch (Below(14)) {
            case 0:
            case 1: {
                std::string text = std::to_string(Below(1000));
                // A variable of its own, since one that was there may be shared.
                x->SetElement(AggregateIndex(number), Fresh(text.c_str()).get());
                model[number] = text;
                break;
            }
            case 2:
                x->DeleteElement(AggregateIndex(number), copy);
                model.erase(number);
                if (copy)
                    model = Moved(model, number + 1, -1);
                break;
            case 3: {
                int position = destination - 2;
                std::string text = std::to_string(Below(1000));
                x->InsertElement(position, Fresh(text.c_str()).get());
                if (position < 1)
                    position = LastOf(model) + 1;
                else
                    model = Moved(model, position, 1);
                model[position] = text;
                break;
            }
            case 4:
                if (Below(3) == 0)
                    Delete(&x, &model, number, count, copy);
                break;
            case 5:
                x->CopyElements(m_arrays[!which].get(), number - 2, count, destination, copy);
                ModelCopy(&model, m_models[!which], number - 2, count, destination);
                break;
            case 6:
                x->CopyElements(x.get(), number - 2, count, destination, copy);
                ModelCopy(&model, model, number - 2, count, destination);
                break;
            case 7:
                if (Lowers(m_models[!which], number - 2, count))
                    break;
                x->MergeElements(m_arrays[!which].get(), number - 2, count, destination, copy);
                ModelMerge(&model, m_models[!which], number - 2, count, destination);
                break;
            case 8:
                if (Lowers(model, number - 2, count))
                    break;
                x->MergeElements(x.get(), number - 2, count, destination, copy);
                ModelMergeSelf(&model, number - 2, count, destination);
                break;
            case 9:
                if (Below(10) == 0)
                    Collapse(&x, &model);
                break;
            case 10:
                Look(&x, model, number);
                break;
            default:
                SetNumber(&x, &model, Below(2) == 1 ? number : LastOf(model) + 1);
        }
        // Merging doubles: what grows too long is cut.
        x->DeleteElements(3 * m_range, -1, false);
        model.erase(model.lower_bound(3 * m_range), model.end());
    }

    // By what makes no elements of plain numbers, for the most part.
    void Check()
    {
        for (int which : {0, 1}) {
            ASSERT_EQ(NumbersAndTexts(*m_arrays[which]), Print(m_models[which]));
            if (Below(50) == 0) {
                ASSERT_EQ(ElementsOf(*m_arrays[which]), Print(m_models[which]));
            }
            ASSERT_EQ(m_arrays[which]->ElementsUsed(), int(m_models[which].size()));
            ASSERT_EQ(m_arrays[which]->Max(), LastOf(m_models[which]));
            ASSERT_EQ(m_arrays[which]->Min(), FirstOf(m_models[which]));
        }
    }

private:
    int Below(int limit) { return int(m_random() % unsigned(limit)); }

    static std::string NumbersAndTexts(Variable& x)
    {
        std::stringstream texts(ValueOf(x));
        std::string found;
        for (int number = x.Min(); number > 0; number = x.Next(number)) {
            std::string text;
            std::getline(texts, text, ',');
            found += (found.empty() ? "" : " ") + std::to_string(number) + "=" + text;
        }
        return found;
    }
    // Directly, unless the element is in both arrays or there is no short way to it.
    void SetNumber(Held* x, Model* model, int number)
    {
        ElementSlot* slot = (*x)->aggregateelements()->SlotOf(number);
        bool is_made = slot && !slot->IsEmpty() && !slot->IsNumber();
        bool is_shared = is_made && slot->element()->var()->refcount() > 1;
        int quarters = Below(4000);
        bool is_whole = quarters % 4 == 0;
        char text[20];
        snprintf(text, sizeof text, "%g", quarters / 4.0);
        if (is_shared || !(is_whole ? DirectValue::SetElement(x->get(), number, quarters / 4)
                                    : DirectValue::SetElement(x->get(), number, quarters / 4.0)))
            (*x)->SetElement(AggregateIndex(number), Fresh(text).get());
        (*model)[number] = text;
    }
    static void Delete(Held* x, Model* model, int start, int count, bool collapse)
    {
        (*x)->DeleteElements(start, count, collapse);
        bool to_end = count == -1;
        model->erase(model->lower_bound(start),
                     to_end ? model->end() : model->lower_bound(start + count));
        if (collapse && !to_end)
            *model = Moved(*model, start + count, -count);
    }
    static void Collapse(Held* x, Model* model)
    {
        Model collapsed;
        for (const auto& entry : *model)
            collapsed[int(collapsed.size()) + 1] = entry.second;
        *model = collapsed;
        EXPECT_EQ((*x)->CollapseElements(), int(model->size()));
    }
    static void Look(Held* x, const Model& model, int number)
    {
        auto next = model.upper_bound(number);
        EXPECT_EQ((*x)->Next(number), next == model.end() ? 0 : next->first);
        auto first = model.lower_bound(number);
        EXPECT_EQ((*x)->Previous(number), first == model.begin() ? 0 : std::prev(first)->first);
        Variable* found = At(**x, number);
        EXPECT_EQ(found != nullptr, model.count(number) == 1);
        if (found) {
            EXPECT_EQ(ValueOf(*found), model.at(number));
        }
        Held clone((*x)->Clone(nullptr));
        EXPECT_EQ(ElementsOf(*clone), Print(model));
    }

    std::mt19937 m_random;
    int m_range;
    Held m_arrays[2];
    Model m_models[2];
};

void CompareArrays(unsigned int seeds, int steps, int range)
{
    for (unsigned int seed = 1; seed <= seeds; ++seed) {
        ArrayPair pair(seed, range);
        for (int step = 0; step < steps; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            pair.Step();
            pair.Check();
            if (testing::Test::HasFailure())
                return;
        }
    }
}

TEST(AggregateModel, ArraysAgreeWithAMap)
{
    CompareArrays(20, 400, 20);
}

// With so many holes that the elements change between a run and a tree.
TEST(AggregateModel, SparseArraysAgreeWithAMap)
{
    CompareArrays(10, 300, 600);
}

struct WithoutCase {
    bool operator()(const std::string& left, const std::string& right) const
    {
        return strcasecmp(left.c_str(), right.c_str()) < 0;
    }
};

TEST(AggregateModel, StructuresAgreeWithAMap)
{
    std::mt19937 random(77);
    Held x = Fresh();
    x->Convert_Aggregate(kAggregateStructure);
    std::map<std::string, std::string, WithoutCase> model;
    for (int step = 0; step < 20000; ++step) {
        std::string name;
        for (unsigned int left = random() % 3 + 1; left > 0; --left)
            name += "abcABC12"[random() % 8];
        std::string text = std::to_string(random() % 1000);
        switch (random() % 3) {
            case 0:
                Put(*x, name.c_str(), text.c_str());
                model[name] = text;
                break;
            case 1:
                x->DeleteElement(AggregateIndex(name.c_str(), -1), random() % 2 == 0);
                model.erase(name);
                break;
            default: {
                Variable* found = Member(*x, name.c_str());
                ASSERT_EQ(found != nullptr, model.count(name) == 1);
                if (found) {
                    ASSERT_EQ(ValueOf(*found), model[name]);
                }
            }
        }
        ASSERT_EQ(x->ElementsUsed(), int(model.size()));
        if (step % 50 == 0) {
            std::string expected;
            for (const auto& [member, value] : model)
                expected += (expected.empty() ? "" : " ") + member + "=" + value;
            ASSERT_EQ(ElementsOf(*x), expected);
        }
    }
}

}  // namespace
