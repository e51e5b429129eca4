#ifndef ZEPH_IMAGE_FUNCTIONMANAGER_H
#define ZEPH_IMAGE_FUNCTIONMANAGER_H

#include "image/Function.h"
#include "variables/HashChains.h"
#include "variables/StringClass.h"

class Dictionary;
class TaggedFile;
class ZephApplication;

// All functions of one image, by index as code calls them and by name as native
// code finds them; names ignore letter case. Equal names are not refused: the one
// added first is found.
//
// Owns its functions; the dictionary is borrowed. A failed read leaves what was
// there, with the text in error().
class FunctionManager {
public:
    FunctionManager(Dictionary* dictionary, int bucket_bits);
    // A deep copy for another application; the dictionary has the texts of the source's.
    FunctionManager(ZephApplication* application, Dictionary* dictionary, FunctionManager& source);
    FunctionManager(const FunctionManager&) = delete;
    FunctionManager& operator=(const FunctionManager&) = delete;
    virtual ~FunctionManager();

    // Null when there is none of that name. A length of -1 stands for a
    // terminated name, here and below.
    virtual Function* Function_Get(const char* name, int length);
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    // Null for an index out of range.
    Function* Index(int index) const
    {
        return index >= 0 && index < m_count ? m_functions[index] : nullptr;
    }
    int count() const { return m_count; }
    // The bucket of a name.
    unsigned int hash(const char* name, int length) const;

    // Put a function into the table and give its index: one made elsewhere, which
    // now belongs to the table; the declaration of an external function; a script
    // function with a parameter list as Function::SetParameters takes it; or the
    // declaration, name and parameters, of a function of another image.
    int Function_Add(Function* function, const char* name, int length);
    int Function_Add(const char* name, int length, int flags);
    int Function_Add(int segment, int offset, const char* name, int length, const char* parameters,
                     int parameters_length, int flags);
    int Function_Add(Function* source);

    // The "func" section. Read ends the section on success; Write leaves it open.
    bool Read(TaggedFile* file);
    bool Write(TaggedFile* file);

private:
    bool Failed(const String& text);
    const char* Name(int index, int* length);
    bool ReadNext(TaggedFile* file, HashChains* chains, int count);
    Function* ReadFunction(TaggedFile* file, int index);

    Dictionary* m_dictionary;  // borrowed
    HashChains m_chains;
    Function** m_functions = nullptr;  // owned, the functions too
    int m_capacity = 0;
    int m_count = 0;
    String m_error;
};

#endif
