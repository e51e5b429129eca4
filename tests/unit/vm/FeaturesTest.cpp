// Tags that stay open over several instructions.
#include "vm/Feature.h"

#include <vector>

#include "TestMachine.h"

namespace {

// Tells when it ends and when the script gives a sign of life.
class TestFeature : public Feature {
public:
    TestFeature(ZephVM* vm, int number, const char* name, std::vector<std::string>* events)
        : Feature(vm, number), m_name(name), m_events(events)
    {
    }
    ~TestFeature() override { m_events->push_back("end " + m_name); }
    void Heartbeat() override { m_events->push_back("beat " + m_name); }

private:
    std::string m_name;
    std::vector<std::string>* m_events;
};

class FeaturesTest : public MachineTest {
protected:
    // One that was made in the frame of another call.
    Feature* PushForeign(int number, const char* name)
    {
        if (!other)
            other = Make(nullptr, &heartbeat, &cancelled, &exited);
        return Push(new TestFeature(other, number, name, &events));
    }
    Feature* Push(int number, const char* name)
    {
        return Push(new TestFeature(vm(), number, name, &events));
    }
    Feature* Push(Feature* feature)
    {
        vm()->Push_Feature(feature);
        return feature;
    }
    // Ends one that its machine has let go, without a word in the events.
    void EndLeftOpen(Feature* feature)
    {
        size_t count = events.size();
        delete feature;
        events.resize(count);
    }
    ~FeaturesTest() override
    {
        End();
        if (other)
            other->Shutdown();
    }

    using Events = std::vector<std::string>;
    Events events;
    ZephVM* other = nullptr;
};

TEST_F(FeaturesTest, FeatureKnowsWhereItWasMade)
{
    Feature feature(vm(), 6);
    EXPECT_EQ(feature.application(), &application);
    EXPECT_EQ(feature.vm(), vm());
    EXPECT_EQ(feature.frame(), vm()->frame());
    EXPECT_EQ(feature.number(), 6);
    EXPECT_STREQ(feature.error().data(), "");
}

TEST_F(FeaturesTest, FeatureKeepsItsLastErrorText)
{
    Feature feature(vm(), 1);
    feature.Error("first");
    EXPECT_STREQ(feature.error().data(), "first");
    feature.Error(String());
    EXPECT_STREQ(feature.error().data(), "first") << "a text that was never set";
    feature.Error("");
    EXPECT_STREQ(feature.error().data(), "");
}

TEST_F(FeaturesTest, BaseDoesNothingAtASignOfLife)
{
    vm()->Push_Feature(new Feature(vm(), 1));
    vm()->Heartbeat();
    EXPECT_STREQ(vm()->Lookup_Feature(1)->error().data(), "");
}

TEST_F(FeaturesTest, NumbersAreThoseOfTheTags)
{
    EXPECT_EQ(Feature::kImport, 1);
    EXPECT_EQ(Feature::kSMTP, 3);
    EXPECT_EQ(Feature::kCommerce, 4);
    EXPECT_EQ(Feature::kPOP3, 5);
    EXPECT_EQ(Feature::kLockfile, 6);
    EXPECT_EQ(Feature::kCall, 7);
    EXPECT_EQ(Feature::kCapture, 8);
}

TEST_F(FeaturesTest, LookupFindsTheInnermostOfANumber)
{
    EXPECT_EQ(vm()->Lookup_Feature(1), nullptr);
    Push(1, "outer");
    Feature* inner = Push(1, "inner");
    Feature* mail = Push(3, "mail");
    EXPECT_EQ(vm()->Lookup_Feature(1), inner);
    EXPECT_EQ(vm()->Lookup_Feature(3), mail);
    EXPECT_EQ(vm()->Lookup_Feature(4), nullptr);
    EXPECT_EQ(vm()->Lookup_Feature(1), inner) << "a search changes nothing";
    EXPECT_EQ(events, Events());
}

TEST_F(FeaturesTest, PopDeletesTheTop)
{
    Feature* outer = Push(1, "outer");
    Feature* inner = Push(1, "inner");
    vm()->Pop_Feature(inner);
    EXPECT_EQ(events, Events{"end inner"});
    EXPECT_EQ(vm()->Lookup_Feature(1), outer);
    vm()->Pop_Feature(outer);
    EXPECT_EQ(events, (Events{"end inner", "end outer"}));
    EXPECT_EQ(vm()->Lookup_Feature(1), nullptr);
}

TEST_F(FeaturesTest, PopOfAnOuterOneLeavesTheInnerOnesOpen)
{
    Feature* lowest = Push(5, "lowest");
    Feature* outer = Push(1, "outer");
    Feature* inner = Push(3, "inner");
    Feature* innermost = Push(8, "innermost");
    vm()->Pop_Feature(outer);
    EXPECT_EQ(events, Events{"end outer"});
    EXPECT_EQ(vm()->Lookup_Feature(3), nullptr);
    EXPECT_EQ(vm()->Lookup_Feature(8), nullptr);
    EXPECT_EQ(vm()->Lookup_Feature(5), lowest);
    vm()->Heartbeat();
    EXPECT_EQ(events, (Events{"end outer", "beat lowest"}));
    End();
    EXPECT_EQ(events, (Events{"end outer", "beat lowest", "end lowest"}));
    EndLeftOpen(inner);
    EndLeftOpen(innermost);
}

TEST_F(FeaturesTest, PopOfOneThatIsNotThereDoesNothing)
{
    Feature stranger(vm(), 1);
    vm()->Pop_Feature(&stranger);
    Feature* mail = Push(3, "mail");
    vm()->Pop_Feature(&stranger);
    EXPECT_EQ(vm()->Lookup_Feature(3), mail);
    EXPECT_EQ(events, Events());
}

TEST_F(FeaturesTest, CleanupDeletesTheOutermostOfTheFrameOnly)
{
    Feature* foreign = PushForeign(1, "foreign");
    Push(1, "outer");
    Feature* inner = Push(1, "inner");
    vm()->Cleanup_Function_Features(vm()->frame());
    EXPECT_EQ(events, Events{"end outer"});
    EXPECT_EQ(vm()->Lookup_Feature(1), foreign);
    EndLeftOpen(inner);
}

TEST_F(FeaturesTest, CleanupDeletesASingleOne)
{
    Push(6, "only");
    vm()->Cleanup_Function_Features(vm()->frame());
    EXPECT_EQ(events, Events{"end only"});
    EXPECT_EQ(vm()->Lookup_Feature(6), nullptr);
}

TEST_F(FeaturesTest, CleanupEndsAtTheFirstOfAnotherFrame)
{
    Feature* hidden = Push(1, "hidden");
    Feature* foreign = PushForeign(3, "foreign");
    Push(5, "own");
    vm()->Cleanup_Function_Features(vm()->frame());
    EXPECT_EQ(events, Events{"end own"});
    EXPECT_EQ(vm()->Lookup_Feature(1), hidden);
    EXPECT_EQ(vm()->Lookup_Feature(3), foreign);
}

TEST_F(FeaturesTest, CleanupDoesNothingWhenTheTopIsOfAnotherFrame)
{
    vm()->Cleanup_Function_Features(vm()->frame());
    Feature* own = Push(1, "own");
    PushForeign(3, "foreign");
    vm()->Cleanup_Function_Features(vm()->frame());
    EXPECT_EQ(events, Events());
    EXPECT_EQ(vm()->Lookup_Feature(1), own);
}

// Opens tags when something is written, in the frame that runs then.
class OpeningOutput : public RecordingOutput {
public:
    OpeningOutput(ZephVM* vm, std::vector<std::string>* events) : m_vm(vm), m_events(events) {}
    int Write(const char* name, int length) override
    {
        std::string opened(name, size_t(length));
        features.push_back(new TestFeature(m_vm, Feature::kImport, opened.c_str(), m_events));
        m_vm->Push_Feature(features.back());
        return length;
    }

    std::vector<Feature*> features;

private:
    ZephVM* m_vm;
    std::vector<std::string>* m_events;
};

TEST_F(FeaturesTest, ReturnDeletesTheOuterOfTwoThatTheFunctionLeftOpen)
{
    Segment* start = segments.Start();
    std::string page = Op(kPushC, 2) + Op(kOut) + Op(kCall, 0) + Op(kPop);
    std::string body = Op(kPushC, 0) + Op(kOut) + Op(kPushC, 1) + Op(kOut);
    functions.Function_Add(start->number(), int((page + Op(kExit)).size()), "f", -1, "", 0, 0);
    for (const std::string& end : {Op(kRetN), Op(kPushI, 1) + Op(kRet)}) {
        SCOPED_TRACE(end.size());
        events.clear();
        exited = 0;
        End();
        Code(page + Op(kExit) + body + end);
        OpeningOutput output(vm(), &events);
        application.SetOutput(&output);
        EXPECT_EQ(vm()->Go(), 1);
        ASSERT_EQ(output.features.size(), 3u);
        EXPECT_EQ(events, Events{"end alpha"});
        EXPECT_EQ(vm()->Lookup_Feature(Feature::kImport), output.features[0])
            << "that of the caller stays";
        End();
        EXPECT_EQ(events, (Events{"end alpha", "end 12"}));
        EndLeftOpen(output.features[2]);
    }
}

TEST_F(FeaturesTest, SignOfLifeGoesFromTheTopDown)
{
    Push(1, "first");
    Push(6, "second");
    Push(6, "third");
    heartbeat = 1;
    vm()->Go();
    EXPECT_EQ(events, (Events{"beat third", "beat second", "beat first"}));
    vm()->Go();
    EXPECT_EQ(events.size(), 3u) << "once for each tick";
}

TEST_F(FeaturesTest, SignOfLifeReachesTheParentFirst)
{
    Push(1, "parent's");
    ZephVM* child = Make(vm(), nullptr, nullptr, nullptr);
    child->Push_Feature(new TestFeature(child, 1, "child's", &events));
    child->Heartbeat();
    EXPECT_EQ(events, (Events{"beat parent's", "beat child's"}));
    child->Shutdown();
    EXPECT_EQ(events.back(), "end child's");
}

TEST_F(FeaturesTest, EndOfTheMachineDeletesWhatRemainsFromTheTopDown)
{
    Push(1, "first");
    PushForeign(1, "foreign");
    Push(3, "last");
    End();
    EXPECT_EQ(events, (Events{"end last", "end foreign", "end first"}));
}

TEST_F(FeaturesTest, FatalErrorLeavesTagsOpen)
{
    Feature* import = Push(1, "import");
    EXPECT_EQ(vm()->FatalError("message"), 0);
    vm()->Go();
    EXPECT_EQ(vm()->Lookup_Feature(1), import);
    EXPECT_EQ(events, Events());
}

}  // namespace
