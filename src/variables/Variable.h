#ifndef ZEPH_VARIABLES_VARIABLE_H
#define ZEPH_VARIABLES_VARIABLE_H

#include <stddef.h>

#include "variables/AggregateIndex.h"
#include "variables/List.h"
#include "variables/StringClass.h"
#include "variables/VariableName.h"

class AggregateElement;
class AggregateElementTree;
class CallbackVariableCallback;
class ZephApplication;

// The value type of the script language: a name and a value, which is a scalar or an
// aggregate. A scalar is held as text, as a 32-bit integer and as a double side by
// side: a form that was not set is made when it is first asked for and then kept until
// the next set. An aggregate is an array or a structure of variables.
//
// Reference counted from 1: whoever stores a variable holds a count and gives it back
// by DecRefCount, never by delete. What an aggregate holds may be shared with others,
// and values may be nested as deep as memory allows: copying, serializing and ending
// take memory of their own and not the machine's stack.
//
// Counts are raised and given back, and elements copied, serialized and locked, without the
// virtual operations for it along the way: a class does not override these to take part.
//
// Numbers stay within 0 and INT_MAX however they are moved. Lowering them on top of others,
// which a merge of a negative range can do, leaves some, and it is not defined which, that no
// number finds until CollapseElements numbers them anew.
//
// The end of a variable of a derived class must not run script: the machine ends variables
// between its looks at what script can change.
//
// A derived class that computes its value leaves m_valid clear between calls: what it marks
// as valid is read without asking it.
//
// An aggregate that contains itself, directly or through a reference, is possible. It
// is never freed before the process ends. Where its text or its copy comes upon itself
// again, the text gets nothing and the copy a NULL value.
class Variable {
public:
    // The form in which a value was last set.
    enum PrimaryType {
        kNone = 0,
        kText = 1,
        kInteger = 2,
        kDouble = 3
    };
    // What type() tells about a class.
    enum Nature {
        kPlain = 0,
        kReference = 1,
        kAlwaysNull = 2,
        kComputedInteger = 3,
        kComputedText = 4,
        kPreferring = 5  // the value has a preferred_type() of its own
    };

    // Those without a value are NULL. A length of -1 here and below means that the
    // text ends at its NUL.
    Variable() {}
    Variable(const char* name, int name_length) : m_name(name, name_length) {}
    // Points at its name.
    explicit Variable(const PermanentText& name) : m_name(name) {}
    explicit Variable(const VariableName& name) : m_name(name) {}
    Variable(const char* name, int name_length, const char* text, int length);
    Variable(const String& name, const String& text);
    Variable(const char* name, int name_length, double value);
    Variable(const char* name, int name_length, int value);
    // Takes the new[] array over.
    Variable(const char* name, int name_length, char* buffer, int length, int capacity);
    // A variable of this very class, which the short ways of DirectValue may set. A name
    // that is permanent is only pointed at.
    static Variable* New(const char* name, int name_length);
    static Variable* New(const PermanentText& name);
    static Variable* New(const VariableName& name);

    // Variables are made and ended all the time, so their memory is kept for the next one.
    static void* operator new(size_t size);
    static void* operator new(size_t, void* place) { return place; }
    static void operator delete(void* memory, size_t size);

    // The name, and the value as by SetValue: of a reference, that of its target.
    Variable(const Variable& source);
    Variable& operator=(const Variable&) = delete;

    // The order of these is binary interface.

    virtual ~Variable();
    // A variable of its own with the same name and value, for another application.
    virtual Variable* Clone(ZephApplication* application);
    virtual const String& name() { return m_name.text(); }
    // What a reference refers to, one step or all the way; else the variable itself.
    virtual Variable* NextIdentity() { return this; }
    virtual Variable* RealIdentity() { return this; }
    // The forms of the value. The text is valid until the next set and, for an
    // aggregate, made anew by each call: its values in order, joined by commas. An
    // aggregate is 0 as a number, as is text that is no number.
    virtual const String& value();
    virtual int value_integer();
    virtual double value_double();
    // The number that a comparison sees; `*error` is 1 for an aggregate and for text
    // that is no number, else 0.
    virtual double value_compare(int* error);
    virtual int type() { return kPlain; }
    virtual int primary_type() { return m_primary; }
    virtual int preferred_type() { return kText; }
    virtual bool IsTrue();
    // True for a scalar never set and for the empty text.
    virtual bool IsNULL();
    virtual int SetNULL();
    // Null for a scalar.
    virtual AggregateElementTree* aggregateelements() { return m_elements; }
    virtual AggregateType aggregatetype() { return AggregateType(m_aggregate); }
    virtual int refcount() { return m_refcount; }
    virtual void SetName(const String& name) { m_name.Assign(name.data(), name.length()); }

    // The setters return 1. They make a scalar, but for an assignment from an
    // aggregate, of which all elements are copied. The source may stand within this
    // variable, or be it. SetValue_Nocopy takes a new[] array.
    virtual int SetValue(const char* text, int length);
    virtual int SetValue(Variable& source);
    virtual int SetValue_Nocopy(char* text, int length, int capacity);
    virtual int SetValue_Integer(int value);
    virtual int SetValue_Double(double value);

    // The variable at an index, borrowed; null if it is missing and `create` is 0.
    // To create it makes an aggregate of the index's type of this variable: a scalar
    // value, or the elements under the other type of index, are lost.
    virtual Variable* Element(const AggregateIndex& index, int create);
    // Follows a path, null or empty for this variable.
    virtual Variable* Element(List<AggregateIndex>* path, int create);
    // Puts a variable, shared with whoever holds it, into the place of another.
    virtual int SetElement(const AggregateIndex& index, Variable* variable);
    // Makes room at `position`, or behind the last element if that is below 1.
    virtual void InsertElement(int position, Variable* variable);
    // `collapse` closes the gap in an array, even one that was there before.
    virtual void DeleteElement(const AggregateIndex& index, bool collapse);
    // Numbers from `start` up to `start + count`; a count of -1 is all from `start` on.
    virtual void DeleteElements(int start, int count, bool collapse);
    // Both take the elements of another array from `start` up to `start + count` to
    // `destination` and what follows it; Merge makes room there, Copy overwrites. A
    // start below 1 is the first element, a negative count reaches to the last one, a
    // destination below 1 is behind the last element. The variables are shared, unless
    // `copy` is set.
    virtual void MergeElements(Variable* source, int start, int count, int destination, bool copy);
    virtual void CopyElements(Variable* source, int start, int count, int destination, bool copy);
    // Numbers the elements of an array from 1 on; returns their count, else 0.
    virtual int CollapseElements();
    // 0 without elements, -1 for a structure with some.
    virtual int Max();
    virtual int Min();
    // The neighbours of a number, which need not be in use; 0 for none, -1 for a
    // structure.
    virtual int Next(int number);
    virtual int Previous(int number);
    virtual int ElementsUsed();

    virtual void IncRefCount() { ++m_refcount; }
    // Gives a count back; the last one ends the object.
    virtual void DecRefCount() { GiveCountBack(); }

    // Make a form from the others, whether it is valid or not.
    virtual void Convert_String();
    virtual void Convert_Integer();
    virtual void Convert_Double();
    // Makes an empty aggregate of a scalar or of an aggregate of another type.
    virtual void Convert_Aggregate(AggregateType type);
    // Adds the text, behind a comma if there is something in `out` already.
    virtual void Serialize(String& out);

    // Turn the object into one of another class where it stands, since others hold its
    // address; its name and counts stay. Only for an object made by new. Whoever made
    // it in the same function knows too much: the compiler may call the functions of
    // its first class directly.
    // A reference drops the value. Nothing happens if it would refer to itself.
    virtual void Make_Reference(Variable* target);
    // Keeps the value. The callback, made by new, passes to the variable.
    virtual void Make_CallbackStruct(CallbackVariableCallback* callback);

    // The rule for text: false if it has nothing but zeros and at most one '.'.
    static bool IsTrue(const char* text, int length);
    // Toward zero; the least integer for what none can hold.
    static int Truncated(double value);

    // What value() gives, where it need not be made; else null.
    const String* TextAtHand() const
    {
        return m_valid & kTextValid && !m_elements ? &m_value : nullptr;
    }
    // Makes a scalar of the class itself NULL; its storage stays for the next text.
    void Forget()
    {
        m_valid = 0;
        m_primary = kNone;
    }

    // The bytes of the name, as name() but without making a String of them.
    const char* NameBytes(int* length) const { return m_name.bytes(length); }
    // Whether it is of the class ImmutableVariable.
    bool is_immutable() const { return m_immutable; }

protected:
    enum ValidForm {
        kTextValid = 1,
        kIntegerValid = 2,
        kDoubleValid = 4
    };

    // Built by Make_Reference and Make_CallbackStruct where another object stood: takes
    // over the name and counts, and in the second form the whole value.
    Variable(VariableName&& name, int refcount);
    Variable(Variable&& source, int refcount);

    // For a chain of references and its end: a reference holds as many counts of its
    // target as it has itself.
    static void RaiseCounts(Variable* first);
    static void GiveCountsBack(Variable* first);
    void GiveCountBack()
    {
        if (--m_refcount == 0)
            End();
    }
    void SetForm(int valid, PrimaryType primary)
    {
        m_valid = static_cast<unsigned char>(valid);
        m_primary = static_cast<unsigned char>(primary);
        if (m_elements)
            ReplaceElements(nullptr, kAggregateNone);
    }
    void ClearText();
    // The old elements end last: whatever is at hand may be one of them.
    void ReplaceElements(AggregateElementTree* elements, AggregateType type);

    VariableName m_name;
    String m_value;
    union {
        double m_real = 0;
        Variable* m_next_ending;  // for an object without counts that waits for its end
    };
    AggregateElementTree* m_elements = nullptr;  // owned; null for a scalar
    union Link {
        Variable* target;                    // of a reference, which holds counts of it
        CallbackVariableCallback* callback;  // of a callback variable; owned
    } m_link = {nullptr};
    int m_integer = 0;
    int m_refcount = 1;
    unsigned char m_valid = 0;
    unsigned char m_primary = kNone;
    unsigned char m_aggregate = kAggregateNone;
    bool m_immutable = false;
    bool m_walked = false;  // a walk through its elements is under way
    bool m_direct = false;  // DirectValue may set it

private:
    friend class AggregateWalk;
    friend class DirectValue;

    // Ends the object, or leaves that to an ending which is under way further up on the
    // machine's stack.
    void End();
    void ConvertDoubleToText();
    void CopyScalar(Variable& source);
    void CopyText(Variable& source);
    void CopyPreferred(Variable& source);
    void CopyForms(Variable& source);
    Variable* NewElement(const AggregateIndex& index);
    Variable* NewFirstElement(AggregateIndex index);
    Variable* AddElement(const AggregateIndex& index);
    int SetFirstElement(AggregateIndex index, Variable* variable);
    bool Pick(int number, AggregateElementTree* to);
    void PutElement(long long number, Variable* variable, bool copy);
    void CopyUp(Variable* source, long long start, long long limit, long long shift, bool copy);
    void CopyDown(Variable* source, long long start, long long limit, long long shift, bool copy);
};

// Variables held by count: each in the list has one from it.
class VariableList : public List<Variable> {
public:
    VariableList() : List(1) {}
    ~VariableList() override { Dump(); }

    void Insert(Variable* variable, ListPosition position) override
    {
        Insert(variable, position, 1);
    }
    // Without `addref` the caller's count passes to the list.
    virtual void Insert(Variable* variable, ListPosition position, int addref)
    {
        if (addref)
            variable->IncRefCount();
        List::Insert(variable, position);
    }
    void Purge(Variable* variable) override { variable->DecRefCount(); }
};

// Keeps a variable alive for as long as a function needs it.
class HeldVariable {
public:
    explicit HeldVariable(Variable* variable) : m_variable(variable) { variable->IncRefCount(); }
    HeldVariable(const HeldVariable&) = delete;
    HeldVariable& operator=(const HeldVariable&) = delete;
    ~HeldVariable() { m_variable->DecRefCount(); }

private:
    Variable* m_variable;  // holds one count
};

#endif
