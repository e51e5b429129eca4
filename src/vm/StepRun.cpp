#include "vm/StepRun.h"

#include <string.h>

StepRun::StepRun(const DecodedStep* instructions, int count, unsigned int next, bool is_end)
    : m_instructions(instructions)
{
    AddSequence(0, count);
    AddLink(is_end ? DecodedStep::kEnd : DecodedStep::kLink, next, 0);
    for (int i = 0; i < m_head_count; ++i)
        AddParts(m_heads[i]);
}

void StepRun::AddSequence(int first, int count)
{
    for (int i = 0; i < count;) {
        DecodedStep fused;
        Fusion fusion;
        if (FuseSteps(m_instructions + first + i, count - i, &fused, &fusion)) {
            m_heads[m_head_count++] = {m_count, first + i, fusion};
            Add(fused);
            i += fusion.count;
        } else {
            Add(m_instructions[first + i]);
            ++i;
        }
    }
}

// Adds what a step of several consists of, and the way back to the step behind it.
void StepRun::AddParts(const Head& head)
{
    DecodedStep* step = &m_steps[head.place];
    unsigned char* places[] = {&step->parts, &step->second, &step->third};
    int done = 0;
    for (int part = 0; part < head.fusion.parts; ++part) {
        *places[part] = static_cast<unsigned char>(m_count - head.place);
        AddSequence(head.first + done, head.fusion.lengths[part]);
        done += head.fusion.lengths[part];
    }
    if (done == 0)
        step->parts = static_cast<unsigned char>(m_count - head.place);
    for (; done < head.fusion.count; ++done)
        Add(m_instructions[head.first + done]);
    if (head.fusion.stores_into_left)
        step->third = step->parts;
    AddLink(DecodedStep::kLink, step->next, head.place + 1 - m_count);
}

// `distance` is that to the target, 0 for one that is not known.
void StepRun::AddLink(DecodedStep::Kind kind, unsigned int offset, int distance)
{
    DecodedStep link = {};
    link.kind = kind;
    link.offset = link.next = offset;
    link.result = distance;
    Add(link);
}

void StepRun::CopyTo(DecodedStep* steps) const
{
    memcpy(steps, m_steps, size_t(m_count) * sizeof *steps);
    for (int i = 0; i < m_count; ++i) {
        if (steps[i].kind == DecodedStep::kLink && steps[i].result != 0)
            steps[i].target = steps + i + steps[i].result;
    }
}
