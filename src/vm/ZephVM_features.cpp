// Tags that stay open over several instructions, innermost on top.

#include "vm/Feature.h"
#include "vm/ZephVM.h"

void ZephVM::Push_Feature(Feature* feature)
{
    m_features.Push(feature);
}

Feature* ZephVM::Lookup_Feature(int number)
{
    Feature* feature = m_features.Top();
    while (feature && feature->number() != number)
        feature = m_features.Peek();
    return feature;
}

// What stands above the feature leaves the stack with it and is not deleted, on purpose:
// a tag that is left past an inner one leaves that one open until the process ends.
void ZephVM::Pop_Feature(Feature* feature)
{
    Feature* found = m_features.Top();
    while (found && found != feature)
        found = m_features.Peek();
    if (found)
        delete m_features.Pop();
}

void ZephVM::Cleanup_Function_Features(ZephVM_Frame* frame)
{
    Feature* lowest = nullptr;
    Feature* feature = m_features.Top();
    for (; feature && feature->frame() == frame; feature = m_features.Peek())
        lowest = feature;
    if (lowest)
        Pop_Feature(lowest);
}

void ZephVM::HeartbeatFeatures()
{
    for (Feature* feature = m_features.Top(); feature; feature = m_features.Peek())
        feature->Heartbeat();
}

void ZephVM::DeleteFeatures()
{
    while (m_features.Top())
        delete m_features.Pop();
}
