#include "variables/ClonedVariableHash.h"

#include "variables/SystemVariableHash.h"

ClonedVariableHash::ClonedVariableHash(ZephApplication* application, NamePool* names,
                                       VariableHash& source)
    : VariableHashView(names, source)
{
    VariableHash* real = source.RealIdentity();
    bool is_view = real != &source;
    if (!is_view && !real->is_system()) {
        CloneVariables(application, source);
        return;
    }
    // The slots that a view has found are the same in the copy of its target.
    if (is_view)
        names = m_real_names = real->names()->Clone();
    else
        KeepSlots();
    if (real->is_system())
        m_real = new SystemVariableHash(application, names, *real);
    else
        m_real = new VariableHash(application, names, *real);
    SetTarget(m_real);
}

ClonedVariableHash::~ClonedVariableHash()
{
    delete m_real;
    delete m_real_names;
}
