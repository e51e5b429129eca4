#ifndef ZEPH_VARIABLES_IMMUTABLEVARIABLE_H
#define ZEPH_VARIABLES_IMMUTABLEVARIABLE_H

#include "variables/Variable.h"

class NULLVariable;

// A variable that refuses to change while it is locked: every setter then reports
// success and does nothing, and SetValue_Nocopy still frees the array that it is
// given. To become an aggregate of another type would be a change too, and is refused. All
// elements below it are immutable as well. Operations that move elements about do nothing
// at any time.
class ImmutableVariable : public Variable {
public:
    explicit ImmutableVariable(bool lock);
    // No pointer is a lock.
    explicit ImmutableVariable(const void*) = delete;
    ImmutableVariable(const ImmutableVariable&) = delete;
    ImmutableVariable(const char* name, int name_length, bool lock);
    ImmutableVariable(const char* name, int name_length, const char* text, int length, bool lock);
    ImmutableVariable(const String& name, const String& text, bool lock);
    ImmutableVariable(const char* name, int name_length, double value, bool lock);
    ImmutableVariable(const char* name, int name_length, int value, bool lock);
    ImmutableVariable(const char* name, int name_length, char* buffer, int length, int capacity,
                      bool lock);
    ImmutableVariable(const Variable& source, bool lock);
    // A copy of name and value, unlocked.
    explicit ImmutableVariable(Variable* source) : ImmutableVariable(*source, false) {}
    ~ImmutableVariable() override;

    // Locked if this one is.
    Variable* Clone(ZephApplication* application) override;
    int SetNULL() override;
    int SetValue(const char* text, int length) override;
    int SetValue(Variable& source) override;
    int SetValue_Nocopy(char* text, int length, int capacity) override;
    int SetValue_Integer(int value) override;
    int SetValue_Double(double value) override;
    // While it is locked, what would have to be made is a NULLVariable that all
    // missing elements share.
    Variable* Element(const AggregateIndex& index, int create) override;
    // Puts a copy there if the variable is not immutable.
    int SetElement(const AggregateIndex& index, Variable* variable) override;
    void InsertElement(int, Variable*) override {}
    void DeleteElement(const AggregateIndex&, bool) override {}
    void DeleteElements(int, int, bool) override {}
    void MergeElements(Variable*, int, int, int, bool) override {}
    void CopyElements(Variable*, int, int, int, bool) override {}
    // While it is locked, only counts the elements.
    int CollapseElements() override;
    void Convert_Aggregate(AggregateType type) override;
    void Make_Reference(Variable*) override {}
    // Deletes the callback.
    void Make_CallbackStruct(CallbackVariableCallback* callback) override;

    // Both apply to all that is below as well.
    virtual void Lock() { SetLocked(true); }
    virtual void Unlock() { SetLocked(false); }

    using Variable::Element;

private:
    void SetLocked(bool locked);

    bool m_locked;
    NULLVariable* m_missing = nullptr;  // holds one count; null until it is needed
};

// What a read finds where nothing is: always NULL, always locked.
class NULLVariable : public ImmutableVariable {
public:
    NULLVariable() : ImmutableVariable(true) {}

    const String& value() override { return m_value; }
    int value_integer() override { return 0; }
    double value_double() override { return 0.0; }
    double value_compare(int* error) override;
    int type() override { return kAlwaysNull; }
    bool IsTrue() override { return false; }
    bool IsNULL() override { return true; }
    // Itself, if `create` is set.
    Variable* Element(const AggregateIndex& index, int create) override;
    int CollapseElements() override { return 0; }
    void Unlock() override {}

    using Variable::Element;
    using Variable::IsTrue;
};

#endif
