#include "variables/DirectValue.h"

#include <limits.h>
#include <math.h>

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/ImmutableVariable.h"
#include "variables/ReferenceVariable.h"

// The short ways do what the virtual operations do, or nothing.

namespace {

// Variables with every combination of forms, and of every class.
std::vector<std::function<Held()>> Makers()
{
    auto made = [](std::function<void(Variable*)> set) {
        return [set] {
            Held variable(Variable::New("v", 1));
            set(variable.get());
            return variable;
        };
    };
    return {
        made([](Variable*) {}),
        made([](Variable* v) { v->SetValue_Integer(-7); }),
        made([](Variable* v) { v->SetValue_Double(2.75); }),
        made([](Variable* v) { v->SetValue_Double(1e99); }),
        made([](Variable* v) { v->SetValue_Double(NAN); }),
        made([](Variable* v) { v->SetValue("12.5", 4); }),
        made([](Variable* v) { v->SetValue("none", 4); }),
        made([](Variable* v) {
            v->SetValue("12.5", 4);
            v->value_double();
            v->value_integer();
        }),
        made([](Variable* v) {
            v->SetValue("abc", 3);
            v->value_double();
        }),
        made([](Variable* v) {
            v->SetValue_Integer(5);
            v->value();
        }),
        made([](Variable* v) { v->Element(AggregateIndex(1), 1)->SetValue_Integer(3); }),
        made([](Variable* v) {
            v->Element(AggregateIndex(1), 1)->SetValue_Integer(3);
            v->IsTrue();
        }),
        [] { return Held(new ImmutableVariable("i", 1, 4, true)); },
        [] { return Held(new NULLVariable); },
        [] {
            Held target(Variable::New("t", 1));
            target->SetValue_Integer(9);
            return Held(new ReferenceVariable("r", 1, target.get()));
        },
    };
}

TEST(DirectValue, ReadsWhatTheVirtualOperationsRead)
{
    int row = 0;
    for (const auto& make : Makers()) {
        SCOPED_TRACE(row++);
        double real;
        int integer;
        Held a = make();
        if (DirectValue::Double(a.get(), &real)) {
            double expected = make()->value_double();
            EXPECT_TRUE(real == expected || (isnan(real) && isnan(expected)));
        }
        Held b = make();
        int error = 0;
        if (DirectValue::Comparable(b.get(), &real)) {
            double expected = make()->value_compare(&error);
            EXPECT_TRUE(real == expected || (isnan(real) && isnan(expected)));
            EXPECT_EQ(error, 0);
        }
        Held c = make();
        if (DirectValue::Integer(c.get(), &integer)) {
            EXPECT_EQ(integer, make()->value_integer());
        }
        for (Held* read : {&a, &b, &c}) {
            Held other = make();
            EXPECT_EQ(ValueOf(**read), ValueOf(*other));
            EXPECT_EQ((*read)->value_integer(), other->value_integer());
            EXPECT_EQ((*read)->IsTrue(), other->IsTrue());
            EXPECT_EQ((*read)->primary_type(), other->primary_type());
        }
    }
}

TEST(DirectValue, ReadsNumbersWithoutACall)
{
    Held v(Variable::New("v", 1));
    double real = 0;
    int integer = 0;
    v->SetValue_Integer(6);
    EXPECT_TRUE(DirectValue::Integer(v.get(), &integer));
    EXPECT_TRUE(DirectValue::Double(v.get(), &real));
    EXPECT_TRUE(DirectValue::Comparable(v.get(), &real));
    EXPECT_EQ(integer, 6);
    EXPECT_EQ(real, 6.0);
    v->SetValue("7", 1);
    EXPECT_FALSE(DirectValue::Integer(v.get(), &integer));
    EXPECT_FALSE(DirectValue::Comparable(v.get(), &real));
}

TEST(DirectValue, SetsAsTheVirtualOperationsOrNotAtAll)
{
    int row = 0;
    for (const auto& make : Makers()) {
        SCOPED_TRACE(row++);
        for (bool integer : {true, false}) {
            Held a = make();
            Held b = make();
            bool is_set = integer ? DirectValue::SetInteger(a.get(), 41)
                                  : DirectValue::SetDouble(a.get(), 41.5);
            if (is_set)
                integer ? b->SetValue_Integer(41) : b->SetValue_Double(41.5);
            EXPECT_EQ(ValueOf(*a), ValueOf(*b));
            EXPECT_EQ(a->primary_type(), b->primary_type());
            EXPECT_EQ(a->aggregatetype(), b->aggregatetype());
            EXPECT_EQ(a->value_integer(), b->value_integer());
        }
    }
}

TEST(DirectValue, SetsOnlyWhatIsOfThePlainClass)
{
    Held plain(Variable::New("v", 1));
    EXPECT_TRUE(DirectValue::SetInteger(plain.get(), 1));
    Held target(Variable::New("t", 1));
    plain->Make_Reference(target.get());
    EXPECT_FALSE(DirectValue::SetInteger(plain.get(), 2));
    Held locked(new ImmutableVariable("i", 1, 4, true));
    EXPECT_FALSE(DirectValue::SetInteger(locked.get(), 2));
    EXPECT_EQ(locked->value_integer(), 4);
    Held other(new Variable("v", 1));
    EXPECT_FALSE(DirectValue::SetDouble(other.get(), 2));
}

TEST(DirectValue, CopiesNumbersOfPlainVariablesOnly)
{
    int row = 0;
    for (const auto& make : Makers()) {
        SCOPED_TRACE(row++);
        Held source = make();
        Held a(Variable::New("a", 1));
        Held b(Variable::New("b", 1));
        a->SetValue("before", 6);
        if (DirectValue::CopyNumber(a.get(), source.get())) {
            b->SetValue(*make());
            EXPECT_EQ(ValueOf(*a), ValueOf(*b));
            EXPECT_EQ(a->primary_type(), b->primary_type());
        } else {
            EXPECT_EQ(ValueOf(*a), "before");
        }
    }
}

TEST(DirectValue, AppendsToAnyPlainScalar)
{
    int row = 0;
    for (const auto& make : Makers()) {
        SCOPED_TRACE(row++);
        Held v = make();
        if (!DirectValue::IsPlainScalar(v.get()))
            continue;
        std::string expected = ValueOf(*make()) + "tail";
        DirectValue::Append(v.get(), "tail", 4);
        EXPECT_EQ(ValueOf(*v), expected);
        EXPECT_EQ(v->primary_type(), Variable::kText);
        EXPECT_EQ(v->value_double(), Variable("", 0, expected.c_str(), -1).value_double());
    }
}

TEST(DirectValue, AppendingIsLinear)
{
    Held v(Variable::New("v", 1));
    int moves = 0;
    const char* storage = v->value().data();
    for (int i = 0; i < 100000; ++i) {
        DirectValue::Append(v.get(), "0123456789", 10);
        moves += v->value().data() != storage;
        storage = v->value().data();
    }
    EXPECT_EQ(v->value().length(), 1000000);
    EXPECT_LT(moves, 20);
}

TEST(DirectValue, FindsAndMakesElements)
{
    Held array = ArrayOf("ab");
    Held plain(Variable::New("v", 1));
    plain->SetValue(*array);
    EXPECT_EQ(DirectValue::Element(plain.get(), 2), At(*plain, 2));
    EXPECT_EQ(DirectValue::Element(plain.get(), 3), nullptr);
    EXPECT_EQ(DirectValue::Element(plain.get(), 0), nullptr);
    EXPECT_EQ(DirectValue::Element(array.get(), 1), nullptr);
    Variable* third = DirectValue::MadeElement(plain.get(), 3);
    EXPECT_EQ(third, At(*plain, 3));
    EXPECT_EQ(DirectValue::MadeElement(plain.get(), 0), nullptr);
    EXPECT_EQ(DirectValue::Members(plain.get()), nullptr);
    Held scalar(Variable::New("s", 1));
    EXPECT_NE(DirectValue::MadeElement(scalar.get(), 5), nullptr);
    EXPECT_EQ(ElementsOf(*scalar), "5=");
    Put(*scalar, "m", "x");
    EXPECT_EQ(DirectValue::Members(scalar.get()), scalar->aggregateelements());
    EXPECT_EQ(DirectValue::Element(scalar.get(), 5), nullptr);
}

TEST(AggregateElementTree, HasANewStampWhenAnElementComesOrGoes)
{
    Held a = ArrayOf("ab");
    Held b = ArrayOf("ab");
    auto stamp = [](Held& v) { return v->aggregateelements()->stamp(); };
    unsigned long long last = stamp(a);
    EXPECT_NE(last, stamp(b));
    At(*a, 1)->SetValue("x", 1);
    At(*a, 9);
    EXPECT_EQ(stamp(a), last);
    Put(*a, 3, "c");
    EXPECT_NE(stamp(a), last);
    last = stamp(a);
    a->DeleteElement(AggregateIndex(1), false);
    EXPECT_NE(stamp(a), last);
    EXPECT_NE(stamp(a), stamp(b));
}

TEST(DirectValue, CountsForReferencesReachTheirTargets)
{
    Held target(Variable::New("t", 1));
    Held reference(new ReferenceVariable("r", 1, target.get()));
    DirectValue::AddCount(reference.get());
    EXPECT_EQ(reference->refcount(), 2);
    EXPECT_EQ(target->refcount(), 3);
    DirectValue::DropCount(reference.get());
    EXPECT_EQ(target->refcount(), 2);
    DirectValue::AddCount(target.get());
    EXPECT_EQ(target->refcount(), 3);
    DirectValue::DropCount(target.get());
}

TEST(Variable, PointsAtAPermanentNameAndKeepsItInItsCopies)
{
    char text[] = "counter";
    PermanentText name{text, 7};
    Held v(Variable::New(name));
    Held clone(v->Clone(nullptr));
    int length;
    EXPECT_EQ(v->NameBytes(&length), text);
    EXPECT_EQ(length, 7);
    AggregateIndex index(name);
    AggregateIndex copy(index);
    EXPECT_EQ(NameOf(*v), "counter");
    text[0] = 'k';
    // A name that was asked for is a text of its own; the clone's always was.
    EXPECT_EQ(NameOf(*v), "counter");
    EXPECT_EQ(NameOf(*clone), "counter");
    String& indexed = copy;
    EXPECT_EQ(TextOf(indexed), "kounter");
}

}  // namespace
