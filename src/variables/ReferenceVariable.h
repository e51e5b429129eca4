#ifndef ZEPH_VARIABLES_REFERENCEVARIABLE_H
#define ZEPH_VARIABLES_REFERENCEVARIABLE_H

#include "variables/Variable.h"

// A variable that stands for another one: all but its name is the target's. The target
// may be a reference as well.
//
// Holds as many counts of its target as it has itself, however they change.
class ReferenceVariable : public Variable {
public:
    ReferenceVariable(const char* name, int name_length, Variable* target);
    // Refers to the variable at a path below `base`, which is made if it is missing.
    ReferenceVariable(const char* name, int name_length, Variable* base,
                      List<AggregateIndex>* path);
    // For Make_Reference: the counts of the target have been raised already.
    ReferenceVariable(VariableName&& name, Variable* target, int refcount);
    ReferenceVariable(const ReferenceVariable&) = delete;
    ~ReferenceVariable() override;

    // A plain variable with a copy of the target's value.
    Variable* Clone(ZephApplication* application) override;
    Variable* NextIdentity() override { return m_link.target; }
    Variable* RealIdentity() override;
    const String& value() override { return RealIdentity()->value(); }
    int value_integer() override { return RealIdentity()->value_integer(); }
    double value_double() override { return RealIdentity()->value_double(); }
    double value_compare(int* error) override { return RealIdentity()->value_compare(error); }
    int type() override { return kReference; }
    int primary_type() override { return RealIdentity()->primary_type(); }
    int preferred_type() override { return RealIdentity()->preferred_type(); }
    bool IsTrue() override { return RealIdentity()->IsTrue(); }
    bool IsNULL() override { return RealIdentity()->IsNULL(); }
    int SetNULL() override { return RealIdentity()->SetNULL(); }
    AggregateElementTree* aggregateelements() override;
    AggregateType aggregatetype() override { return RealIdentity()->aggregatetype(); }
    int SetValue(const char* text, int length) override;
    int SetValue(Variable& source) override { return RealIdentity()->SetValue(source); }
    int SetValue_Nocopy(char* text, int length, int capacity) override;
    int SetValue_Integer(int value) override { return RealIdentity()->SetValue_Integer(value); }
    int SetValue_Double(double value) override { return RealIdentity()->SetValue_Double(value); }
    Variable* Element(const AggregateIndex& index, int create) override;
    Variable* Element(List<AggregateIndex>* path, int create) override;
    int SetElement(const AggregateIndex& index, Variable* variable) override;
    void InsertElement(int position, Variable* variable) override;
    void DeleteElement(const AggregateIndex& index, bool collapse) override;
    void DeleteElements(int start, int count, bool collapse) override;
    void MergeElements(Variable* source, int start, int count, int destination, bool copy) override;
    void CopyElements(Variable* source, int start, int count, int destination, bool copy) override;
    int CollapseElements() override { return RealIdentity()->CollapseElements(); }
    int Max() override { return RealIdentity()->Max(); }
    int Min() override { return RealIdentity()->Min(); }
    int Next(int number) override { return RealIdentity()->Next(number); }
    int Previous(int number) override { return RealIdentity()->Previous(number); }
    int ElementsUsed() override { return RealIdentity()->ElementsUsed(); }
    void IncRefCount() override { RaiseCounts(this); }
    void DecRefCount() override { GiveCountsBack(this); }
    void Convert_String() override { RealIdentity()->Convert_String(); }
    void Convert_Integer() override { RealIdentity()->Convert_Integer(); }
    void Convert_Double() override { RealIdentity()->Convert_Double(); }
    void Convert_Aggregate(AggregateType type) override;
    void Serialize(String& out) override { RealIdentity()->Serialize(out); }
    // Refers to another target from now on, unless that comes to the same in the end.
    void Make_Reference(Variable* target) override;
    void Make_CallbackStruct(CallbackVariableCallback* callback) override;

    using Variable::IsTrue;
};

#endif
