#include <pthread.h>

#include <functional>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/CallbackVariable.h"
#include "variables/ImmutableVariable.h"
#include "variables/ReferenceVariable.h"

// Values whose nesting or length is far more than the machine's stack has room for.

namespace {

const int kDeep = 100000;
const int kLong = 1000000;

// Structures within arrays within structures, "leaf" in the innermost one.
Held Nested(Held outer)
{
    Variable* inner = outer.get();
    for (int depth = 0; depth < kDeep; ++depth)
        inner = depth % 2 ? inner->Element(AggregateIndex(1), 1)
                          : inner->Element(AggregateIndex("m", 1), 1);
    inner->SetValue("leaf", -1);
    return outer;
}

int DepthOf(Variable& outer)
{
    int depth = 0;
    Variable* inner = &outer;
    while (AggregateElementTree* elements = inner->aggregateelements()) {
        inner = elements->First()->var()->RealIdentity();
        ++depth;
    }
    return depth;
}

Held LongArray()
{
    Held array = Fresh();
    for (int number = 1; number <= kLong; ++number)
        array->Element(AggregateIndex(number), 1)->SetValue_Integer(number % 10);
    return array;
}

TEST(DeepValues, NestedOnesAreCopiedSerializedAndEnded)
{
    Held nested = Nested(Fresh());
    EXPECT_EQ(ValueOf(*nested), "leaf");
    {
        Variable copy(*nested);
        EXPECT_EQ(DepthOf(copy), kDeep);
        EXPECT_EQ(ValueOf(copy), "leaf");
        copy.SetNULL();
        copy.SetValue(*nested);
        copy.SetValue("x", 1);
    }
    Held clone(nested->Clone(nullptr));
    nested.reset();
    EXPECT_TRUE(clone->IsTrue());
}

TEST(DeepValues, NestedImmutablesAreLockedAndCopied)
{
    Held nested = Nested(Held(new ImmutableVariable(false)));
    static_cast<ImmutableVariable&>(*nested).Lock();
    Held clone(nested->Clone(nullptr));
    EXPECT_EQ(DepthOf(*clone), kDeep);
    EXPECT_TRUE(clone->is_immutable());
    static_cast<ImmutableVariable&>(*clone).Unlock();
    EXPECT_EQ(ValueOf(*clone), "leaf");
}

TEST(DeepValues, AChainOfReferencesAndOneThroughElements)
{
    // Grown at its far end, where no counts have to be raised all along.
    Held next = Fresh();
    Held chain(new ReferenceVariable("r", 1, next.get()));
    for (int length = 0; length < kDeep; ++length) {
        Held last = std::move(next);
        next = Fresh("end");
        last->Make_Reference(next.get());
    }
    next.reset();
    EXPECT_EQ(ValueOf(*chain), "end");
    chain->IncRefCount();
    chain->DecRefCount();
    chain.reset();

    // Each holds the next one by a reference in its only element.
    Held list = Fresh("end");
    for (int length = 0; length < kDeep; ++length) {
        Held node = Fresh();
        Held reference(new ReferenceVariable("", 0, list.get()));
        node->SetElement(AggregateIndex("next", 4), reference.get());
        list = std::move(node);
    }
    EXPECT_EQ(ValueOf(*list), "end");
    Variable copy(*list);
    EXPECT_EQ(DepthOf(copy), kDeep);
}

TEST(DeepValues, CallbacksThatHoldCallbackVariables)
{
    class Holding : public CallbackVariableCallback {
    public:
        explicit Holding(Held held) : m_held(std::move(held)) {}
        bool RunFunction(Variable*, AggregateIndex, Variable**) override { return false; }

    private:
        Held m_held;
    };
    Held chain = Fresh("end");
    for (int length = 0; length < kDeep; ++length) {
        Held outer = Fresh();
        outer->Make_CallbackStruct(new Holding(std::move(chain)));
        chain = std::move(outer);
    }
    chain.reset();
}

TEST(DeepValues, ALongArrayIsCopiedSerializedAndEnded)
{
    Held array = LongArray();
    EXPECT_EQ(array->ElementsUsed(), kLong);
    Variable copy(*array);
    EXPECT_EQ(copy.ElementsUsed(), kLong);
    EXPECT_EQ(copy.Element(AggregateIndex(kLong / 2 + 3), 0)->value_integer(), 3);
    EXPECT_EQ(copy.value().length(), 2 * kLong - 1);
    array->InsertElement(1, Fresh("x").get());
    EXPECT_EQ(array->Max(), kLong + 1);
    array->DeleteElement(AggregateIndex(1), true);
    array->DeleteElements(kLong / 2, -1, false);
    EXPECT_EQ(array->ElementsUsed(), kLong / 2 - 1);
    copy.MergeElements(&copy, 1, -1, 0, false);
    EXPECT_EQ(copy.ElementsUsed(), 2 * kLong);
    EXPECT_EQ(copy.CollapseElements(), 2 * kLong);
}

// Runs `work` with far less of the machine's stack than a program starts with.
void OnASmallStack(std::function<void()> work)
{
    const size_t kStack = 256 * 1024;
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
    auto run = [](void* given) -> void* {
        (*static_cast<std::function<void()>*>(given))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// Gaps so wide that the elements stand in a tree, all on one side of the node above.
TEST(DeepValues, ALongArrayWithGapsIsMovedCopiedSerializedAndEnded)
{
    const int kGap = 100;
    OnASmallStack([] {
        Held array = Fresh();
        for (int i = 1; i <= kDeep; ++i)
            array->Element(AggregateIndex(i * kGap), 1)->SetValue_Integer(i % 10);
        array->InsertElement(1, Fresh("x").get());
        EXPECT_EQ(array->Max(), kDeep * kGap + 1);
        Held copy(array->Clone(nullptr));
        EXPECT_EQ(copy->ElementsUsed(), kDeep + 1);
        EXPECT_EQ(copy->value().length(), 2 * kDeep + 1);
        array.reset();
        EXPECT_EQ(ValueOf(*At(*copy, 7 * kGap + 1)), "7");
        copy->InsertElement(1, Fresh("y").get());
        EXPECT_EQ(ValueOf(*At(*copy, kDeep * kGap + 2)), "0");
        EXPECT_EQ(copy->CollapseElements(), kDeep + 2);
    });
}

TEST(DeepValues, ALongArrayOfStructuresEnds)
{
    Held array = Fresh();
    for (int number = 1; number <= kDeep; ++number)
        array->Element(AggregateIndex(number), 1)->Element(AggregateIndex("m", 1), 1);
    array->SetNULL();
    EXPECT_TRUE(array->IsNULL());
}

TEST(SelfReference, ThroughAReferenceTextAndCopyComeToAnEnd)
{
    Held x = ArrayOf("abc");
    At(*x, 2)->Make_Reference(x.get());
    EXPECT_EQ(ValueOf(*x), "a,c");
    Variable copy(*x);
    EXPECT_EQ(ElementsOf(copy), "1=a 2= 3=c");
    EXPECT_TRUE(At(copy, 2)->IsNULL());
    x->SetValue(*x);
    EXPECT_EQ(ElementsOf(*x), "1=a 2= 3=c");
    EXPECT_EQ(x->refcount(), 1);
}

TEST(SelfReference, ThroughAnElementTextAndCopyComeToAnEnd)
{
    Held x = ArrayOf("a");
    x->SetElement(AggregateIndex(2), x.get());
    Held inner = ArrayOf("i");
    inner->SetElement(AggregateIndex(2), x.get());
    x->SetElement(AggregateIndex(3), inner.get());
    EXPECT_EQ(ValueOf(*x), "a,i");
    EXPECT_EQ(ValueOf(*inner), "i,a");
    Held clone(x->Clone(nullptr));
    EXPECT_EQ(ElementsOf(*clone), "1=a 2= 3=i,");
    EXPECT_TRUE(At(*clone, 2)->IsNULL());
    EXPECT_EQ(x->refcount(), 3);
    x->SetNULL();
    EXPECT_EQ(x->refcount(), 2);
    inner->SetNULL();
    EXPECT_EQ(x->refcount(), 1);
}

// The same value twice is no circle.
TEST(SelfReference, AValueThatIsSharedIsReadEachTime)
{
    Held x = Fresh();
    Held shared = ArrayOf("ab");
    x->SetElement(AggregateIndex(1), shared.get());
    x->SetElement(AggregateIndex(2), shared.get());
    EXPECT_EQ(ValueOf(*x), "a,b,a,b");
    Variable copy(*x);
    EXPECT_EQ(ValueOf(copy), "a,b,a,b");
    EXPECT_EQ(ValueOf(*x), "a,b,a,b");
}

TEST(SelfReference, AnImmutableCircleIsLockedOnce)
{
    Held x(new ImmutableVariable("x", 1, false));
    Put(*x, 1, "a");
    x->SetElement(AggregateIndex(2), x.get());
    static_cast<ImmutableVariable&>(*x).Lock();
    At(*x, 1)->SetValue("b", 1);
    EXPECT_EQ(ValueOf(*x), "a");
    static_cast<ImmutableVariable&>(*x).Unlock();
    x->SetNULL();
    EXPECT_EQ(x->refcount(), 1);
}

TEST(SelfReference, TurningACircleIntoAReferenceGivesItsCountsBack)
{
    Held x = ArrayOf("a");
    x->SetElement(AggregateIndex(2), x.get());
    EXPECT_EQ(x->refcount(), 2);
    Held target = Fresh("v");
    x->Make_Reference(target.get());
    EXPECT_EQ(x->refcount(), 1);
    EXPECT_EQ(target->refcount(), 2);
}

}  // namespace
