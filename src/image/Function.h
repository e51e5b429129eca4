#ifndef ZEPH_IMAGE_FUNCTION_H
#define ZEPH_IMAGE_FUNCTION_H

#include "variables/List.h"
#include "variables/StringClass.h"
#include "variables/VariableHash.h"

class Dictionary;
class ExternalCall;
class TaggedFile;
class ZephApplication;

// A parameter of a function, as declared.
class FunctionParameter {
public:
    static constexpr int kByReference = 1;

    FunctionParameter(Dictionary* dictionary, int name_index, int flags, int slot)
        : m_dictionary(dictionary), m_name_index(name_index), m_flags(flags), m_slot(slot)
    {
    }

    int name_index() const { return m_name_index; }
    // Made from the dictionary's text at the first call.
    const String& name();
    int flags() const { return m_flags; }
    // Slot in the function's table of locals.
    int slot() const { return m_slot; }

private:
    Dictionary* m_dictionary;  // borrowed
    int m_name_index;
    int m_flags;
    int m_slot;
    bool m_has_name = false;
    String m_name;
};

// A function of an image: where its code stands, or the declaration of one that a
// library supplies.
//
// Carries the template of its local variables, of which each call gets a copy.
// Owned by its FunctionManager; the dictionary is borrowed. A failed read has its
// text in error().
class Function {
public:
    // Bits of flags(); stored in compiled files, do not renumber.
    static constexpr int kExternal = 1;
    static constexpr int kSetsOutputBit0 = 2;
    static constexpr int kSetsErrorBit2 = 4;
    static constexpr int kClearsErrorBit2 = 8;
    static constexpr int kInheritsOutput = 16;  // takes precedence over kSetsOutputBit0
    static constexpr int kAllFlags = 31;

    // A segment and offset of -1 stand for a function without code.
    Function(Dictionary* dictionary, int name_index, int flags, int segment, int offset);
    // The same for another application, under the same indices of a dictionary of its own:
    // everything is copied but what the first call found.
    Function(ZephApplication* application, Dictionary* dictionary, Function& source);
    // A function of another image as this one declares it: flags and name, which has the
    // given index here, but neither code nor parameters nor locals.
    Function(int name_index, Function* source, Dictionary* dictionary);
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;

    // Position in the FunctionManager's table; -1 before it is there.
    int index() const { return m_index; }
    void SetIndex(int index) { m_index = index; }
    int flags() const { return m_flags; }
    bool is_external() const { return m_flags & kExternal; }
    int name_index() const { return m_name_index; }
    // Made from the dictionary's text at the first call.
    const String& name();
    int segment() const { return m_segment; }
    int offset() const { return m_offset; }
    // Where the code stands, for a function whose code comes after its declaration.
    void SetCode(int segment, int offset);
    List<FunctionParameter>* parameters() { return &m_parameters; }
    // How many parameters there are, if each is by value and has the slot of its own number,
    // which exists; -1 otherwise.
    int PlainParameters()
    {
        if (m_plain_parameters == kUnknown)
            CountPlainParameters();
        return m_plain_parameters;
    }
    // The template; calls make their own table from it.
    VariableHash* locals() { return &m_locals; }

    // The library's function behind an external one, null until the first call.
    // Borrowed.
    ExternalCall* external_call() const { return m_external_call; }
    void SetExternalCall(ExternalCall* call) { m_external_call = call; }
    // Whether the library's function is at work on locals().
    bool is_running() const { return m_is_running; }
    void SetRunning(bool is_running) { m_is_running = is_running; }

    // Adds a parameter and a local for it, whose slot is returned.
    int AddParameter(int flags, const char* name, int length);
    // Adds the parameters of a declaration: names between commas, each followed by
    // "var" when the parameter is by reference. An empty piece adds a parameter of
    // empty name; an empty list adds none.
    void SetParameters(const char* list, int length);

    // The parameters' and locals' records behind a function header.
    bool Read(TaggedFile* file, int parameter_count);
    // The function's header, parameters and locals.
    bool Write(TaggedFile* file);
    const String& error() { return m_error; }

private:
    bool Failed(const String& text);
    void CountPlainParameters();
    bool ReadParameters(TaggedFile* file, int count);
    void AddDeclaredParameter(const char* piece, int length);

    int m_index = -1;
    int m_flags;
    int m_name_index;
    bool m_has_name = false;
    String m_name;
    List<FunctionParameter> m_parameters;  // owned
    int m_segment;
    int m_offset;
    Dictionary* m_dictionary;                 // borrowed
    ExternalCall* m_external_call = nullptr;  // borrowed
    bool m_is_running = false;
    static constexpr int kUnknown = -2;
    int m_plain_parameters = kUnknown;
    VariableHash m_locals;
    String m_error;
};

#endif
