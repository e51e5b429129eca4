#include <math.h>

#include <random>
#include <vector>

#include "TestMachine.h"
#include "vm/DecodedCode.h"

// The loop does common sequences of instructions as one. A `noop` between the instructions
// of a program breaks every sequence up, and has to leave the same behind.

namespace {

struct Statement {
    std::vector<std::string> instructions;
    int jump = 0;  // word of a conditional jump over the next statement, behind the others
};

class StepsTest : public MachineTest {
protected:
    // The code of a program, with or without noops.
    static std::string Assembled(const std::vector<Statement>& program, bool noops)
    {
        std::vector<std::string> blocks;
        for (const Statement& statement : program) {
            std::string block;
            for (const std::string& instruction : statement.instructions)
                block += instruction + (noops ? Op(kNoop) : "");
            blocks.push_back(block);
        }
        std::string code;
        for (size_t i = 0; i < program.size(); ++i) {
            code += blocks[i];
            if (program[i].jump == 0)
                continue;
            size_t over = i + 1 < program.size() ? blocks[i + 1].size() : 0;
            if (i + 1 < program.size() && program[i + 1].jump != 0)
                over += Op(kJmp, 0).size();
            code += Op(program[i].jump, int(over));
        }
        return code;
    }
    // What a program leaves behind.
    std::string Left(const std::string& code, bool has_texts)
    {
        globals.Dump();
        application.recorded.text.clear();
        application.fatal_errors.clear();
        if (has_texts)
            globals.Index(2, 1)->SetValue("7.5", 3);
        int result = Run(code);
        std::string left = std::to_string(result) + " " + std::to_string(depth()) + " " + written();
        for (int slot = 0; slot < 3; ++slot) {
            Variable* variable = globals.Index(slot, 1);
            left += "|" + std::to_string(variable->aggregatetype()) + " " +
                    std::to_string(variable->primary_type()) + " " +
                    std::to_string(variable->refcount()) + " " + variable->value().data();
        }
        for (const std::string& error : application.fatal_errors)
            left += "|" + error.substr(error.rfind("]: "));
        for (int i = depth(); i > 0; --i) {
            int length, owned;
            const char* text = stack()->PopS(&length, nullptr, &owned);
            left += "|" + std::string(text ? text : "", size_t(length));
            if (owned)
                delete[] text;
        }
        return left;
    }
};

class Programs {
public:
    explicit Programs(unsigned int seed) : m_random(seed) {}

    std::vector<Statement> Make()
    {
        std::vector<Statement> program;
        for (int left = 1 + Below(12); left > 0; --left)
            program.push_back(One());
        return program;
    }

private:
    int Below(int limit) { return int(m_random() % unsigned(limit)); }

    std::string Variable() { return Op(Below(3) == 0 ? kPushL : kPushG, Below(3)); }
    std::string Into() { return Op(Below(3) == 0 ? kPopL : kPopG, Below(3)); }
    std::string Number()
    {
        static const double kDoubles[] = {0.0, -0.0, 1.5, 1e300, -3.25, NAN, INFINITY, 1e21, 1e22};
        if (Below(3) == 0)
            return OpDouble(kPushF, kDoubles[Below(9)]);
        return Op(kPushI, Below(4) == 0 ? int(m_random()) : Below(6) - 2);
    }
    std::string Text() { return Op(kPushC, Below(5)); }
    std::string Value()
    {
        int which = Below(4);
        return which == 0 ? Text() : which == 1 ? Number() : Variable();
    }
    std::string Arithmetic()
    {
        static const int kWords[] = {kAdd, kSub, kMul, kDiv};
        return Op(kWords[Below(4)]);
    }
    std::string Comparison()
    {
        static const int kWords[] = {kCmp, kEq, kNe, kGe, kLe, kLt, kGt};
        return Op(kWords[Below(7)]);
    }
    int Jump()
    {
        static const int kWords[] = {kJmpEq, kJmpLt, kJmpGt, kJmpLe, kJmpGe, kJmpNe};
        return kWords[Below(6)];
    }

    Statement One()
    {
        switch (Below(12)) {
            case 0:
                return {{Value(), Into()}};
            case 1:
                return {{Variable(), Value(), Arithmetic(), Into()}};
            case 2:
                return {{Variable(), Number(), Arithmetic()}};
            case 3:
                return {{Variable(), Value(), Comparison()}, Jump()};
            case 4:
                return {{Op(kCmpGI, Below(3), Below(5) - 1)}, Jump()};
            case 5:
                return {{Op(kCmpGG, Below(3), Below(3))}, Jump()};
            case 6:
                return {{Op(kIncG, Below(3), Below(9) - 4), Op(kStoreGI, Below(3), Below(4))}};
            case 7: {
                // The same variable at both ends, more often than not.
                int word = Below(2) == 0 ? kPushG : kPushL;
                int slot = Below(3);
                Statement append{{Op(word, slot)}};
                for (int pieces = 1 + Below(4); pieces > 0; --pieces) {
                    append.instructions.push_back(Value());
                    append.instructions.push_back(Op(kCat));
                }
                append.instructions.push_back(
                    Below(4) == 0 ? Into() : Op(word == kPushG ? kPopG : kPopL, slot));
                return append;
            }
            case 8:
                return {
                    {Value(), Variable(), Below(2) ? Variable() : Number(), Op(kElem), Op(kStore)}};
            case 9:
                return {{Variable(), Below(2) ? Variable() : Number(), Op(kElemReadonly), Into()}};
            case 10:
                return {{Value(), Variable(), Text(), Op(kMemb), Op(kStore)}};
            default:
                return {{Variable(), Text(), Op(kMembReadonly), Below(3) ? Into() : Op(kOut)}};
        }
    }

    std::mt19937 m_random;
};

TEST_F(StepsTest, SequencesDoWhatTheirInstructionsDo)
{
    const unsigned int programs = getenv("ZEPH_LONG_TESTS") ? 200000 : 10000;
    for (unsigned int seed = 1; seed <= programs; ++seed) {
        SCOPED_TRACE(seed);
        std::vector<Statement> program = Programs(seed).Make();
        bool has_texts = seed % 2 == 0;
        std::string expected = Left(Assembled(program, true), has_texts);
        ASSERT_EQ(Left(Assembled(program, false), has_texts), expected);
    }
}

// A loop runs its steps again, with what they keep of the last round.
TEST_F(StepsTest, MembersThatComeAndGoAreSeenInALoop)
{
    for (bool noops : {false, true}) {
        SCOPED_TRACE(noops);
        std::string between = noops ? Op(kNoop) : "";
        globals.Dump();
        application.recorded.text.clear();
        Variable* structure = globals.Index(0, 1);
        structure->Element(AggregateIndex("alpha", 5), 1)->SetValue("a", 1);
        // Write member "alpha", then make the global another structure by way of a number.
        std::string body = Op(kPushG, 0) + between + Op(kPushC, 0) + between + Op(kMembReadonly) +
                           between + Op(kOut) + Op(kPushI, 5) + Op(kPushG, 0) + between +
                           Op(kPushC, 1) + between + Op(kMemb) + between + Op(kStore) +
                           Op(kPushI, 1) + Op(kPopG, 2 * noops) + Op(kIncG, 1, 1) +
                           Op(kCmpGI, 1, 3);
        EXPECT_EQ(Run(body + Op(kJmpLt, -int(body.size()) - 6)), 1);
        EXPECT_EQ(written(), noops ? "aaa" : "a");
        EXPECT_EQ(GlobalInteger(1), 3);
    }
}

TEST_F(StepsTest, ARoomlessStackIsFoundByEverySequence)
{
    static const std::vector<std::string> sequences[] = {
        {Op(kPushG, 0), Op(kPushI, 1), Op(kAdd), Op(kPopG, 0)},
        {Op(kPushG, 0), Op(kPushG, 1), Op(kCmp), Op(kJmpNe, 0)},
        {Op(kPushG, 0), Op(kPushC, 0), Op(kCat), Op(kPopG, 0)},
        {Op(kPushG, 0), Op(kPushI, 1), Op(kElemReadonly)},
        {Op(kPushG, 0), Op(kPushC, 1), Op(kMembReadonly)},
    };
    for (const auto& sequence : sequences) {
        for (int entries : {510, 511, 512}) {
            SCOPED_TRACE(entries);
            std::string filled;
            for (int i = 0; i < entries; ++i)
                filled += Op(kPushI, 1);
            std::string fused = filled, single = filled;
            for (const std::string& instruction : sequence) {
                fused += instruction;
                single += instruction + Op(kNoop);
            }
            EXPECT_EQ(Left(fused, false), Left(single, false));
            EXPECT_EQ(application.fatal_errors.size(), entries == 510 ? 0u : 1u);
        }
    }
}

TEST(DecodedCode, AnyByteMayBeEntered)
{
    // push 0x00004025, so that a jump word stands within the operand.
    std::string code = Op(kPushI, 0x00004025) + Integer(0) + std::string(16, '\0');
    DecodedCode decoded(reinterpret_cast<const unsigned char*>(code.data()), 10,
                        DecodedCode::kAlways);
    DecodedStep* first = decoded.At(0);
    DecodedStep* within = decoded.At(2);
    EXPECT_EQ(first->kind, DecodedStep::kPushInteger);
    EXPECT_EQ(within->kind, DecodedStep::kJump);
    EXPECT_EQ(within->next, 8u);
    EXPECT_EQ(decoded.At(0), first);
    EXPECT_EQ(decoded.At(2), within);
    for (unsigned int offset : {9u, 10u, 11u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(offset);
        EXPECT_EQ(decoded.At(offset), nullptr);
    }
}

TEST(DecodedCode, ALongCodeIsTakenApartInRuns)
{
    std::string code;
    for (int i = 0; i < 5000; ++i)
        code += Op(kIncG, 0, i);
    unsigned int size = unsigned(code.size());
    code += std::string(16, '\0');
    DecodedCode decoded(reinterpret_cast<const unsigned char*>(code.data()), size,
                        DecodedCode::kAlways);
    DecodedStep* step = decoded.At(0);
    for (int i = 0; i < 5000; ++i) {
        if (step->kind == DecodedStep::kLink)
            step = decoded.At(step->next);
        ASSERT_EQ(step->kind, DecodedStep::kIncrement);
        ASSERT_EQ(step->b, i);
        ++step;
    }
}

}  // namespace
