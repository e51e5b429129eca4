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

    // Appends the only piece, if that is a constant.
    bool AppendConstantTo(Variable* target) const
    {
        const DecodedStep& piece = at(0);
        if (count() > 1 || piece.kind != DecodedStep::kPushConstant)
            return false;
        int length;
        const char* text = m_texts->Entry(piece.a, &length);
        if (!text)
            return false;
        DirectValue::Append(target, text, length);
        return true;
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
    void AppendTo(Variable* target) const
    {
        for (int i = 0; i < count(); ++i)
            AppendOne(target, at(i));
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
    void AppendOne(Variable* target, const DecodedStep& piece) const
    {
        char number[kShortDoubleRoom];
        if (piece.kind == DecodedStep::kPushVariable) {
            const String& text = m_operands.Left(&piece)->value();
            DirectValue::Append(target, text.data(), text.length());
        } else if (piece.kind == DecodedStep::kPushConstant) {
            int length;
            const char* text = m_texts->Entry(piece.a, &length);
            DirectValue::Append(target, text, length);
        } else if (piece.kind == DecodedStep::kPushInteger) {
            DirectValue::Append(target, number, FormatInteger(piece.a, number));
        } else {
            DirectValue::Append(target, number, FormatShortest(piece.real, number));
        }
    }

    const StepOperands& m_operands;
    Dictionary* m_texts;
    const DecodedStep* m_step;
};

#endif
