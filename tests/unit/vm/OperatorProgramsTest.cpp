// Random programs without jumps, run by the machine and by a model of values and operators.
// The model knows each value's kind, owner and, of a variable, which of its forms are valid.
#include <random>
#include <vector>

#include "MachineModel.h"
#include "StackValues.h"
#include "TestMachine.h"

namespace {

// A text that grows past this is joined no more.
const size_t kLongestText = 4000;

// A text with its number in the dictionary.
struct Constant {
    std::string text;
    int entry;
};

// Makes a program step by step; the model has done each step already, so that the generator
// sees what would be a fault.
class Generator {
public:
    Generator(unsigned int seed, const std::vector<Constant>& constants)
        : m_random(seed), m_constants(constants)
    {
    }

    void Generate(int steps)
    {
        for (int i = 0; i < steps; ++i)
            Step();
    }

    Model model;
    std::string code;
    std::string listing;

private:
    int Random(int below) { return int(m_random() % unsigned(below)); }
    void Emit(const std::string& bytes, const std::string& name)
    {
        code += bytes;
        listing += name + "\n";
    }

    void Step()
    {
        int choice = Random(20);
        if (model.stack.empty() || (choice < 7 && model.stack.size() < 12))
            return PushSomething();
        if (choice < 9)
            return Unary();
        if (choice < 11)
            return Move();
        if (choice == 11)
            return Fused();
        if (choice == 12)
            return Round();
        if (choice == 13)
            return Copy();
        if (model.stack.size() >= 2)
            Binary();
    }

    void PushSomething()
    {
        static const double doubles[] = {0.0,      -0.0,  0.5,   -2.5,        1e21,
                                         1e-25,    0.1,   1e300, 5e-324,      1.005,
                                         INFINITY, -1e10, 3.0,   2147483648.0};
        static const int integers[] = {0, 1, -1, 2, 10, 31, 33, 255, INT_MAX, INT_MIN, 7, -17};
        switch (Random(5)) {
            case 0: {
                int value = integers[Random(std::size(integers))];
                Emit(Op(kPushI, value), "pushi " + std::to_string(value));
                return model.Push(value);
            }
            case 1: {
                double value = doubles[Random(std::size(doubles))];
                Emit(OpDouble(kPushF, value), "pushf " + std::to_string(value));
                return model.Push(value);
            }
            case 2: {
                int slot = Random(kGlobals);
                Emit(Op(kPushG, slot), "pushg " + std::to_string(slot));
                return model.PushVariable(slot);
            }
        }
        const Constant& constant = m_constants[size_t(Random(int(m_constants.size())))];
        Emit(Op(kPushC, constant.entry), "pushc '" + constant.text + "'");
        model.Push(constant.text, Stack_Entry::kString, false);
    }

    void Unary()
    {
        switch (Random(4)) {
            case 0:
                Emit(Op(kNot), "not");
                return model.Push(int(!model.Truth(model.Take())));
            case 1:
                Emit(Op(kIsNull), "isnull");
                return model.Push(int(model.Null(model.Take())));
            case 2:
                Emit(Op(kBitOc), "bitoc");
                return model.Push(~model.Integer(model.Take()));
        }
        Emit(Op(kOut), "out");
        model.written += model.Text(model.Take());
    }

    void Move()
    {
        int slot = Random(kGlobals);
        switch (Random(4)) {
            case 0:
                Emit(Op(kPop), "pop");
                model.Take();
                return;
            case 1:
                Emit(Op(kPopG, slot), "popg " + std::to_string(slot));
                return model.Store(model.Take(), slot);
            case 2:
                Emit(Op(kPushG, slot) + Op(kStore), "pushg " + std::to_string(slot) + "\nstore");
                return model.Store(model.Take(), slot);
        }
        if (model.stack.size() < 2)
            return;
        Emit(Op(kSwap), "swap");
        std::swap(model.Top(), model.stack[model.stack.size() - 2]);
    }

    void Fused()
    {
        int a = Random(kGlobals), b = Random(kGlobals), value = Random(25) - 12;
        std::string names = std::to_string(a) + ", ";
        ModelEntry left, right;
        left.kind = right.kind = Stack_Entry::kVariable;
        left.slot = a;
        right.slot = b;
        switch (Random(5)) {
            case 0:
                Emit(Op(kCmpGG, a, b), "cmpgg " + names + std::to_string(b));
                return model.Push(model.Order(left, right));
            case 1:
                Emit(Op(kCmpGI, a, value), "cmpgi " + names + std::to_string(value));
                right.kind = Stack_Entry::kInteger;
                right.integer = value;
                return model.Push(model.Order(left, right));
            case 2:
                Emit(Op(kIncG, a, value), "incg " + names + std::to_string(value));
                return model.variables[a].Set(
                    int(unsigned(model.variables[a].Integer()) + unsigned(value)));
            case 3:
                Emit(Op(kStoreGI, a, value), "storegi " + names + std::to_string(value));
                return model.variables[a].Set(value);
        }
        Model before = model;
        int dividend = model.variables[a].Integer(), divisor = model.variables[b].Integer();
        if (divisor == 0 || divisor == -1) {
            model = before;
            return;
        }
        Emit(Op(kModGG, a, b), "modgg " + names + std::to_string(b));
        model.Push(dividend % divisor);
    }

    void Round()
    {
        int places = Random(30) - 3;
        bool as_text = Random(2) == 0;
        double value = model.Double(model.Take());
        Emit(Op(kPushI, places) + Op(as_text ? kRoundS : kRoundF),
             "pushi " + std::to_string(places) + (as_text ? "\nrounds" : "\nroundf"));
        if (as_text)
            model.Push(model::RoundS(value, places), Stack_Entry::kString, std::isfinite(value));
        else
            model.Push(model::RoundF(value, places));
    }

    // A copy borrows from its original. Where that can end first, the copy is used at once.
    void Copy()
    {
        if (model.stack.size() >= 12)
            return;
        bool can_end = model.Top().owned && model.Top().kind != Stack_Entry::kVariable;
        Emit(Op(kDup), "dup");
        model.stack.push_back(model.Top());
        model.Top().owned = false;
        if (can_end && !Binary()) {
            Emit(Op(kPop), "pop");
            model.Take();
        }
    }

    // False if the operator that was picked would be a fault.
    bool Binary()
    {
        Model before = model;
        int pick = Random(30);
        if (pick < 5)
            return Arithmetic(pick, before);
        if (pick < 11)
            return Bits(pick - 5, before);
        ModelEntry right = model.Take(), left = model.Take();
        if (pick < 13) {
            bool right_truth = model.Truth(right), left_truth = model.Truth(left);
            bool both = pick == 11;
            Emit(Op(both ? kAnd : kOr), both ? "and" : "or");
            model.Push(int(both ? left_truth && right_truth : left_truth || right_truth));
        } else if (pick < 20) {
            Compare(pick - 13, left, right);
        } else if (pick < 24) {
            static const int words[] = {kIn, kCin, kEin, kEcin};
            std::string haystack = model.Text(right), needle = model.Text(left);
            Emit(Op(words[pick - 20]), "in " + std::to_string(pick - 20));
            model.Push(model::Found(needle, haystack, pick % 2 == 1, pick >= 22));
        } else {
            model = before;
            if (model.Text(left).size() + model.Text(right).size() > kLongestText) {
                model = before;
                return false;
            }
            model = before;
            Emit(Op(kCat), "cat");
            model.Concatenate();
        }
        return true;
    }

    void Compare(int which, const ModelEntry& left, const ModelEntry& right)
    {
        static const int words[] = {kCmp, kEq, kNe, kGe, kLe, kLt, kGt};
        int order = model.Order(left, right);
        const int results[] = {order,      order == 0, order != 0,
                               order >= 0, order <= 0, order<0, order> 0};
        Emit(Op(words[which]), "compare " + std::to_string(which));
        model.Push(results[which]);
    }

    // Leaves NaN out: which sign it gets is the machine's choice.
    bool Arithmetic(int which, const Model& before)
    {
        static const int words[] = {kAdd, kSub, kMul, kDiv, kPow};
        double right = model.Double(model.Take()), left = model.Double(model.Take());
        const double results[] = {left + right, left - right, left * right,
                                  left == 0 ? 0 : left / right, std::pow(left, right)};
        if (std::isnan(results[which])) {
            model = before;
            return false;
        }
        Emit(Op(words[which]), "arithmetic " + std::to_string(which));
        model.Push(results[which]);
        return true;
    }

    bool Bits(int which, const Model& before)
    {
        static const int words[] = {kMod, kBitAnd, kBitOr, kBitXor, kBitSl, kBitSr};
        int right = model.Integer(model.Take()), left = model.Integer(model.Take());
        if (which == 0 && right == -1 && left == INT_MIN) {
            model = before;
            return false;
        }
        long long wide = left;
        int count = right & 31;
        long long factor = 1LL << count;
        const long long results[] = {right == 0 ? 0 : wide % right,
                                     left & right,
                                     left | right,
                                     left ^ right,
                                     int(unsigned(wide * factor)),
                                     wide >= 0 ? wide / factor : -((-wide + factor - 1) / factor)};
        Emit(Op(words[which]), "bits " + std::to_string(which));
        model.Push(int(results[which]));
        return true;
    }

    std::mt19937 m_random;
    const std::vector<Constant>& m_constants;
};

class OperatorProgramsTest : public MachineTest {
protected:
    OperatorProgramsTest()
    {
        for (const std::string& text :
             {std::string(),           std::string("0"),
              std::string("00"),       std::string("0."),
              std::string("."),        std::string("0.0.0"),
              std::string("abc"),      std::string("ABC"),
              std::string("bc"),       std::string("a"),
              std::string("10"),       std::string("10.0"),
              std::string("9"),        std::string("-7"),
              std::string("0x10"),     std::string("0xfG"),
              std::string("1e3"),      std::string("1e-25"),
              std::string(" 1"),       std::string("1 "),
              std::string("+5"),       std::string("NaN"),
              std::string("-inf"),     std::string("1e999"),
              std::string("2.5"),      std::string("1.005"),
              std::string("-0"),       std::string("-"),
              std::string("0.0006"),   std::string("4294967297"),
              std::string("a\0b", 3),  std::string("\0", 1),
              std::string("\xFF\x80"), std::string("12345678901234567890"),
              std::string("0X1f"),     std::string(299, 'b'),
              std::string(300, 'b'),   std::string(450, '1') + "abc"}) {
            m_constants.push_back({text, dictionary.Entry_Add(text.data(), int(text.size()))});
        }
    }

    // True if the machine has come to what the model says.
    bool Agrees(unsigned int seed)
    {
        Generator generator(seed, m_constants);
        generator.Generate(1 + int(seed % 60));
        Reset();
        EXPECT_EQ(Run(generator.code), 1);
        EXPECT_EQ(written(), generator.model.written);
        CompareStacks(&generator.model);
        for (int slot = 0; slot < kGlobals; ++slot) {
            const String& value = globals.Index(slot, 1)->value();
            EXPECT_EQ(std::string(value.data(), size_t(value.length())),
                      generator.model.variables[slot].Text());
            EXPECT_EQ(globals.Index(slot, 1)->refcount(), 1);
        }
        if (!HasFailure())
            return true;
        ADD_FAILURE() << "program " << seed << ":\n" << generator.listing;
        return false;
    }
    void Reset()
    {
        End();
        application.recorded.text.clear();
        for (int slot = 0; slot < kGlobals; ++slot)
            globals.Index(slot, 1)->SetNULL();
    }
    void CompareStacks(Model* expected)
    {
        ASSERT_EQ(depth(), int(expected->stack.size()));
        while (depth() > 0) {
            ModelEntry entry = expected->Take();
            EXPECT_EQ(stack()->Peek()->kind, entry.kind);
            EXPECT_EQ(stack()->Peek()->owned != 0, entry.owned);
            EXPECT_EQ(PoppedString(stack()), expected->Text(entry));
        }
    }

    std::vector<Constant> m_constants;
};

TEST_F(OperatorProgramsTest, MachineAgreesWithTheModel)
{
    unsigned int programs = getenv("ZEPH_LONG_TESTS") ? 100000 : 5000;
    for (unsigned int seed = 0; seed < programs; ++seed)
        if (!Agrees(seed))
            break;
    End();
}

}  // namespace
