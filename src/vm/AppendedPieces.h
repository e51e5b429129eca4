#ifndef ZEPH_VM_APPENDEDPIECES_H
#define ZEPH_VM_APPENDEDPIECES_H

#include "image/Dictionary.h"
#include "primitives/number_text.h"
#include "variables/DirectValue.h"
#include "vm/DecodedCode.h"
#include "vm/StepOperands.h"

// The texts that one step appends to a variable, taken from the single steps behind it.
class AppendedPieces {
public:
    AppendedPieces(const StepOperands& operands, Dictionary* texts, const DecodedStep* step)
        : m_operands(operands), m_texts(texts), m_step(step)
    {
    }

    // Whether there is but one piece, and that a constant.
    bool IsOneConstant() const
    {
        return count() == 1 && at(0).kind == DecodedStep::kPushConstant &&
               m_texts->Entry(at(0).a, nullptr);
    }
    // Whether all can be had without looking at what they are appended to.
    bool AreApartFrom(Variable* target) const
    {
        for (int i = 0; i < count(); ++i) {
            if (!IsApartFrom(target, at(i)))
                return false;
        }
        return true;
    }
    // The number of bytes.
    long long AppendTo(Variable* target) const
    {
        long long bytes = 0;
        for (int i = 0; i < count(); ++i)
            bytes += AppendOne(target, at(i));
        return bytes;
    }

private:
    // The parts are the variable, then each piece with its concatenation.
    int count() const { return m_step->b; }
    const DecodedStep& at(int i) const { return m_step[m_step->parts + 1 + 2 * i]; }

    bool IsApartFrom(Variable* target, const DecodedStep& piece) const
    {
        if (piece.kind == DecodedStep::kPushConstant)
            return m_texts->Entry(piece.a, nullptr) != nullptr;
        if (piece.kind == DecodedStep::kPushDouble)
            return HasShortText(piece.real);
        if (piece.kind != DecodedStep::kPushVariable)
            return true;
        Variable* variable = m_operands.Left(&piece);
        return variable && variable != target && DirectValue::IsPlainScalar(variable);
    }
    int AppendOne(Variable* target, const DecodedStep& piece) const
    {
        char number[kShortDoubleRoom];
        const char* text = number;
        int length;
        if (piece.kind == DecodedStep::kPushVariable) {
            const String& value = m_operands.Left(&piece)->value();
            text = value.data();
            length = value.length();
        } else if (piece.kind == DecodedStep::kPushConstant) {
            text = m_texts->Entry(piece.a, &length);
        } else if (piece.kind == DecodedStep::kPushInteger) {
            length = FormatInteger(piece.a, number);
        } else {
            length = FormatShortest(piece.real, number);
        }
        DirectValue::Append(target, text, length);
        return length;
    }

    const StepOperands& m_operands;
    Dictionary* m_texts;
    const DecodedStep* m_step;
};

#endif
