#ifndef ZEPH_TESTS_UNIT_VM_STACKVALUES_H
#define ZEPH_TESTS_UNIT_VM_STACKVALUES_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LiveArrays.h"
#include "variables/LinkBuffer.h"
#include "variables/Variable.h"
#include "vm/ZephVM_Stack.h"

// The ways in which a value can stand on the stack.
enum class Shape {
    kInteger,
    kDouble,
    kText,
    kOwnedText,
    kVariable,
    kOwnedVariable,  // others hold it as well
    kLastVariable,   // the entry alone holds it
    kBuffer,
    kOwnedBuffer
};

const Shape kAllShapes[] = {Shape::kInteger,      Shape::kDouble,   Shape::kText,
                            Shape::kOwnedText,    Shape::kVariable, Shape::kOwnedVariable,
                            Shape::kLastVariable, Shape::kBuffer,   Shape::kOwnedBuffer};
// Those that can have any text.
const Shape kTextShapes[] = {Shape::kText,          Shape::kOwnedText,    Shape::kVariable,
                             Shape::kOwnedVariable, Shape::kLastVariable, Shape::kBuffer,
                             Shape::kOwnedBuffer};

inline const char* ShapeName(Shape shape)
{
    static const char* const names[] = {"integer",       "double",   "text",
                                        "owned text",    "variable", "owned variable",
                                        "last variable", "buffer",   "owned buffer"};
    return names[int(shape)];
}

inline int KindOf(Shape shape)
{
    static const int kinds[] = {0, 1, 2, 2, 3, 3, 3, 4, 4};
    return kinds[int(shape)];
}

inline bool IsOwned(Shape shape)
{
    return shape == Shape::kOwnedText || shape == Shape::kOwnedVariable ||
           shape == Shape::kLastVariable || shape == Shape::kOwnedBuffer;
}

// A buffer of many blocks.
inline LinkBuffer* NewBuffer(const std::string& text)
{
    auto buffer = new LinkBuffer(1, 1);
    for (const char& byte : text)
        buffer->cat(&byte, 1);
    return buffer;
}

// Pushes values and keeps what their entries borrow. A borrowed text has no byte behind
// it, so that a sanitizer sees who reads on.
class StackValues {
public:
    StackValues() {}
    StackValues(const StackValues&) = delete;
    StackValues& operator=(const StackValues&) = delete;
    ~StackValues()
    {
        for (Variable* variable : m_variables)
            variable->DecRefCount();
    }

    // For the first two shapes the number that the text begins with.
    void Push(ZephVM_Stack* stack, Shape shape, const std::string& text)
    {
        switch (shape) {
            case Shape::kInteger:
                return stack->PushI(std::atoi(text.c_str()));
            case Shape::kDouble:
                return stack->PushD(std::strtod(text.c_str(), nullptr));
            case Shape::kText:
                return stack->PushS(KeepText(text), int(text.size()), int(text.size()), 0);
            case Shape::kOwnedText:
                return stack->PushS(NewText(text), int(text.size()), int(text.size()) + 1, 1);
            case Shape::kVariable:
                return stack->PushV(KeepVariable(text), 0, 0);
            case Shape::kOwnedVariable:
                return stack->PushV(KeepVariable(text), 1, 1);
            case Shape::kLastVariable:
                return stack->PushV(NewVariable(text), 0, 1);
            case Shape::kBuffer:
                m_buffers.emplace_back(NewBuffer(text));
                return stack->PushLinkBuffer(m_buffers.back().get(), 0);
            case Shape::kOwnedBuffer:
                return stack->PushLinkBuffer(NewBuffer(text), 1);
        }
    }
    // Whether every count that was taken of a variable here has been given back.
    bool CountsAreBack() const
    {
        for (Variable* variable : m_variables)
            if (variable->refcount() != 1)
                return false;
        return true;
    }

    static char* NewText(const std::string& text)
    {
        char* array = new char[text.size() + 1];
        std::memcpy(array, text.c_str(), text.size() + 1);
        return array;
    }
    static Variable* NewVariable(const std::string& text)
    {
        return new Variable("value", -1, text.data(), int(text.size()));
    }

private:
    const char* KeepText(const std::string& text)
    {
        m_texts.emplace_back(new char[text.size()]);
        std::memcpy(m_texts.back().get(), text.data(), text.size());
        return m_texts.back().get();
    }
    Variable* KeepVariable(const std::string& text)
    {
        m_variables.push_back(NewVariable(text));
        return m_variables.back();
    }

    std::vector<std::unique_ptr<char[]>> m_texts;
    std::vector<Variable*> m_variables;
    std::vector<std::unique_ptr<LinkBuffer>> m_buffers;
};

// The text that a pop gives.
inline std::string PoppedString(ZephVM_Stack* stack)
{
    PoppedText text(stack);
    return text.data() ? std::string(text.data(), size_t(text.length())) : "(null)";
}

// Sees at its end that all arrays made since its start have been freed.
class NoArrayLeft {
public:
    NoArrayLeft() : m_before(LiveArrays()) {}
    ~NoArrayLeft() { EXPECT_EQ(LiveArrays(), m_before) << "an array is left or freed twice"; }

private:
    long m_before;
};

#endif
