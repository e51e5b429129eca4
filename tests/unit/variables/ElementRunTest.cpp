#include "variables/ElementRun.h"

#include <limits.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "variables/AggregateElement.h"
#include "variables/Variable.h"

namespace {

class RunTest : public testing::Test {
protected:
    AggregateElement* New(int number)
    {
        m_elements.push_back(std::make_unique<AggregateElement>(AggregateIndex(number)));
        return m_elements.back().get();
    }
    bool Put(int number) { return run.Put(number, New(number)); }
    bool Put(int number, ElementSlot slot) { return run.Put(number, slot); }
    // An element that the run has made of a plain number, which is the test's.
    AggregateElement* Kept(AggregateElement* made)
    {
        m_elements.emplace_back(made);
        return made;
    }
    std::string Numbers()
    {
        std::string text;
        run.ForEach([&](AggregateElement* element) {
            int number = element->index().number();
            EXPECT_EQ(run.At(number), element);
            text += (text.empty() ? "" : " ") + std::to_string(number);
        });
        return text;
    }

    ElementRun run;
    std::unique_ptr<AggregateElement> m_shared =
        std::make_unique<AggregateElement>(AggregateIndex(1));

private:
    std::vector<std::unique_ptr<AggregateElement>> m_elements;
};

TEST_F(RunTest, HoldsElementsInTheOrderOfTheirNumbers)
{
    EXPECT_EQ(run.First(), nullptr);
    EXPECT_EQ(run.Last(), nullptr);
    EXPECT_EQ(run.At(0), nullptr);
    for (int number : {5, 6, 3, 9, 4})
        EXPECT_TRUE(Put(number));
    EXPECT_EQ(Numbers(), "3 4 5 6 9");
    EXPECT_EQ(run.Entries(), 5);
    EXPECT_EQ(run.At(7), nullptr);
    EXPECT_EQ(run.At(2), nullptr);
    EXPECT_EQ(run.At(10), nullptr);
    EXPECT_EQ(run.At(INT_MAX), nullptr);
    EXPECT_EQ(run.AtOrBehind(7), run.At(9));
    EXPECT_EQ(run.AtOrBehind(-9), run.At(3));
    EXPECT_EQ(run.AtOrBehind(10), nullptr);
    EXPECT_EQ(run.AtOrInFrontOf(8), run.At(6));
    EXPECT_EQ(run.AtOrInFrontOf(INT_MAX + 1LL), run.At(9));
    EXPECT_EQ(run.AtOrInFrontOf(2), nullptr);
}

TEST_F(RunTest, RefusesATakenNumberAndTooWideAGap)
{
    EXPECT_TRUE(Put(100));
    EXPECT_FALSE(Put(100));
    EXPECT_FALSE(Put(166));
    EXPECT_FALSE(Put(34));
    EXPECT_TRUE(Put(165));
    EXPECT_FALSE(Put(99 - 65));
    EXPECT_TRUE(Put(99));
    EXPECT_EQ(Numbers(), "99 100 165");
    ElementRun low;
    EXPECT_TRUE(low.Put(0, New(0)));
    EXPECT_FALSE(low.Put(INT_MAX, New(INT_MAX)));
    ElementRun high;
    EXPECT_TRUE(high.Put(INT_MAX, New(INT_MAX)));
    EXPECT_TRUE(high.Put(INT_MAX - 1, New(INT_MAX - 1)));
    EXPECT_FALSE(high.Put(0, New(0)));
}

TEST_F(RunTest, ARemovalTrimsTheEndsAndTellsOfTooManyHoles)
{
    for (int number = 1; number <= 200; ++number)
        Put(number);
    run.Take(1);
    run.Take(3);
    run.Take(2);
    EXPECT_EQ(run.First()->index().number(), 4);
    EXPECT_EQ(run.Take(2), nullptr);
    int taken = 0;
    for (int number = 5; run.IsDense(); ++number)
        taken += run.Take(number) != nullptr;
    // One more than 64 and a quarter of the 197 - 92 that are left.
    EXPECT_EQ(taken, 91);
    while (run.Entries() > 0)
        run.Take(run.Last()->index().number());
    EXPECT_EQ(run.First(), nullptr);
    EXPECT_TRUE(Put(7));
    EXPECT_EQ(Numbers(), "7");
}

TEST_F(RunTest, DisplacesWhatStandsFromANumberOn)
{
    static const struct {
        int start, delta;
        bool moves;
        const char* numbers;
    } rows[] = {
        {3, 1, true, "1 2 4 7"},      {4, -2, true, "1 2 3 4"},   {4, -3, false, ""},
        {0, 5, true, "6 7 8 11"},     {1, -1, true, "0 1 2 5"},   {1, -2, false, ""},
        {9, 3, true, "1 2 3 6"},      {2, 0, true, "1 2 3 6"},    {2, 70, false, ""},
        {1, 70, true, "71 72 73 76"}, {1, INT_MAX - 6, true, ""}, {1, INT_MAX - 5, false, ""},
        {3, -1, false, ""},           {2, INT_MAX, false, ""},    {-5, INT_MIN, false, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.start) + ", " + std::to_string(row.delta));
        run.Clear();
        for (int number : {1, 2, 3, 6})
            Put(number);
        EXPECT_EQ(run.Displace(row.start, row.delta), row.moves);
        if (!row.moves || *row.numbers) {
            EXPECT_EQ(Numbers(), row.moves ? row.numbers : "1 2 3 6");
        }
    }
}

TEST_F(RunTest, CollapsesToNumbersFromOne)
{
    for (int number : {7, 9, 8, 30})
        Put(number);
    run.Collapse();
    EXPECT_EQ(Numbers(), "1 2 3 4");
    EXPECT_TRUE(Put(5));
    EXPECT_EQ(Numbers(), "1 2 3 4 5");
}

// Taking at one end and adding at the other moves through memory without growing in it.
TEST_F(RunTest, WorksAsAQueueInBothDirections)
{
    for (int i = 0; i < 10; ++i)
        Put(100000 + i);
    for (int i = 10; i < 5000; ++i) {
        ASSERT_TRUE(Put(100000 + i));
        ASSERT_NE(run.Take(100000 + i - 10), nullptr);
    }
    for (int i = 4989; i > 0; --i) {
        ASSERT_TRUE(Put(100000 + i));
        ASSERT_NE(run.Take(100000 + i + 10), nullptr);
    }
    EXPECT_EQ(run.Entries(), 10);
    EXPECT_EQ(run.First()->index().number(), 100001);
}

// In memory that is moved a few times, not with every element.
TEST_F(RunTest, GrowsAtBothEndsInTurn)
{
    const int kMiddle = 1000000;
    for (int i = 0; i < 200000; ++i) {
        ASSERT_TRUE(run.Put(kMiddle + i, m_shared.get()));
        ASSERT_TRUE(run.Put(kMiddle - 1 - i, m_shared.get()));
    }
    EXPECT_EQ(run.Entries(), 400000);
}

TEST_F(RunTest, PlainNumbersCountAsTheElementsThatTheyStandFor)
{
    EXPECT_TRUE(Put(3, ElementSlot(30)));
    EXPECT_TRUE(Put(5, ElementSlot(0.5)));
    EXPECT_TRUE(Put(4));
    EXPECT_FALSE(Put(3));
    EXPECT_FALSE(Put(3, ElementSlot(31)));
    EXPECT_EQ(run.Entries(), 3);
    EXPECT_EQ(run.FirstNumber(), 3);
    EXPECT_EQ(run.LastNumber(), 5);
    EXPECT_EQ(run.NumberAtOrBehind(4), 4);
    EXPECT_EQ(run.NumberAtOrBehind(6), ElementRun::kNoNumber);
    EXPECT_EQ(run.NumberAtOrInFrontOf(2), ElementRun::kNoNumber);
    EXPECT_EQ(run.NumberAtOrInFrontOf(9), 5);
    EXPECT_TRUE(run.Displace(4, 2));
    EXPECT_EQ(run.SlotOf(7)->real(), 0.5);
    EXPECT_TRUE(run.SlotOf(4)->IsEmpty());
    EXPECT_EQ(run.SlotOf(8), nullptr);
    EXPECT_FALSE(run.Drop(6));
    EXPECT_FALSE(run.Drop(4));
    EXPECT_FALSE(run.Drop(2));
    EXPECT_TRUE(run.Drop(3));
    EXPECT_EQ(run.FirstNumber(), 6);
    run.Collapse();
    EXPECT_EQ(run.SlotOf(1)->element()->index().number(), 1);
    AggregateElement* made = Kept(run.At(2));
    EXPECT_EQ(made->index().number(), 2);
    EXPECT_EQ(run.Last(), made);
    EXPECT_EQ(Numbers(), "1 2");
    EXPECT_EQ(run.Take(2), made);
    run.Clear();
    EXPECT_EQ(run.FirstNumber(), ElementRun::kNoNumber);
    EXPECT_EQ(run.LastNumber(), ElementRun::kNoNumber);
}

TEST_F(RunTest, CopiesOneOfPlainNumbersWithItsHoles)
{
    ElementRun copy;
    EXPECT_TRUE(copy.CopyNumbers(run));
    EXPECT_EQ(copy.Entries(), 0);
    for (int number : {10, 11, 60})
        EXPECT_TRUE(Put(number, ElementSlot(number)));
    EXPECT_TRUE(copy.CopyNumbers(run));
    EXPECT_EQ(copy.Entries(), 3);
    EXPECT_TRUE(copy.SlotOf(12)->IsEmpty());
    EXPECT_TRUE(copy.Put(61, ElementSlot(61)));
    EXPECT_TRUE(copy.Put(9, ElementSlot(9)));
    int place = 0;
    for (int expected : {9, 10, 11, 60, 61}) {
        int number = 0;
        EXPECT_EQ(copy.Walk(&place, &number).integer(), expected);
        EXPECT_EQ(number, expected);
    }
    int number = 0;
    EXPECT_TRUE(copy.Walk(&place, &number).IsEmpty());
    EXPECT_EQ(run.Entries(), 3);
    Put(12);
    ElementRun other;
    EXPECT_FALSE(other.CopyNumbers(run));
    EXPECT_EQ(other.Entries(), 0);
}

TEST_F(RunTest, AgreesWithAMapOnRandomOperations)
{
    std::mt19937 random(3);
    std::map<int, AggregateElement*> model;
    for (int step = 0; step < 20000; ++step) {
        int number = int(random() % 400);
        switch (random() % 5) {
            case 0:
            case 1: {
                AggregateElement* element = New(number);
                bool is_free = model.count(number) == 0;
                bool is_put = run.Put(number, element);
                ASSERT_FALSE(is_put && !is_free);
                if (is_put)
                    model[number] = element;
                break;
            }
            case 2:
                ASSERT_EQ(run.Take(number), model.count(number) ? model[number] : nullptr);
                model.erase(number);
                break;
            case 3: {
                int delta = int(random() % 9) - 4;
                if (!run.Displace(number, delta))
                    break;
                std::map<int, AggregateElement*> moved;
                for (auto& [old, element] : model)
                    moved[old >= number ? old + delta : old] = element;
                ASSERT_EQ(moved.size(), model.size());
                model = moved;
                break;
            }
            default: {
                auto behind = model.lower_bound(number);
                ASSERT_EQ(run.AtOrBehind(number), behind == model.end() ? nullptr : behind->second);
                auto above = model.upper_bound(number);
                ASSERT_EQ(run.AtOrInFrontOf(number),
                          above == model.begin() ? nullptr : std::prev(above)->second);
            }
        }
        ASSERT_EQ(run.Entries(), int(model.size()));
        auto expected = model.begin();
        run.ForEach([&](AggregateElement* element) {
            EXPECT_EQ(element, expected->second);
            EXPECT_EQ(element->index().number(), expected->first);
            ++expected;
        });
        ASSERT_FALSE(HasFailure());
    }
}

}  // namespace
