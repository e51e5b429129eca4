#ifndef ZEPH_VARIABLES_VARIABLE_H
#define ZEPH_VARIABLES_VARIABLE_H

#include "variables/StringClass.h"

// The value type of the script language: a name and a value that is held as text
// and as a 32-bit integer side by side. The form that was not set is made when it
// is first asked for and then kept until the next set.
//
// Reference counted from 1: whoever stores a variable holds a count and gives it
// back by DecRefCount, never by delete.
class Variable {
public:
    // The form in which a value was last set.
    enum PrimaryType {
        kNone = 0,
        kText = 1,
        kInteger = 2
    };

    Variable() {}
    // A NULL value. A length of -1 here and below means that the text ends at its NUL.
    Variable(const char* name, int name_length) : m_name(name, name_length) {}
    Variable(const char* name, int name_length, const char* text, int length);
    Variable(const char* name, int name_length, int value);

    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    virtual ~Variable() {}

    virtual const String& name() { return m_name; }
    // The text form; valid until the next set.
    virtual const String& value();
    virtual int value_integer();
    virtual int primary_type() { return m_primary; }
    // True for a value never set and for the empty text.
    virtual bool IsNULL();
    virtual int SetNULL();
    virtual int refcount() { return m_refcount; }

    // The setters return 1. SetValue copies; SetValue_Nocopy takes a new[] array.
    virtual int SetValue(const char* text, int length);
    virtual int SetValue(Variable& source);
    virtual int SetValue_Nocopy(char* text, int length, int capacity);
    virtual int SetValue_Integer(int value);

    virtual void IncRefCount() { ++m_refcount; }
    // Gives a count back; the last one ends the object.
    virtual void DecRefCount();

private:
    enum ValidForm {
        kTextValid = 1,
        kIntegerValid = 2
    };

    void SetForm(int valid, PrimaryType primary);

    String m_name;
    String m_value;
    int m_integer = 0;
    int m_valid = 0;
    int m_primary = kNone;
    int m_refcount = 1;
};

// A variable that refuses to change while it is locked: every setter then reports
// success and does nothing. SetValue_Nocopy still frees the array that it is given.
class ImmutableVariable : public Variable {
public:
    ImmutableVariable(const char* name, int name_length, const char* text, int length, bool lock);
    ImmutableVariable(const char* name, int name_length, int value, bool lock);

    int SetNULL() override;
    int SetValue(const char* text, int length) override;
    int SetValue(Variable& source) override;
    int SetValue_Nocopy(char* text, int length, int capacity) override;
    int SetValue_Integer(int value) override;

    void Lock() { m_locked = true; }
    void Unlock() { m_locked = false; }

protected:
    explicit ImmutableVariable(bool lock) : m_locked(lock) {}

private:
    bool m_locked;
};

// What a read finds where nothing is: always NULL, always locked.
class NULLVariable : public ImmutableVariable {
public:
    NULLVariable() : ImmutableVariable(true) {}

    int value_integer() override { return 0; }
    bool IsNULL() override { return true; }
};

#endif
