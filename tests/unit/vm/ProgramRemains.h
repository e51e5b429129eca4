#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMREMAINS_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMREMAINS_H

#include <stdio.h>

#include "ProgramWorld.h"
#include "variables/AggregateElementTree.h"
#include "variables/LinkBuffer.h"

// What a program leaves behind, as text.
class ProgramRemains {
public:
    // Takes the values off the stacks.
    static std::string Of(ProgramWorld* world, int result)
    {
        ProgramRemains remains(world);
        remains.Add("result " + std::to_string(result));
        remains.AddRun();
        remains.AddReports();
        remains.AddTable("global", &world->globals);
        remains.AddFrames();
        remains.AddCounts();
        return remains.m_text;
    }

private:
    // Looks at what a variable has at hand.
    class Forms : public Variable {
    public:
        static int Valid(const Variable* variable) { return variable->*&Forms::m_valid; }
        static bool IsDirect(const Variable* variable) { return variable->*&Forms::m_direct; }
    };

    explicit ProgramRemains(ProgramWorld* world) : m_world(world), m_vm(world->vm()) {}

    void Add(const std::string& line) { m_text += line + "\n"; }
    void AddRun()
    {
        Add("at " + std::to_string(MachineInnards::segment(m_vm)) + ":" +
            std::to_string(MachineInnards::pc(m_vm)) + " line " + std::to_string(m_vm->line()) +
            (m_vm->halted() ? " halted" : "") + (m_world->exited ? " exited" : ""));
        Add("output " + m_world->output.text + " flags " + std::to_string(m_world->output.flags()));
        Add(std::string("error ") + m_vm->error().data());
    }
    void AddReports()
    {
        for (const std::string& text : m_world->application.fatal_errors)
            Add("fatal " + text);
        for (const RecordedError& error : m_world->application.runtime_errors)
            Add("runtime " + std::to_string(error.tag) + (error.shown ? " shown " : " hidden ") +
                error.text);
        for (const std::string& text : m_world->application.timeouts)
            Add("timeout " + text);
        for (const std::string& line : m_world->application.log)
            Add("log " + line);
    }
    void AddTable(const std::string& head, VariableHash* table)
    {
        for (int slot = 0; slot < table->slots(); ++slot) {
            Variable* variable = table->Made(slot);
            int length;
            const char* name = table->Name(slot, &length);
            Add(head + " " + std::string(name, size_t(length)) + " " +
                (variable ? Described(variable, 0) : "not made"));
        }
    }
    void AddFrames()
    {
        for (ZephVM_Frame* frame = m_vm->frame(); frame; frame = frame->previous) {
            Add("frame " + std::to_string(frame->type()) + " returns to " +
                std::to_string(frame->return_segment) + ":" + std::to_string(frame->return_offset) +
                " flags " + std::to_string(frame->standard_output) + " " +
                std::to_string(frame->error_output));
            if (frame->locals() != &m_world->globals && !HasFailedToEnter(frame))
                AddTable("local", frame->locals());
            while (Stack_Entry* entry = frame->stack()->Peek()) {
                Add("entry " + DescribedEntry(*entry));
                frame->stack()->Pop();
            }
        }
    }
    // Whether the machine has halted for want of an argument: the parameters have then
    // whatever an earlier call has left there.
    bool HasFailedToEnter(ZephVM_Frame* frame)
    {
        if (!m_vm->halted() || frame != m_vm->frame() || !frame->Is(ZephVM_Frame::kFunction))
            return false;
        Function* function = static_cast<ZephVM_FunctionFrame*>(frame)->function();
        return MachineInnards::pc(m_vm) == unsigned(function->offset());
    }
    // What the stacks have held is given back.
    void AddCounts()
    {
        for (int slot = 0; slot < m_world->globals.slots(); ++slot) {
            Variable* variable = m_world->globals.Made(slot);
            Add("count " + std::to_string(variable ? variable->refcount() : 0));
        }
    }
    static std::string Bits(double value)
    {
        char text[64];
        snprintf(text, sizeof text, "%a", value);
        return text;
    }
    static std::string DescribedEntry(const Stack_Entry& entry)
    {
        std::string owned = entry.owned ? " owned" : "";
        switch (entry.kind) {
            case Stack_Entry::kInteger:
                return std::to_string(entry.integer) + owned;
            case Stack_Entry::kDouble:
                return Bits(entry.real) + owned;
            case Stack_Entry::kString:
                return "'" + std::string(entry.string, size_t(entry.length)) + "'" + owned;
            case Stack_Entry::kVariable:
                return Described(entry.variable, 0) + owned;
        }
        int length;
        const char* text = entry.buffer->data(&length, nullptr);
        return "buffer '" + std::string(text, size_t(length)) + "'" + owned;
    }
    // What forms a number has besides its own does not matter, but for a text that does not tell
    // all about it: comparisons and judgements go by that, so they come first.
    static std::string Described(Variable* variable, int depth)
    {
        int forms = Forms::Valid(variable);
        std::string text = "type " + std::to_string(variable->type()) +
                           (Forms::IsDirect(variable) ? " direct" : "") +
                           (variable->is_immutable() ? " immutable" : "") + " primary " +
                           std::to_string(variable->primary_type()) + " count " +
                           std::to_string(variable->refcount()) + (forms ? " valid" : "");
        AggregateElementTree* elements = variable->aggregateelements();
        if (!elements || depth > 3)
            return text + Values(variable);
        text += variable->aggregatetype() == kAggregateArray ? " [" : " {";
        elements->ForEach([&](AggregateElement* element) {
            AggregateIndex index(element->index());
            const String& key = index;
            text +=
                std::string("(") + key.data() + " " + Described(element->var(), depth + 1) + ")";
        });
        return text + "]" + variable->value().data();
    }
    static std::string Values(Variable* variable)
    {
        int error;
        double compared = variable->value_compare(&error);
        std::string text = " compared " + Bits(compared) + (error ? " not" : "");
        text += variable->IsTrue() ? " true" : " false";
        text += " " + std::to_string(variable->value_integer());
        text += " " + Bits(variable->value_double());
        const String& value = variable->value();
        return text + " '" + std::string(value.data(), size_t(value.length())) + "'";
    }

    ProgramWorld* m_world;
    ZephVM* m_vm;
    std::string m_text;
};

#endif
