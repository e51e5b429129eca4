#include "vm/ZephVMCallbackVariableCallback.h"

#include "variables/Variable.h"
#include "vm/ZephVM.h"

namespace {

const int kAddRef = 1;
const int kNoAddRef = 0;

}  // namespace

ZephVMCallbackVariableCallback::ZephVMCallbackVariableCallback(ZephVM* vm, const char* function,
                                                               int length, Variable* data)
    : m_vm(vm), m_function(function, length), m_data(data)
{
    ++m_vm->m_refcount;
    if (m_data)
        m_data->IncRefCount();
    else
        m_data = new Variable;
}

ZephVMCallbackVariableCallback::~ZephVMCallbackVariableCallback()
{
    if (m_result)
        m_result->DecRefCount();
    m_data->DecRefCount();
    m_vm->Release();
}

// A value that the script has kept is not written over, and neither is what it made the
// result refer to.
Variable* ZephVMCallbackVariableCallback::FreshResult()
{
    if (m_result && (m_result->refcount() >= 2 || m_result->type() == Variable::kReference)) {
        m_result->DecRefCount();
        m_result = nullptr;
    }
    if (!m_result)
        m_result = new Variable;
    return m_result;
}

bool ZephVMCallbackVariableCallback::RunFunction(Variable* variable, AggregateIndex index,
                                                 Variable** result)
{
    *result = nullptr;
    if (m_function.length() == 0 || m_is_running)
        return false;
    Variable* answer = FreshResult();
    String& name = index;
    VariableList arguments;
    arguments.Insert(variable, kListTail, kAddRef);
    arguments.Insert(new Variable("", 0, name.data(), name.length()), kListTail, kNoAddRef);
    arguments.Insert(m_data, kListTail, kAddRef);
    m_is_running = true;
    bool has_run = m_vm->RunFunction(m_function.data(), m_function.length(), &arguments, answer);
    m_is_running = false;
    *result = answer;
    return has_run;
}
