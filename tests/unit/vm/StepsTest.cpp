// Common sequences of instructions, each done as one step. What leads to them are random
// programs, in StepProgramsTest.cpp; here is what those do not come by.
#include "ProgramRemains.h"

namespace {

// A machine whose globals are a number, an array, a structure, a text and a double.
class SequenceWorld : public ProgramWorld {
public:
    explicit SequenceWorld(const std::string& code) : ProgramWorld({{}, code, 0})
    {
        globals.Dump();
        globals.Index(0, 1)->SetValue_Integer(3);
        for (int i = 1; i <= 3; ++i)
            globals.Index(1, 1)->Element(AggregateIndex(i), 1)->SetValue_Integer(i);
        globals.Index(2, 1)->Element(AggregateIndex("alpha", -1), 1)->SetValue_Double(2.5);
        globals.Index(3, 1)->SetValue("text", -1);
        globals.Index(4, 1)->SetValue_Double(0.5);
    }
    std::string Remains(DecodedCode::Eagerness eagerness)
    {
        MachineInnards::SetEagerness(vm(), eagerness);
        int result = vm()->Go();
        return ProgramRemains::Of(this, result);
    }
};

std::string Remains(const std::string& code, DecodedCode::Eagerness eagerness)
{
    return SequenceWorld(code).Remains(eagerness);
}

const std::string kElement = Op(kPushG, 1) + Op(kPushI, 2) + Op(kElemReadonly);
const std::string kElementStore = Op(kPushG, 1) + Op(kPushI, 2) + Op(kElem) + Op(kStore);
const std::string kMember = Op(kPushG, 2) + Op(kPushC, 0) + Op(kMembReadonly);
const std::string kMemberStore = Op(kPushG, 2) + Op(kPushC, 0) + Op(kMemb) + Op(kStore);

// A sequence, and how much of the stack its instructions need at most.
struct Sequence {
    const char* name;
    std::string code;
    int pushed;
};

std::vector<Sequence> Sequences()
{
    std::string number = Op(kPushG, 0) + Op(kPushI, 1);
    std::string variables = Op(kPushG, 0) + Op(kPushG, 4);
    return {
        {"number", number + Op(kAdd), 2},
        {"variable", variables + Op(kAdd), 2},
        {"number stored", number + Op(kAdd) + Op(kPopG, 4), 2},
        {"variable stored", variables + Op(kSub) + Op(kPopG, 4), 2},
        {"number compared", number + Op(kLt) + Op(kJmpNe, 0), 2},
        {"variable compared", variables + Op(kCmp) + Op(kJmpGt, 0), 2},
        {"global compared", Op(kCmpGI, 0, 5) + Op(kJmpGt, 0), 1},
        {"globals compared", Op(kCmpGG, 0, 4) + Op(kJmpGt, 0), 1},
        {"text appended", Op(kPushG, 3) + Op(kPushC, 0) + Op(kCat) + Op(kPopG, 3), 2},
        {"more appended",
         Op(kPushG, 3) + Op(kPushG, 0) + Op(kCat) + Op(kPushI, 1) + Op(kCat) + Op(kPopG, 3), 2},
        {"element", kElement, 2},
        {"element as a number", kElement + Op(kJmpEq, 0), 2},
        {"element stored", Op(kPushI, 9) + kElementStore, 3},
        {"element stored alone", kElementStore, 2},
        {"member", kMember, 2},
        {"member stored", Op(kPushI, 9) + kMemberStore, 3},
        {"member stored alone", kMemberStore, 2},
        {"calculation", kElement + kMember + Op(kMul), 3},
        {"calculation stored", kMember + kElement + Op(kMul) + Op(kPopG, 0), 3},
        {"calculation into an element", kMember + Op(kPushI, 2) + Op(kAdd) + kElementStore, 3},
        {"calculation into itself", kMember + Op(kPushI, 2) + Op(kAdd) + kMemberStore, 3},
        {"elements compared", kElement + kMember + Op(kLe) + Op(kJmpEq, 0), 3},
        {"increment loop", Op(kIncG, 0, 1) + Op(kCmpGI, 0, 5) + Op(kJmpLt, -26), 1},
        {"increment loop on the stack",
         Op(kIncG, 0, 1) + Op(kPushG, 0) + Op(kPushI, 5) + Op(kLt) + Op(kJmpNe, -30), 2},
        {"number loop",
         number + Op(kAdd) + Op(kPopG, 0) + Op(kPushG, 0) + Op(kPushI, 5) + Op(kLt) +
             Op(kJmpNe, -40),
         2},
        {"number loop of a global",
         number + Op(kAdd) + Op(kPopG, 0) + Op(kCmpGI, 0, 5) + Op(kJmpLt, -36), 2},
        {"variable loop",
         variables + Op(kAdd) + Op(kPopG, 0) + Op(kPushG, 0) + Op(kPushI, 5) + Op(kLt) +
             Op(kJmpNe, -40),
         2},
    };
}

TEST(Steps, ARoomlessStackIsFoundByEverySequence)
{
    const int kCapacity = ZephVM_Stack::kFrameCapacity;
    for (const Sequence& sequence : Sequences()) {
        // Where the memory ends that has been taken so far, and where no more is given.
        for (int entries :
             {13, 14, 15, 16, kCapacity - 3, kCapacity - 2, kCapacity - 1, kCapacity}) {
            SCOPED_TRACE(sequence.name + std::string(" on ") + std::to_string(entries));
            std::string code;
            for (int i = 0; i < entries; ++i)
                code += Op(kPushI, 1);
            code += sequence.code;
            SequenceWorld reference(code);
            std::string expected = reference.Remains(DecodedCode::kNever);
            bool is_full = entries + sequence.pushed > kCapacity;
            EXPECT_EQ(reference.application.fatal_errors.size(), is_full ? 1u : 0u);
            EXPECT_EQ(Remains(code, DecodedCode::kAlways), expected);
        }
    }
}

TEST(Steps, AnEmptyStackIsFoundByEverySequence)
{
    static const std::vector<std::string> codes = {
        Op(kAdd),
        Op(kCmp),
        Op(kPop),
        Op(kPopG, 0),
        Op(kJmpEq, 0),
        Op(kRet),
        kElementStore,
        kMemberStore,
        Op(kPushI, 1) + Op(kAdd),
        Op(kEq) + Op(kJmpEq, 0),
        Op(kPushI, 1) + Op(kEq) + Op(kJmpEq, 0),
    };
    for (size_t i = 0; i < codes.size(); ++i) {
        SCOPED_TRACE(i);
        SequenceWorld reference(codes[i]);
        std::string expected = reference.Remains(DecodedCode::kNever);
        EXPECT_FALSE(reference.application.fatal_errors.empty());
        EXPECT_EQ(Remains(codes[i], DecodedCode::kAlways), expected);
    }
}

// A comparison goes by the text of a number that has been asked for it.
TEST(Steps, ANumberIsComparedByTheTextThatItHas)
{
    std::string number = OpDouble(kPushF, kCut);
    const std::string kPlaces[] = {Op(kPushG, 4), kMember, kElement};
    const std::string kStores[] = {Op(kPopG, 4), kMemberStore, kElementStore};
    for (int place = 0; place < 3; ++place) {
        for (bool has_text : {false, true}) {
            SCOPED_TRACE(std::to_string(place) + (has_text ? " with a text" : " without"));
            std::string code = number + kStores[place];
            if (has_text)
                code += kPlaces[place] + Op(kOut);
            std::string same = Op(kPushC, 0) + Op(kOut);
            for (const std::string& comparison : {kPlaces[place] + number, number + kPlaces[place]})
                code += comparison + Op(kEq) + Op(kJmpEq, int(same.size())) + same;
            SequenceWorld world(code);
            std::string remains = world.Remains(DecodedCode::kAlways);
            EXPECT_EQ(remains, Remains(code, DecodedCode::kNever));
            EXPECT_EQ(world.output.text,
                      has_text ? "{0}0.00000000123456789012" : "{0}alpha{0}alpha");
        }
    }
}

// A loop runs its steps again, with what they keep of the last round.
TEST(Steps, MembersThatComeAndGoAreSeenInALoop)
{
    // Write member "alpha", add member "beta", and make the global another structure by way of
    // a number in the second round.
    std::string body = Op(kPushG, 2) + Op(kPushC, 0) + Op(kMembReadonly) + Op(kOut) +
                       Op(kPushI, 5) + Op(kPushG, 2) + Op(kPushC, 1) + Op(kMemb) + Op(kStore) +
                       Op(kCmpGI, 0, 4) + Op(kJmpNe, 12) + Op(kPushI, 1) + Op(kPopG, 2) +
                       Op(kIncG, 0, 1) + Op(kCmpGI, 0, 7);
    std::string code = body + Op(kJmpLt, -int(body.size()) - 6);
    for (auto eagerness : {DecodedCode::kAlways, DecodedCode::kWhenRepeated, DecodedCode::kNever}) {
        SequenceWorld world(code);
        std::string remains = world.Remains(eagerness);
        EXPECT_EQ(remains, Remains(code, DecodedCode::kNever));
        EXPECT_EQ(world.output.text, "{0}2.5{0}2.5{0}{0}");
    }
}

// One that is a member of a structure no longer, and one that has taken its place.
TEST(Steps, AMemberInThePlaceOfAnotherIsSeenInALoop)
{
    std::string code = kMember + Op(kOut) + Op(kPushG, 2) + Op(kPushC, 0) + Op(kMemb) +
                       Op(kPushG, 0) + Op(kRefer) + kMember + Op(kPushI, 1) + Op(kAdd) +
                       kMemberStore + Op(kCmpGI, 0, 6);
    code += Op(kJmpLt, -int(code.size()) - 6);
    for (auto eagerness : {DecodedCode::kAlways, DecodedCode::kWhenRepeated}) {
        SequenceWorld world(code);
        std::string remains = world.Remains(eagerness);
        EXPECT_EQ(remains, Remains(code, DecodedCode::kNever));
        EXPECT_EQ(world.output.text, "{0}2.5{0}4{0}5");
    }
}

}  // namespace
