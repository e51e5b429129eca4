#include <limits.h>
#include <math.h>

#include <random>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/DirectValue.h"
#include "variables/ImmutableVariable.h"
#include "variables/ReferenceVariable.h"

// Arrays whose slots have plain numbers: nothing tells them from arrays of variables but the
// memory that they take.

namespace {

Held NewArray()
{
    return Held(Variable::New("x", 1));
}

// Numbers from 1 on, each second one a double.
Held Numbers(int count)
{
    Held array = NewArray();
    for (int i = 1; i <= count; ++i)
        EXPECT_TRUE(i % 2 ? DirectValue::SetElement(array.get(), i, i * 10)
                          : DirectValue::SetElement(array.get(), i, i + 0.5));
    return array;
}

// How many elements are there in full; those in nodes always are.
int Made(Variable& array)
{
    AggregateElementTree* elements = array.aggregateelements();
    if (!elements->run())
        return elements->Entries();
    int made = 0;
    elements->run()->ForEachMade([&](AggregateElement*) { ++made; });
    return made;
}

// What can be seen of a variable, before and after it has made each of its forms. An element
// that is a number is looked at in a copy, so that it stays one.
std::string Seen(Variable& given)
{
    std::string seen;
    for (int form = 0; form < 4; ++form) {
        Held v(Variable::New(nullptr, 0));
        v->SetValue(given);
        int error = 0;
        if (form == 1)
            v->value();
        else if (form == 2)
            v->value_integer();
        else if (form == 3)
            v->value_double();
        char text[200];
        double compared = v->value_compare(&error);
        snprintf(text, sizeof text, "%d%d%d %a/%d %d ", v->primary_type(), v->IsTrue(), v->IsNULL(),
                 compared, error, v->value_integer());
        seen += text + ValueOf(*v) + ";";
    }
    return seen + NameOf(given) + std::to_string(given.refcount()) +
           std::to_string(DirectValue::IsPlainScalar(&given));
}

std::string SeenElements(Variable& array)
{
    std::string seen;
    array.aggregateelements()->ForEach([&](AggregateElement* element) {
        AggregateIndex index(element->index());
        String& name = index;
        seen += TextOf(name) + ": " + Seen(*element->var()) + "\n";
    });
    return seen;
}

TEST(NumberArray, ReadsAndWritesWithoutMakingElements)
{
    Held x = Numbers(1000);
    int integer = 0;
    double real = 0;
    for (int round = 0; round < 2; ++round) {
        for (int i = 1; i <= 1000; ++i) {
            Variable::PrimaryType type = DirectValue::ElementNumber(x.get(), i, &integer, &real);
            bool is_integer = i % 2 != round;
            ASSERT_EQ(type, is_integer ? Variable::kInteger : Variable::kDouble);
            if (is_integer) {
                ASSERT_EQ(integer, round == 0 ? i * 10 : -i);
            } else {
                ASSERT_EQ(real, round == 0 ? i + 0.5 : i * 0.25);
            }
            // The other kind of number takes its place.
            ASSERT_TRUE(is_integer ? DirectValue::SetElement(x.get(), i, i * 0.25)
                                   : DirectValue::SetElement(x.get(), i, -i));
        }
    }
    EXPECT_EQ(x->ElementsUsed(), 1000);
    EXPECT_EQ(Made(*x), 0);
}

TEST(NumberArray, AnElementThatIsAskedForIsMadeOnceAndThenSetInPlace)
{
    Held x = Numbers(4);
    Variable* second = At(*x, 2);
    EXPECT_EQ(Made(*x), 1);
    EXPECT_EQ(At(*x, 2), second);
    EXPECT_EQ(DirectValue::Element(x.get(), 2), second);
    EXPECT_EQ(DirectValue::MadeElement(x.get(), 2), second);
    EXPECT_EQ(second->primary_type(), Variable::kDouble);
    EXPECT_EQ(ValueOf(*second), "2.5");
    EXPECT_EQ(x->aggregateelements()->At(2)->index().number(), 2);
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 2, 9));
    EXPECT_EQ(At(*x, 2), second);
    EXPECT_EQ(second->primary_type(), Variable::kInteger);
    EXPECT_EQ(second->value_integer(), 9);
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 2, NAN));
    EXPECT_EQ(ValueOf(*second), "NaN");
    EXPECT_EQ(Made(*x), 1);
    EXPECT_EQ(ElementsOf(*x), "1=10 2=NaN 3=30 4=4.5");
}

TEST(NumberArray, EveryWayToAnElementMakesIt)
{
    static const struct {
        const char* name;
        AggregateElement* (*look)(AggregateElementTree*);
        int number;
    } rows[] = {
        {"At", [](AggregateElementTree* t) { return t->At(3); }, 3},
        {"Find", [](AggregateElementTree* t) { return t->Find(AggregateIndex(3)); }, 3},
        {"First", [](AggregateElementTree* t) { return t->First(); }, 1},
        {"Last", [](AggregateElementTree* t) { return t->Last(); }, 5},
        {"Next", [](AggregateElementTree* t) { return t->Next(AggregateIndex(3)); }, 4},
        {"Previous", [](AggregateElementTree* t) { return t->Previous(AggregateIndex(3)); }, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Held x = Numbers(5);
        AggregateElement* element = row.look(x->aggregateelements());
        ASSERT_NE(element, nullptr);
        EXPECT_EQ(element->index().number(), row.number);
        EXPECT_EQ(element->var(), At(*x, row.number));
        EXPECT_EQ(Made(*x), 1);
        EXPECT_EQ(x->ElementsUsed(), 5);
        EXPECT_EQ(ValueOf(*x), "10,2.5,30,4.5,50");
    }
    Held x = Numbers(5);
    AggregateElement* removed = x->aggregateelements()->Remove(AggregateIndex(5));
    EXPECT_EQ(ValueOf(*removed->var()), "50");
    delete removed;
    EXPECT_EQ(x->Max(), 4);
}

TEST(NumberArray, WhatNeedsNoElementMakesNone)
{
    Held x = Numbers(80);
    EXPECT_EQ(x->Max(), 80);
    EXPECT_EQ(x->Min(), 1);
    EXPECT_EQ(x->Next(7), 8);
    EXPECT_EQ(x->Next(80), 0);
    EXPECT_EQ(x->Previous(7), 6);
    EXPECT_EQ(x->Previous(1), 0);
    EXPECT_EQ(x->ElementsUsed(), 80);
    EXPECT_EQ(ValueOf(*x).substr(0, 16), "10,2.5,30,4.5,50");
    EXPECT_TRUE(x->IsTrue());
    EXPECT_FALSE(x->IsNULL());
    x->DeleteElements(70, -1, false);
    x->DeleteElements(3, 60, true);
    x->CollapseElements();
    EXPECT_EQ(x->ElementsUsed(), 9);
    EXPECT_EQ(Made(*x), 0);
    x->aggregateelements()->Displace(4, 3);
    EXPECT_EQ(x->Next(3), 7);
    Held copy(Variable::New("c", 1));
    copy->SetValue(*x);
    EXPECT_EQ(Made(*x), 0);
    EXPECT_EQ(Made(*copy), 0);
    EXPECT_EQ(ElementsOf(*copy), "1=10 2=2.5 3=630 7=64.5 8=650 9=66.5 10=670 11=68.5 12=690");
}

TEST(NumberArray, AppendingToACopyLeavesTheOriginal)
{
    Held x = Numbers(3);
    Held copy = NewArray();
    copy->SetValue(*x);
    for (int i = 1; i <= 50; ++i)
        EXPECT_TRUE(DirectValue::SetElement(copy.get(), i, 1));
    EXPECT_EQ(ValueOf(*x), "10,2.5,30");
    EXPECT_EQ(copy->ElementsUsed(), 50);
    AggregateElementTree tree(*copy->aggregateelements());
    EXPECT_EQ(tree.Entries(), 50);
    EXPECT_EQ(tree.Last()->var()->value_integer(), 1);
    EXPECT_NE(tree.Last(), copy->aggregateelements()->Last());
}

TEST(NumberArray, TheFirstNumberMakesAnArrayOfAScalar)
{
    Held x = NewArray();
    x->SetValue("text", 4);
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 5, 1.5));
    EXPECT_EQ(x->aggregatetype(), kAggregateArray);
    EXPECT_EQ(x->primary_type(), Variable::kNone);
    EXPECT_EQ(Made(*x), 0);
    EXPECT_EQ(ElementsOf(*x), "5=1.5");
    Held empty = NewArray();
    empty->Convert_Aggregate(kAggregateArray);
    EXPECT_TRUE(DirectValue::SetElement(empty.get(), 1, 7));
    EXPECT_EQ(Made(*empty), 0);
    empty->DeleteElements(1, -1, false);
    EXPECT_EQ(empty->ElementsUsed(), 0);
    EXPECT_TRUE(DirectValue::SetElement(empty.get(), 2, 8));
    EXPECT_EQ(ElementsOf(*empty), "2=8");
}

TEST(NumberArray, WhatIsNoPlainArrayOfANumberIsLeftAlone)
{
    Held structure = NewArray();
    Put(*structure, "m", "x");
    Held locked(new ImmutableVariable("i", 1, false));
    Put(*locked, 1, "5");
    Held reference(new ReferenceVariable("r", 1, Numbers(2).get()));
    Held other(new Variable("v", 1, 4));
    Held array = Numbers(2);
    Held clone(array->Clone(nullptr));
    Held sparse = NewArray();
    Put(*sparse, 1, "1");
    Put(*sparse, 1000, "1");
    Held nested = NewArray();
    nested->Element(AggregateIndex(1), 1)->Element(AggregateIndex(1), 1)->SetValue_Integer(1);
    const struct {
        const char* name;
        Variable* variable;
        int number;
    } rows[] = {{"structure", structure.get(), 1},
                {"immutable", locked.get(), 1},
                {"reference", reference.get(), 1},
                {"no direct one", other.get(), 1},
                {"clone", clone.get(), 1},
                {"zero", array.get(), 0},
                {"negative", array.get(), -1},
                {"far", array.get(), 1000},
                {"farthest", array.get(), INT_MAX},
                {"in nodes", sparse.get(), 1},
                {"behind nodes", sparse.get(), 1001},
                {"nested", nested.get(), 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string before = ValueOf(*row.variable);
        int integer = 77;
        double real = 77;
        EXPECT_EQ(DirectValue::ElementNumber(row.variable, row.number, &integer, &real),
                  Variable::kNone);
        EXPECT_EQ(integer, 77);
        EXPECT_EQ(real, 77);
        EXPECT_FALSE(DirectValue::SetElement(row.variable, row.number, 3));
        EXPECT_FALSE(DirectValue::SetElement(row.variable, row.number, 3.5));
        EXPECT_EQ(ValueOf(*row.variable), before);
    }
    // One that a slot cannot hold needs a variable.
    EXPECT_FALSE(DirectValue::SetElement(array.get(), 2, NAN));
    EXPECT_FALSE(DirectValue::SetElement(array.get(), 3, NAN));
    EXPECT_EQ(ElementsOf(*array), "1=10 2=2.5");
}

TEST(NumberArray, ReadsVariablesOnlyIfTheyWereLastSetToANumber)
{
    Held x = Numbers(8);
    At(*x, 1)->SetValue("5", 1);
    At(*x, 2)->SetNULL();
    At(*x, 3)->SetValue_Integer(33);
    At(*x, 3)->value();
    At(*x, 4)->SetValue_Double(44.5);
    At(*x, 4)->value_integer();
    At(*x, 5)->SetValue_Double(55.5);
    At(*x, 5)->value();
    x->SetElement(AggregateIndex(6), Held(new Variable("v", 1, 4)).get());
    At(*x, 7)->Make_Reference(At(*x, 8));
    const char expected[] = " NNIDNNNI";
    for (int i = 1; i <= 7; ++i) {
        SCOPED_TRACE(i);
        int integer = 0;
        double real = 0;
        char found = "NTID"[DirectValue::ElementNumber(x.get(), i, &integer, &real)];
        EXPECT_EQ(found, expected[i]);
        if (found == 'I') {
            EXPECT_EQ(integer, 33);
        }
        if (found == 'D') {
            EXPECT_EQ(real, 44.5);
        }
    }
}

// Zeros with a sign, and doubles with more places than their texts have: once the text of the
// array has been asked for, they are judged by their own.
TEST(NumberArray, TheTextOfAnArrayLeavesTheTextsThatTellLess)
{
    const double kNumbers[] = {-0.0, 1e-25, 1.2345678901234567e-6, 0.5, 0.0, 1e300, HUGE_VAL};
    for (bool text_first : {false, true}) {
        SCOPED_TRACE(text_first);
        Held numbers = NewArray();
        Held variables = NewArray();
        int i = 0;
        for (double number : kNumbers) {
            EXPECT_TRUE(DirectValue::SetElement(numbers.get(), ++i, number));
            variables->Element(AggregateIndex(i), 1)->SetValue_Double(number);
        }
        if (text_first) {
            EXPECT_EQ(ValueOf(*numbers), ValueOf(*variables));
            EXPECT_EQ(Made(*numbers), 3);
        }
        for (i = 1; i <= 7; ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(At(*numbers, i)->IsTrue(), At(*variables, i)->IsTrue());
            int error[2];
            EXPECT_EQ(At(*numbers, i)->value_compare(&error[0]),
                      At(*variables, i)->value_compare(&error[1]));
            EXPECT_EQ(error[0], error[1]);
        }
    }
}

TEST(NumberArray, NumbersAmongOtherValuesAreCopiedAndWrittenInOrder)
{
    Held x = Numbers(3);
    Put(*x, 4, "t");
    Variable* inner = x->Element(AggregateIndex(5), 1);
    EXPECT_TRUE(DirectValue::SetElement(inner, 1, 51));
    EXPECT_TRUE(DirectValue::SetElement(inner, 2, 5.25));
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 7, 70));
    Put(*x->Element(AggregateIndex(8), 1), "m", "n");
    EXPECT_EQ(ValueOf(*x), "10,2.5,30,t,51,5.25,70,n");
    Held copy = NewArray();
    copy->SetValue(*x);
    EXPECT_EQ(Made(*x), 3);
    EXPECT_EQ(Made(*copy), 3);
    EXPECT_EQ(Made(*At(*copy, 5)), 0);
    EXPECT_EQ(ElementsOf(*copy), "1=10 2=2.5 3=30 4=t 5=51,5.25 7=70 8=n");
    EXPECT_EQ(SeenElements(*copy), SeenElements(*x));
    Held clone(x->Clone(nullptr));
    EXPECT_EQ(SeenElements(*clone), SeenElements(*x));
}

// A copy that goes element by element finds the gap before there is enough beside it.
TEST(NumberArray, ACopyWithAGapNearItsStartIsWhole)
{
    for (bool mixed : {false, true}) {
        SCOPED_TRACE(mixed);
        Held x = Numbers(1000);
        x->DeleteElements(2, 200, false);
        if (mixed)
            Put(*x, 1000, "t");
        Held copy = NewArray();
        copy->SetValue(*x);
        EXPECT_EQ(SeenElements(*copy), SeenElements(*x));
        EXPECT_EQ(copy->ElementsUsed(), 800);
        EXPECT_EQ(copy->Next(1), 202);
    }
}

TEST(NumberArray, AnImmutableCopyHasImmutableElements)
{
    Held x = Numbers(3);
    Held locked(new ImmutableVariable(*x, true));
    EXPECT_EQ(Made(*locked), 3);
    EXPECT_EQ(Made(*x), 0);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(At(*locked, i)->is_immutable());
        EXPECT_EQ(At(*locked, i)->primary_type(), At(*x, i)->primary_type());
        At(*locked, i)->SetValue("x", 1);
    }
    EXPECT_EQ(ElementsOf(*locked), "1=10 2=2.5 3=30");
    Held back = NewArray();
    back->SetValue(*locked);
    EXPECT_EQ(ElementsOf(*back), "1=10 2=2.5 3=30");
}

TEST(NumberArray, OneThatContainsItselfComesToAnEnd)
{
    Held x = Numbers(2);
    x->SetElement(AggregateIndex(3), x.get());
    EXPECT_FALSE(DirectValue::SetElement(x.get(), 3, 5));
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 4, 5));
    EXPECT_EQ(ValueOf(*x), "10,2.5,5");
    Held copy = NewArray();
    copy->SetValue(*x);
    EXPECT_EQ(ElementsOf(*copy), "1=10 2=2.5 3= 4=5");
    x->SetNULL();
}

TEST(NumberArray, KeepsItsElementsWhenItBecomesAnotherVariable)
{
    Held x = Numbers(2);
    Held target = Numbers(3);
    x->Make_Reference(target.get());
    EXPECT_EQ(ElementsOf(*x), "1=10 2=2.5 3=30");
    x->Element(AggregateIndex(4), 1)->SetValue_Integer(4);
    EXPECT_FALSE(DirectValue::SetElement(x.get(), 5, 5));
    target->Make_CallbackStruct(nullptr);
    EXPECT_FALSE(DirectValue::SetElement(target.get(), 5, 5));
    EXPECT_EQ(ElementsOf(*target), "1=10 2=2.5 3=30 4=4");
    target->InsertElement(1, Fresh("v").get());
    EXPECT_EQ(ElementsOf(*target), "1=v 2=10 3=2.5 4=30 5=4");
}

TEST(NumberArray, MovingToNodesAndBackKeepsTheNumbers)
{
    Held x = Numbers(4);
    Put(*x, 5000, "far");
    EXPECT_EQ(x->aggregateelements()->run(), nullptr);
    EXPECT_EQ(ElementsOf(*x), "1=10 2=2.5 3=30 4=4.5 5000=far");
    EXPECT_EQ(At(*x, 2)->primary_type(), Variable::kDouble);
    x->CollapseElements();
    EXPECT_TRUE(DirectValue::SetElement(x.get(), 6, 60));
    EXPECT_EQ(ElementsOf(*x), "1=10 2=2.5 3=30 4=4.5 5=far 6=60");
    Held sparse = Numbers(1000);
    for (int i = 2; i < 1000; ++i)
        sparse->DeleteElements(i, 1, false);
    EXPECT_EQ(ElementsOf(*sparse), "1=10 1000=1000.5");
    EXPECT_EQ(sparse->aggregateelements()->run(), nullptr);
}

TEST(NumberArray, HasANewStampWhenANumberComesOrGoes)
{
    Held x = Numbers(2);
    AggregateElementTree* elements = x->aggregateelements();
    unsigned long long last = elements->stamp();
    DirectValue::SetElement(x.get(), 2, 5);
    EXPECT_EQ(elements->stamp(), last);
    DirectValue::SetElement(x.get(), 3, 5);
    EXPECT_NE(elements->stamp(), last);
    last = elements->stamp();
    x->DeleteElements(3, 1, false);
    EXPECT_NE(elements->stamp(), last);
}

// The same random operations on an array whose numbers are set directly and on one where
// each has its variable from the start.
class NumberPair {
public:
    explicit NumberPair(unsigned int seed) : m_random(seed) {}

    void Step()
    {
        int number = Below(40);
        int count = Below(12) - 1;
        bool flag = Below(2) == 1;
        int kind = Below(12);
        double real = RandomDouble();
        int integer = Below(3) == 0 ? int(m_random()) : Below(5) - 2;
        for (Variable* x : {m_numbers.get(), m_variables.get()}) {
            switch (kind) {
                case 0:
                    x->DeleteElement(AggregateIndex(number), flag);
                    break;
                case 1:
                    x->InsertElement(number, Fresh("t").get());
                    break;
                case 2:
                    x->DeleteElements(number, count, flag);
                    break;
                case 3:
                    x->MergeElements(x, number, count < 0 ? 1 : count, number / 2, flag);
                    break;
                case 4:
                    x->CopyElements(x, number, count, number / 2, true);
                    break;
                case 5:
                    Look(x, number);
                    break;
                case 6:
                    if (flag)
                        x->CollapseElements();
                    break;
                default:
                    Set(x, number + 1, integer, real, flag);
            }
            x->DeleteElements(100, -1, false);
        }
    }
    void Check()
    {
        Held left = NewArray();
        Held right = NewArray();
        left->SetValue(*m_numbers);
        right->SetValue(*m_variables);
        ASSERT_EQ(SeenElements(*left), SeenElements(*right));
        ASSERT_EQ(m_numbers->Max(), m_variables->Max());
        ASSERT_EQ(m_numbers->Min(), m_variables->Min());
        ASSERT_EQ(m_numbers->ElementsUsed(), m_variables->ElementsUsed());
        if (Below(50) == 0) {
            ASSERT_EQ(ValueOf(*m_numbers), ValueOf(*m_variables));
        }
        for (int i = 1; i <= m_numbers->Max(); ++i) {
            ASSERT_EQ(m_numbers->Next(i), m_variables->Next(i));
            ASSERT_EQ(m_numbers->Previous(i), m_variables->Previous(i));
        }
    }
    // The elements themselves, all of which are made by looking.
    void CheckAll()
    {
        ASSERT_GT(m_direct, 0);
        ASSERT_EQ(SeenElements(*m_numbers), SeenElements(*m_variables));
    }

private:
    int Below(int limit) { return int(m_random() % unsigned(limit)); }
    double RandomDouble()
    {
        static const double kOnes[] = {0.0, -0.0, NAN, HUGE_VAL, 1e-25, 0.25, 1e99, -3, 1 / 3.0};
        return kOnes[Below(9)];
    }
    void Set(Variable* x, int number, int integer, double real, bool is_integer)
    {
        if (x == m_numbers.get() && (is_integer ? DirectValue::SetElement(x, number, integer)
                                                : DirectValue::SetElement(x, number, real))) {
            ++m_direct;
            return;
        }
        Variable* element = x->Element(AggregateIndex(number), 1);
        is_integer ? element->SetValue_Integer(integer) : element->SetValue_Double(real);
    }
    static void Look(Variable* x, int number)
    {
        if (Variable* element = At(*x, number)) {
            element->value();
            element->value_integer();
        }
    }

    std::mt19937 m_random;
    Held m_numbers = NewArray();
    Held m_variables = NewArray();
    int m_direct = 0;
};

TEST(NumberArray, AgreesWithAnArrayOfVariablesOnRandomOperations)
{
    for (unsigned int seed = 1; seed <= 40; ++seed) {
        NumberPair pair(seed);
        for (int step = 0; step < 150; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            pair.Step();
            pair.Check();
            if (testing::Test::HasFailure())
                return;
        }
        pair.CheckAll();
        ASSERT_FALSE(testing::Test::HasFailure()) << seed;
    }
}

}  // namespace
